#pragma once

#include <sys/time.h>

#include <ostream>

#include "petrelradar_export.h"

namespace Radar {

/**
 * Prints the local date and time of `time` as DDMMYY_HHMMSS_mmm, the form in the names of recorded
 * files. A time that the calendar cannot express prints as no valid date, "0001-100_000000".
 * Restores the stream's fill character. Returns `os`.
 */
PETRELRADAR_API std::ostream& operator<<(std::ostream& os, timeval const& time);

}  // namespace Radar
