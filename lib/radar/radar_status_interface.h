#pragma once

#include <functional>
#include <string>
#include <unordered_map>

#include "petrelradar_export.h"

namespace Radar {

/**
 * The process-wide registry of status items: components register a callback that renders one item
 * as text, and whoever reports the radar's status asks for all of them at once.
 *
 * There is one instance, built while the library is loaded and destroyed, with the callbacks, when
 * it is unloaded. No lock: callers on several threads order their calls themselves.
 */
class PETRELRADAR_API RadarStatusInterface {
public:
    /** The one instance; never null, usable from the constructor of another static object. */
    static RadarStatusInterface* const instance;

    RadarStatusInterface(RadarStatusInterface const&) = delete;
    RadarStatusInterface& operator=(RadarStatusInterface const&) = delete;

    /**
     * Registers the provider of the item `name` in the place of an earlier one. A name cannot be
     * removed. An empty function is accepted; then get_radar_status() fails.
     */
    void set_radar_status_callback(std::string name, std::function<std::string()> callback);

    /**
     * Returns the items by name, each as its callback rendered it just now on this thread. Every
     * callback is called once.
     *
     * @throws what a callback throws; std::bad_function_call for an empty one. Nothing is returned
     *         then, and callbacks later in the order are not called.
     */
    std::unordered_map<std::string, std::string> get_radar_status();

private:
    PETRELRADAR_LOCAL RadarStatusInterface();
    PETRELRADAR_LOCAL ~RadarStatusInterface();

    PETRELRADAR_LOCAL static RadarStatusInterface the_instance_;

    std::unordered_map<std::string, std::function<std::string()>> callbacks;
};

}  // namespace Radar
