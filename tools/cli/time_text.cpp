#include "tools/cli/time_text.h"

#include <fmt/core.h>

#include <cmath>
#include <ctime>

namespace Tools {

namespace {

std::string date_text(std::time_t seconds) {
    std::tm date = {};
    gmtime_r(&seconds, &date);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", date.tm_year + 1900, date.tm_mon + 1,
                       date.tm_mday, date.tm_hour, date.tm_min, date.tm_sec);
}

}  // namespace

std::string utc_text(uint64_t us) {
    return fmt::format("{}.{:06}Z", date_text(static_cast<std::time_t>(us / 1000000)),
                       us % 1000000);
}

std::string utc_text_of_seconds(int64_t seconds) {
    return date_text(static_cast<std::time_t>(seconds)) + "Z";
}

bool looks_like_date(uint64_t us) {
    return us >= 100000000000000 && us < 10000000000000000;
}

std::string duration_text(double us) {
    if (us < 1000) return fmt::format("{:.0f} us", us);
    if (us < 1e6) return fmt::format("{:.1f} ms", us / 1e3);
    if (us < 1e8) return fmt::format("{:.1f} s", us / 1e6);
    const auto seconds = static_cast<long long>(std::llround(us / 1e6));
    if (seconds < 3600) return fmt::format("{} min {} s", seconds / 60, seconds % 60);
    return fmt::format("{} h {} min", seconds / 3600, seconds / 60 % 60);
}

}  // namespace Tools
