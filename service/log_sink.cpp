#include "service/log_sink.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

#include "petrel/logger.h"
#include "service/log_counts.h"
#include "service/log_repeats.h"

namespace Service {

namespace {

struct Repeats {
    std::mutex mutex;
    LogRepeats log;
};

/** Never destroyed: the libraries log while they are loaded and unloaded. */
Repeats& repeats() {
    static auto* const all = new Repeats;
    return *all;
}

/** Hands messages to the framework's own sink, which this program's stands in front of. */
void forward(std::vector<LogMessage> const& messages) {
    using Sink = void(int, char const*, ...);
    static auto* const sink = reinterpret_cast<Sink*>(dlsym(RTLD_NEXT, "logger"));
    if (sink == nullptr) return;  // then there is nowhere to log to
    for (LogMessage const& message : messages) sink(message.level, "%s", message.text.c_str());
}

std::string formatted(char const* format, va_list arguments) {
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0) return format;
    std::string text(static_cast<size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

}  // namespace

void log_held_back_messages() {
    const std::lock_guard<std::mutex> lock(repeats().mutex);
    forward(repeats().log.rest());
}

}  // namespace Service

/** Gets every message of this program and its libraries, notes it and passes it on. */
void logger(int level, char const* format, ...) {
    const int saved_errno = errno;  // a recorder asks for the reason after the library has logged
    va_list arguments;
    va_start(arguments, format);
    const std::string text = Service::formatted(format, arguments);
    va_end(arguments);
    Service::LogCounts::instance().note(level, text);
    const std::lock_guard<std::mutex> lock(Service::repeats().mutex);
    Service::forward(Service::repeats().log.pass({level, text}, Service::LogRepeats::Clock::now()));
    errno = saved_errno;
}
