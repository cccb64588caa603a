#include "kit/base/positive_number.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace Kit {

std::optional<double> positive_number(std::string_view text) {
    char const* const end = text.data() + text.size();
    double number = 0;
    const auto read = std::from_chars(text.data(), end, number);
    const bool is_number = read.ec == std::errc() && read.ptr == end && std::isfinite(number);
    return is_number && number > 0 ? std::optional(number) : std::nullopt;
}

}  // namespace Kit
