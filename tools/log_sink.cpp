// The messages of the library, in the shape of the program's own.

#include "tools/log_sink.h"

#include <atomic>
#include <cstdarg>
#include <string>

#include "kit/base/log_text.h"
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
    va_list arguments;
    va_start(arguments, format);
    std::string line = "petrelradar: " + Kit::log_text(format, arguments);
    va_end(arguments);
    if (line.back() != '\n') line += '\n';
    Tools::Messages::print(line);
}
