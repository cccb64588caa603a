#include "service/failure_monitor.h"

#include <algorithm>

#include "log/ilog.h"

namespace Service {

FailureMonitor::FailureMonitor() : signal_(port_, false, kClearAfter, kRaiseAfter) {
    failures_.add(Radar::Failure::interference);
    failures_.add(Radar::Failure::saturation);
}

void FailureMonitor::frame_arrived(FrameConditions const& conditions) {
    set(Radar::Failure::no_data, false);
    set(Radar::Failure::interference, conditions.interfered);
    set(Radar::Failure::saturation, conditions.saturated);
    if (any_active()) {
        signal_.set();
    } else {
        signal_.unset();
    }
}

void FailureMonitor::data_missing() {
    set(Radar::Failure::no_data, true);
    signal_.set(true);
}

bool FailureMonitor::any_active() const {
    return std::any_of(failures_.begin(), failures_.end(),
                       [](auto const& entry) { return entry.second.second; });
}

bool FailureMonitor::is_data_missing() const {
    return failures_.state(Radar::Failure::no_data);
}

/** Logs the change, if it is one. */
void FailureMonitor::set(Radar::Failure::radar_failure reason, bool active) {
    if (failures_.state(reason) == active) return;
    failures_.set(reason, active);
    Petrel::ilog(active ? 1 : 0) << "Failure " << (active ? "begins: " : "ends: ")
                                 << failures_.str(reason) << std::endl;
}

}  // namespace Service
