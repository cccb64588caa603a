#include "failure/failure.h"

#include <stdexcept>

namespace Radar {

Failure::Failure()
    : reasons{{no_data, "No data"}, {interference, "Interference"}, {saturation, "Saturation"}},
      states{{no_data, {"No data", false}}},
      current(no_data) {}

Failure::radar_failure Failure::reason(radar_failure f) const {
    return f == current_failure ? current : f;
}

Failure::states_map::const_iterator Failure::begin() const {
    return states.begin();
}

Failure::states_map::const_iterator Failure::end() const {
    return states.end();
}

bool Failure::exists(radar_failure f) const {
    return states.find(f) != states.end();
}

bool Failure::state(radar_failure f) const {
    try {
        return states.at(reason(f)).second;
    } catch (std::out_of_range const&) {
        return false;
    }
}

std::string Failure::str(radar_failure f) const {
    try {
        return states.at(reason(f)).first;
    } catch (std::out_of_range const&) {
        return "Unknown reason";
    }
}

void Failure::add(radar_failure f) {
    // Signed: negative reasons are accepted, with an empty text.
    if (f > saturation) {
        throw std::runtime_error("Failure reason " + std::to_string(static_cast<int32_t>(f)) +
                                 " not supported");
    }
    if (exists(f)) return;
    states.emplace(f, std::make_pair(reasons[f], false));
}

void Failure::set(radar_failure f, bool active) {
    add(f);
    states.at(f).second = active;
    for (auto const& [added, text_and_active] : states) {
        if (text_and_active.second) {
            current = added;
            return;
        }
    }
    // None is active: the last failure stays current, so that its text can still be asked for.
}

}  // namespace Radar
