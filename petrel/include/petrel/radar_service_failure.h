#pragma once

/** The message that carries a radar service's failure flag: one byte, true while it has failed. */
class radar_service_failure {
public:
    // NOLINTNEXTLINE(google-explicit-constructor): the message is a bool
    radar_service_failure(bool failed = false) : failed_(failed) {}

    // NOLINTNEXTLINE(google-explicit-constructor)
    operator bool() const { return failed_; }

private:
    bool failed_;
};

static_assert(sizeof(radar_service_failure) == 1, "the message is one byte");
