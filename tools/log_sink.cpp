// The messages of the library, in the shape of the program's own.

#include <array>
#include <cstdarg>
#include <cstdio>

#include "petrel/logger.h"
#include "tools/messages.h"

void logger(int /*level*/, const char* format, ...) {
    std::array<char, 4096> text;
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    std::string line = std::string("petrelradar: ") + text.data();
    if (line.back() != '\n') line += '\n';
    Tools::Messages::print(line);
}
