#pragma once

/** The message that carries the radar service's failure flag: one byte, true while it has failed.
 */
class radar_service_failure {
public:
    radar_service_failure(bool failed = false)  // NOLINT(google-explicit-constructor): it is a bool
        : failed_(failed) {}

    operator bool() const { return failed_; }  // NOLINT(google-explicit-constructor)

private:
    bool failed_;
};

static_assert(sizeof(radar_service_failure) == 1, "the message is one byte");
