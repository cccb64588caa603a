#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Kit {

/**
 * The whole number that `text` holds and nothing else, in decimal, or after "0x" in hexadecimal
 * digits; none when it does not fit. Any thread.
 */
std::optional<uint64_t> whole_number(std::string_view text);

}  // namespace Kit
