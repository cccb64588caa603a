#pragma once

#include <cstdint>
#include <string>

namespace Tools {

/** A time in us since 1970 as "2025-05-15T09:30:07.042000Z". */
std::string utc_text(uint64_t us);

/** A time in s since 1970, which may be before that, as "2025-05-15T09:30:07Z". */
std::string utc_text_of_seconds(int64_t seconds);

/** Whether a timestamp, which need not be us since 1970, looks as if it was: 1973 to 2286. */
bool looks_like_date(uint64_t us);

/** A length of time for people: "250 us", "33.3 ms", "20.0 s", "3 min 20 s", "2 h 5 min". */
std::string duration_text(double us);

}  // namespace Tools
