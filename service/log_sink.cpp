#include "service/log_sink.h"

#include <dlfcn.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <vector>

#include "kit/base/log_text.h"
#include "petrel/logger.h"
#include "service/log_counts.h"
#include "service/log_line.h"
#include "service/log_repeats.h"

namespace Service {

namespace {

struct Sink {
    std::mutex mutex;
    LogRepeats repeats;
    /** Lines that standard error had no room for. */
    uint64_t lost = 0;
};

/** Never destroyed: the libraries log while they are loaded and unloaded. */
Sink& sink() {
    static auto* const all = new Sink;
    return *all;
}

/** Whether standard error takes a line without a wait: a pipe that nobody reads fills up. */
bool has_room() {
    pollfd wait = {STDERR_FILENO, POLLOUT, 0};
    return poll(&wait, 1, 0) != 0;  // a descriptor that is closed fails to be written to
}

/** Hands a line to the framework's own sink, which this program's stands in front of. */
void forward(int level, std::string const& line) {
    using Logger = void(int, char const*, ...);
    static auto* const next = reinterpret_cast<Logger*>(dlsym(RTLD_NEXT, "logger"));
    if (next != nullptr) next(level, "%s\n", line.c_str());  // else there is nowhere to log to
}

/** The caller holds the lock. */
void forward(std::vector<LogMessage> const& messages) {
    Sink& all = sink();
    for (LogMessage const& message : messages) {
        if (!has_room()) {
            ++all.lost;
            continue;
        }
        if (all.lost > 0) {
            forward(1, std::to_string(all.lost) + " lines of the log were lost: nobody read them");
            all.lost = 0;
            if (!has_room()) {
                ++all.lost;
                continue;
            }
        }
        forward(message.level, message.text);
    }
}

}  // namespace

void log_due_repeats() {
    const std::lock_guard<std::mutex> lock(sink().mutex);
    forward(sink().repeats.due(LogRepeats::Clock::now()));
}

void log_held_back_messages() {
    const std::lock_guard<std::mutex> lock(sink().mutex);
    forward(sink().repeats.rest());
}

void write_error_line(std::string const& line) {
    const std::string text = log_line(line) + "\n";
    const std::lock_guard<std::mutex> lock(sink().mutex);
    // A line that cannot be written has nowhere else to go.
    if (has_room()) static_cast<void>(!write(STDERR_FILENO, text.data(), text.size()));
}

}  // namespace Service

/** Gets every message of this program and its libraries, notes it and passes it on. */
void logger(int level, char const* format, ...) {
    const int saved_errno = errno;  // a recorder asks for the reason after the library has logged
    va_list arguments;
    va_start(arguments, format);
    const std::string line = Service::log_line(Kit::log_text(format, arguments));
    va_end(arguments);
    Service::LogCounts::instance().note(level, line);
    {
        const std::lock_guard<std::mutex> lock(Service::sink().mutex);
        Service::forward(
            Service::sink().repeats.pass({level, line}, Service::LogRepeats::Clock::now()));
    }
    errno = saved_errno;
}
