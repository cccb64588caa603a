#pragma once

#include <string>

namespace Radar {

/** "/etc/radar/analytics.conf", its group and its keys. */
extern const std::string analytics_file;
extern const std::string analytics_group;
extern const std::string sensitivity_key;
extern const std::string height_key;
extern const std::string tilt_key;

/** The group of the integer settings in "/etc/radar/radar.conf". */
extern const std::string settings_group;

}  // namespace Radar
