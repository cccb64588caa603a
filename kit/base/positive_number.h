#pragma once

#include <optional>
#include <string>

namespace Kit {

/** The number that `text` holds and nothing else, when it is finite and above 0. Any thread. */
std::optional<double> positive_number(std::string const& text);

}  // namespace Kit
