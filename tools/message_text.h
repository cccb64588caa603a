#pragma once

#include <string>
#include <string_view>

namespace Tools {

/** `text` for a line of a message or a terminal: control characters are replaced by '?'. */
std::string printable(std::string_view text);

/** A word of a person's in a message: 'word'. */
std::string in_quotes(std::string_view word);

}  // namespace Tools
