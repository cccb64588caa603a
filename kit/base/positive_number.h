#pragma once

#include <optional>
#include <string_view>

namespace Kit {

/**
 * The number that `text` holds and nothing else, when it is finite and above 0: "2", "0.25", "1e3".
 * The decimal point is a point in every locale. Any thread.
 */
std::optional<double> positive_number(std::string_view text);

}  // namespace Kit
