#include "failure/failure_signal.h"

namespace Radar {

FailureSignal::FailureSignal(Petrel::OutPort<radar_service_failure>& output, bool initial)
    : port(output), active(initial) {
    port = radar_service_failure(initial);
}

FailureSignal::~FailureSignal() = default;

bool FailureSignal::set() {
    return set(true);
}

bool FailureSignal::unset() {
    return set(false);
}

bool FailureSignal::state() const {
    return active;
}

bool FailureSignal::set(bool value) {
    if (value == active) return false;
    port = radar_service_failure(value);
    active = value;
    return true;
}

HysteresFailureSignal::HysteresFailureSignal(Petrel::OutPort<radar_service_failure>& output,
                                             bool initial, int unset_calls, int set_calls)
    : FailureSignal(output, initial),
      unset_threshold(unset_calls),
      set_threshold(set_calls),
      unset_count(0),
      set_count(0) {}

HysteresFailureSignal::~HysteresFailureSignal() = default;

bool HysteresFailureSignal::set() {
    unset_count = 0;
    if (active) {
        set_count = 0;
        return false;
    }
    if (++set_count < set_threshold) return false;
    set_count = 0;
    return FailureSignal::set(true);
}

bool HysteresFailureSignal::unset() {
    set_count = 0;
    if (!active) {
        unset_count = 0;
        return false;
    }
    if (++unset_count < unset_threshold) return false;
    unset_count = 0;
    return FailureSignal::set(false);
}

}  // namespace Radar
