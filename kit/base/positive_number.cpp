#include "kit/base/positive_number.h"

#include <cmath>
#include <cstdlib>

namespace Kit {

std::optional<double> positive_number(std::string const& text) {
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    const bool is_whole = !text.empty() && end == text.c_str() + text.size();
    return is_whole && std::isfinite(number) && number > 0 ? std::optional(number) : std::nullopt;
}

}  // namespace Kit
