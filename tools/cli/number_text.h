#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Tools {

/** The whole number that `text` is, decimal or with 0x hexadecimal; nothing when it is none. */
std::optional<uint64_t> whole_number(std::string_view text);

/** `value` as 0x and at least `digits` hexadecimal digits. */
std::string hex_text(uint32_t value, int digits);

}  // namespace Tools
