#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>

#include "petrelradar_export.h"

namespace Radar {

/**
 * The radar's failures: the reasons that the system knows, which of them were reported, which are
 * active, and the one that counts as the current failure. A plain value; one thread at a time.
 */
class PETRELRADAR_API Failure {
public:
    /** The reasons. The values reach other processes and never change. */
    enum radar_failure : int32_t {
        no_data = 0,
        interference = 1,
        saturation = 2,
        /** Stands for whichever reason is current. */
        current_failure = 3,
    };

    /** Reasons with their text and whether they are active. */
    using states_map = std::unordered_map<radar_failure, std::pair<const std::string, bool>>;

    /** Knows `no_data`, inactive, which is current. */
    Failure();

    /** Returns the current reason for `current_failure`, any other reason unchanged. */
    radar_failure reason(radar_failure f) const;

    /** The reasons added so far, each with its text and active flag, in no particular order. */
    states_map::const_iterator begin() const;
    states_map::const_iterator end() const;

    /** Whether `f` was added. Does not resolve `current_failure`: false for that one. */
    bool exists(radar_failure f) const;

    /** Whether reason(f) is active; false when it was never added. */
    bool state(radar_failure f) const;

    /** The text of reason(f); "Unknown reason" when it was never added. */
    std::string str(radar_failure f) const;

    /**
     * Adds `f` as an inactive failure; does nothing when it was added before. A negative reason is
     * accepted and has an empty text.
     *
     * @throws std::runtime_error "Failure reason <f> not supported" for values above 2.
     */
    void add(radar_failure f);

    /**
     * Sets whether `f` is active, adding it first if need be. The first active reason in the order
     * of begin() becomes current; when none is active the current one stays.
     *
     * @throws what add() throws; nothing changes then.
     */
    void set(radar_failure f, bool active);

private:
    std::unordered_map<radar_failure, const std::string> reasons;
    states_map states;
    radar_failure current;
};

}  // namespace Radar
