#include "petrel/logger.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

namespace {

/** Whether standard error is the stream that the journal announced to this process. */
bool stderr_is_journal() {
    const char* announced = std::getenv("JOURNAL_STREAM");
    if (announced == nullptr) return false;
    struct stat status = {};
    if (fstat(STDERR_FILENO, &status) != 0) return false;
    return announced == std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

std::string line_prefix(int level) {
    if (!stderr_is_journal()) return "[" + std::to_string(level) + "] ";
    if (level <= 0) return "<6>";
    return level == 1 ? "<4>" : "<3>";
}

std::string formatted(const char* format, va_list arguments) {
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0) return format;

    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::string with_prefix(std::string const& prefix, std::string text) {
    if (text.empty() || text.back() != '\n') text += '\n';
    std::string lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin) + 1;
        lines += prefix;
        lines.append(text, begin, end - begin);
        begin = end;
    }
    return lines;
}

void write_all(std::string const& lines) {
    static std::mutex whole_messages;
    const std::lock_guard<std::mutex> lock(whole_messages);
    for (std::size_t written = 0; written < lines.size();) {
        const ssize_t result = write(STDERR_FILENO, lines.data() + written, lines.size() - written);
        if (result < 0 && errno == EINTR) continue;
        if (result <= 0) return;  // the message is lost
        written += static_cast<std::size_t>(result);
    }
}

}  // namespace

void logger(int level, const char* format, ...) {
    const int saved_errno = errno;
    va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    write_all(with_prefix(line_prefix(level), text));
    errno = saved_errno;
}
