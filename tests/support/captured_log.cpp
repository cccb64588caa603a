#include "tests/support/captured_log.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "petrel/logger.h"

namespace test_support {

namespace {

struct Captured {
    std::mutex mutex;
    std::vector<LogLine> lines;
    std::vector<std::string> formats;
};

/** Never destroyed: the libraries log while they are loaded and unloaded. */
Captured& captured() {
    static Captured* const log = new Captured;
    return *log;
}

}  // namespace

std::ostream& operator<<(std::ostream& os, LogLine const& line) {
    return os << "[" << line.level << "] " << line.text;
}

std::vector<LogLine> captured_log() {
    const std::lock_guard<std::mutex> lock(captured().mutex);
    return captured().lines;
}

std::vector<std::string> captured_texts() {
    std::vector<std::string> texts;
    for (LogLine const& line : captured_log()) texts.push_back(line.text);
    return texts;
}

std::vector<std::string> captured_formats() {
    const std::lock_guard<std::mutex> lock(captured().mutex);
    return captured().formats;
}

void clear_log() {
    const std::lock_guard<std::mutex> lock(captured().mutex);
    captured().lines.clear();
    captured().formats.clear();
}

}  // namespace test_support

/** Takes the place of the framework's sink for every library of the program. */
void logger(int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    char text[4096];
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    const std::lock_guard<std::mutex> lock(test_support::captured().mutex);
    test_support::captured().lines.push_back({level, text});
    test_support::captured().formats.emplace_back(format);
}
