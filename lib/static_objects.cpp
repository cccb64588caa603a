#include "config/configuration.h"
#include "config/setting_names.h"
#include "radar/radar_status_interface.h"

/**
 * Everything that is built while the library is loaded, in this order, and destroyed in reverse
 * when it is unloaded. Objects of one priority are built in their order in this file; the priority
 * itself is the earliest that a program may use, ahead of the registration of the frame's
 * descriptors in the generated code, which comes last.
 */
#define PETRELRADAR_BUILT_AT_LOAD __attribute__((init_priority(101)))

namespace Radar {

PETRELRADAR_BUILT_AT_LOAD RadarStatusInterface RadarStatusInterface::the_instance_;

PETRELRADAR_BUILT_AT_LOAD const std::string analytics_file = "/etc/radar/analytics.conf";
PETRELRADAR_BUILT_AT_LOAD const std::string analytics_group = "ANALYTICS";
PETRELRADAR_BUILT_AT_LOAD const std::string sensitivity_key = "detection_sensitivity";
PETRELRADAR_BUILT_AT_LOAD const std::string height_key = "mounting_height";
PETRELRADAR_BUILT_AT_LOAD const std::string tilt_key = "mounting_tilt";

PETRELRADAR_BUILT_AT_LOAD const std::string settings_group = "Radar";
/** Reads the settings once, here. */
PETRELRADAR_BUILT_AT_LOAD Configuration Configuration::the_instance_("/etc/radar/radar.conf");

// Constant-initialised: no code sets them, so they hold before any of the objects above is built.
RadarStatusInterface* const RadarStatusInterface::instance = &the_instance_;
Configuration* const Configuration::instance = &Configuration::the_instance_;

}  // namespace Radar
