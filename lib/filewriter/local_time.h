#pragma once

#include <ctime>

namespace Radar {

/**
 * The local time of `seconds` since the epoch, zeros when the calendar cannot express it. Follows
 * changes of the time zone as localtime() does, and may be called from any thread, unlike that one:
 * the writer thread names files while the service's thread names others.
 */
inline std::tm local_time(std::time_t seconds) {
    std::tm local = {};
    tzset();
    if (localtime_r(&seconds, &local) == nullptr) local = {};
    return local;
}

}  // namespace Radar
