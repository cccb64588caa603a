#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Tools {

/** `text` for a line of a message or a terminal: control characters are replaced by '?'. */
std::string printable(std::string_view text);

/** A word of a person's in a message: 'word'. */
std::string in_quotes(std::string_view word);

/** A number of things: "1 frame", "2 frames". */
std::string counted(uint64_t count, std::string const& what);

/** The words with `between` between them. */
std::string joined(std::vector<std::string> const& words, std::string const& between);

}  // namespace Tools
