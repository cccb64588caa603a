#pragma once

#include <cstdint>

#include "petrel/out_port.h"
#include "petrel/radar_service_failure.h"
#include "petrelradar_export.h"

namespace Radar {

/**
 * A failure flag that other processes watch: published on an output port of the framework when it
 * changes, and once at construction. Does not own the port, which must outlive it. One thread at a
 * time, together with the other uses of the port. Never fails.
 */
class PETRELRADAR_API FailureSignal {
public:
    /** Keeps `output` and publishes `initial` on it, true or false. */
    FailureSignal(Petrel::OutPort<radar_service_failure>& output, bool initial);
    virtual ~FailureSignal();

    /** set(true). */
    virtual bool set();
    /** set(false). */
    virtual bool unset();
    /** The flag as last published. */
    virtual bool state() const;
    /** Publishes `value` if it differs from the flag. Returns whether it did. */
    virtual bool set(bool value);

private:
    Petrel::OutPort<radar_service_failure>& port;

protected:
    /** The flag as last published. */
    bool active;
};

/**
 * A failure flag that rises after a run of set() calls and falls after a run of unset() calls, so
 * that the condition can be reported in every cycle. A call of the one kind ends a run of the
 * other.
 */
class PETRELRADAR_API HysteresFailureSignal : public FailureSignal {
public:
    /**
     * Publishes `initial`. The flag falls on the `unset_calls`-th unset() in a row and rises on the
     * `set_calls`-th set() in a row; numbers of 1 or less change it on the first.
     */
    HysteresFailureSignal(Petrel::OutPort<radar_service_failure>& output, bool initial,
                          int unset_calls, int set_calls);
    ~HysteresFailureSignal() override;

    /** Counts a report of the failure. Returns true only when the flag rises with it. */
    bool set() override;
    /** Counts a report of its absence. Returns true only when the flag falls with it. */
    bool unset() override;

    /** set(bool) sets the flag at once and leaves the runs unchanged. */
    using FailureSignal::set;

private:
    int32_t unset_threshold;
    int32_t set_threshold;
    int32_t unset_count;
    int32_t set_count;
};

}  // namespace Radar
