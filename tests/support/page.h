#pragma once

#include <string>

namespace test_support {

/** The code block of this kind on the page docs/`page`, of several the one with this number. */
std::string code_block(std::string const& page, std::string const& kind, int number = 0);

/**
 * The bytes of a dump, after a check that each line stands at the offset that it says: four digits,
 * and from column 6 on `width` characters with pairs of digits.
 */
std::string bytes_of_dump(std::string const& dump, size_t width);

}  // namespace test_support
