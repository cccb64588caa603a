#pragma once

#include <cstdint>
#include <string>

namespace Tools {

/** `value` as 0x and at least `digits` hexadecimal digits. */
std::string hex_text(uint32_t value, int digits);

}  // namespace Tools
