#include "radar/radar_status_interface.h"

#include <utility>

namespace Radar {

RadarStatusInterface::RadarStatusInterface() = default;

RadarStatusInterface::~RadarStatusInterface() = default;

void RadarStatusInterface::set_radar_status_callback(std::string name,
                                                     std::function<std::string()> callback) {
    callbacks[std::move(name)] = std::move(callback);
}

std::unordered_map<std::string, std::string> RadarStatusInterface::get_radar_status() {
    std::unordered_map<std::string, std::string> status;
    for (auto const& [name, registered] : callbacks) {
        // A copy, so that the callback may register itself again.
        const std::function<std::string()> callback = registered;
        std::string& text = status[name];
        text = callback();
    }
    return status;
}

}  // namespace Radar
