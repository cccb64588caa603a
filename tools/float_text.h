#pragma once

#include <cstddef>

namespace Tools {

/** No float has a longer text than 16 characters; behind it a few more are written over. */
constexpr std::size_t kFloatTextRoom = 32;

/**
 * Writes the shortest decimal text that reads back as the same float, and of those the nearest:
 * what std::to_chars() writes, in a fraction of its time, which decides how fast a recording
 * becomes a table. Infinities are "inf" and "-inf"; what is no number is "nan" or "-nan".
 *
 * @param into room for kFloatTextRoom characters.
 * @return the end of the text.
 */
char* write_float(char* into, float value);

}  // namespace Tools
