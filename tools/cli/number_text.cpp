#include "tools/cli/number_text.h"

#include <fmt/core.h>

namespace Tools {

std::string hex_text(uint32_t value, int digits) {
    return fmt::format("0x{:0{}x}", value, digits);
}

}  // namespace Tools
