#include "service/failure_monitor.h"

#include <algorithm>

#include "log/ilog.h"

namespace Service {

namespace {

/** What a failure is, what it means and what to do about it. */
struct FailureText {
    FailureReason reason;
    char const* text;
    char const* meaning;
    char const* remedy;
};

constexpr std::array<FailureText, 5> kFailures = {{
    {FailureReason::kNoData, "No data", "no frame has come from the input for some time",
     "check the input and its connection"},
    {FailureReason::kInterference, "Interference",
     "another transmitter disturbs the radar: targets are missed, or are not there",
     "find other radars in view, and turn them or this one away; it ends by itself"},
    {FailureReason::kSaturation, "Saturation",
     "frames are full, or the receiver is overdriven: targets are missing",
     "raise TargetLimit ('petrelradar settings'), or move strong reflectors away"},
    {FailureReason::kStorage, "Storage",
     "frames cannot be recorded: they wait in a queue, and the oldest are dropped when it is full",
     "see that the storage is mounted, has room and answers; it ends by itself"},
    {FailureReason::kRecorderBehind, "Recorder behind",
     "storage is slower than the frames: the oldest that wait are dropped when the queue is full",
     "use faster storage, record less (raw data off), or raise RecorderQueueFrames"},
}};

FailureText const& text_of(FailureReason reason) {
    return kFailures[static_cast<size_t>(reason)];
}

void log_change(char const* text, bool active, std::string const& detail) {
    Petrel::ilog(active ? 1 : 0) << "Failure " << (active ? "begins: " : "ends: ") << text
                                 << (detail.empty() ? "" : ": ") << detail << std::endl;
}

}  // namespace

FailureMonitor::FailureMonitor() : signal_(port_, false, kClearAfter, kRaiseAfter) {
    failures_.add(Radar::Failure::interference);
    failures_.add(Radar::Failure::saturation);
}

void FailureMonitor::frame_arrived(FrameConditions const& conditions) {
    set(Radar::Failure::no_data, false);
    set(Radar::Failure::interference, conditions.interfered);
    set(Radar::Failure::saturation, conditions.saturated);
    choose_current();
    if (any_active()) {
        signal_.set();
    } else {
        signal_.unset();
    }
}

void FailureMonitor::data_missing() {
    set(Radar::Failure::no_data, true);
    choose_current();
    signal_.set(true);
}

void FailureMonitor::recording_checked(RecordingConditions const& conditions) {
    set(FailureReason::kStorage, storage_, conditions.storage);
    set(FailureReason::kRecorderBehind, behind_, conditions.behind);
    choose_current();
}

bool FailureMonitor::any_active() const {
    return std::any_of(kFailures.begin(), kFailures.end(),
                       [this](FailureText const& failure) { return is_active(failure.reason); });
}

bool FailureMonitor::is_data_missing() const {
    return failures_.state(Radar::Failure::no_data);
}

bool FailureMonitor::is_active(FailureReason reason) const {
    if (reason == FailureReason::kStorage) return storage_.active;
    if (reason == FailureReason::kRecorderBehind) return behind_.active;
    return failures_.state(static_cast<Radar::Failure::radar_failure>(reason));
}

std::vector<Kit::FailureStatus> FailureMonitor::all() const {
    std::vector<Kit::FailureStatus> all;
    all.reserve(kFailures.size());
    for (FailureText const& failure : kFailures) all.push_back(status_of(failure.reason));
    return all;
}

Kit::FailureStatus FailureMonitor::current() const {
    return status_of(current_);
}

Kit::FailureStatus FailureMonitor::status_of(FailureReason reason) const {
    FailureText const& text = text_of(reason);
    Kit::FailureStatus status;
    status.reason = static_cast<int32_t>(reason);
    status.text = text.text;
    status.active = is_active(reason);
    status.meaning = text.meaning;
    status.remedy = text.remedy;
    if (reason == FailureReason::kStorage) status.detail = storage_.detail;
    if (reason == FailureReason::kRecorderBehind) status.detail = behind_.detail;
    return status;
}

/** The library has its own order among its reasons; those of the service come behind. */
void FailureMonitor::choose_current() {
    if (failures_.state(Radar::Failure::current_failure)) {
        current_ = static_cast<FailureReason>(failures_.reason(Radar::Failure::current_failure));
    } else if (storage_.active) {
        current_ = FailureReason::kStorage;
    } else if (behind_.active) {
        current_ = FailureReason::kRecorderBehind;
    }
}

/** Logs the change, if it is one. */
void FailureMonitor::set(Radar::Failure::radar_failure reason, bool active) {
    if (failures_.state(reason) == active) return;
    failures_.set(reason, active);
    log_change(text_of(static_cast<FailureReason>(reason)).text, active, "");
}

void FailureMonitor::set(FailureReason reason, Own& own, std::string const& detail) {
    const bool active = !detail.empty();
    const bool changes = own.active != active;
    own = {active, detail};
    if (changes) log_change(text_of(reason).text, active, detail);
}

}  // namespace Service
