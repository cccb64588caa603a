#pragma once

#include <cstddef>
#include <string>

namespace Service {

/** The longest line of the log in bytes: a pipe that has room for anything has room for it. */
constexpr size_t kLongestLogLine = 4000;

/**
 * A message as one line without a newline at its end: control characters in it, as in the name of a
 * file, stand as "\x1b", and what is beyond kLongestLogLine bytes is replaced by "...".
 */
std::string log_line(std::string const& text);

/** A message without what differs between two of a kind: paths, numbers and words with digits. */
std::string log_kind(std::string const& line);

}  // namespace Service
