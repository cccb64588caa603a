// The messages of the library, in the shape of the program's own.

#include "tools/log_sink.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>

#include "petrel/logger.h"
#include "tools/cli/messages.h"

namespace {

std::atomic<bool> is_logging{false};

}  // namespace

void begin_to_log() noexcept {
    is_logging = true;
}

void logger(int /*level*/, const char* format, ...) {
    if (!is_logging) return;
    std::array<char, 4096> text;
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    std::string line = std::string("petrelradar: ") + text.data();
    if (line.back() != '\n') line += '\n';
    Tools::Messages::print(line);
}
