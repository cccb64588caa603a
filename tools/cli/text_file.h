#pragma once

#include <string>

namespace Tools {

/** Text files that a person wrote are not larger, in bytes: maps, dumps, settings. */
constexpr size_t kLargestTextFile = 16U << 20;

/**
 * Returns what the regular file `path` holds. Never waits, as opening a FIFO would.
 *
 * @param name what the file is called in messages.
 * @throws Kit::InputError with the name and the reason: the system's, "not a regular file", or that
 *         it is larger than kLargestTextFile.
 */
std::string read_text_file(std::string const& path, std::string const& name);
std::string read_text_file(std::string const& path);

/** Returns what standard input holds, to its end. @throws Kit::InputError as above. */
std::string read_standard_input();

}  // namespace Tools
