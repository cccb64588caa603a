#pragma once

#include <string>

namespace Tools {

/** Text files that a person wrote are not larger, in bytes: maps, dumps, settings. */
constexpr std::size_t kLargestTextFile = 16U << 20;

/**
 * Returns what the regular file `path` holds. Never waits, as opening a FIFO would.
 *
 * @throws Kit::InputError with the path and the reason: the system's, "not a regular file", or that
 *         it is larger than kLargestTextFile.
 */
std::string read_text_file(std::string const& path);

/** Returns what standard input holds, to its end. @throws Kit::InputError as above. */
std::string read_standard_input();

}  // namespace Tools
