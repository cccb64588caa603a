#pragma once

#include <cstdarg>
#include <string>

namespace Kit {

/**
 * A message of the library as its log sink gets it, "logger(level, format, ...)", of any length.
 * The format itself where it cannot be followed. Any thread.
 */
std::string log_text(char const* format, va_list arguments);

}  // namespace Kit
