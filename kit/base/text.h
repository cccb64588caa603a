#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Kit {

// Text for messages, tables and pictures. Any thread.

/**
 * `text` for a line of a message or a terminal: a '?' for every control character. Bytes that are
 * not UTF-8 stay, since a file's name may hold any.
 */
std::string printable(std::string_view text);

/** A word of the user's in a message: 'word', printable. */
std::string quoted(std::string_view word);

/** A number of things: "1 frame", "2 frames". */
std::string count_text(uint64_t count, std::string_view thing);

/** The words with `separator` between them. */
std::string joined(std::vector<std::string> const& words, std::string_view separator);

/** `text` with a '?' for every byte that is no part of a character in UTF-8. */
std::string valid_utf8(std::string_view text);

/** The characters of a text in UTF-8; a byte that is part of none is one of its own. */
std::vector<std::string> characters_of(std::string_view text);

}  // namespace Kit
