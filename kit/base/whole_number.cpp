#include "kit/base/whole_number.h"

#include <charconv>
#include <system_error>

namespace Kit {

std::optional<uint64_t> whole_number(std::string_view text) {
    const bool is_hexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    if (is_hexadecimal) text.remove_prefix(2);
    uint64_t value = 0;
    char const* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, is_hexadecimal ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return value;
}

}  // namespace Kit
