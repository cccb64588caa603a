#include "tools/cli/messages.h"

#include <unistd.h>

#include <cerrno>
#include <mutex>

#include "tools/cli/ansi.h"

namespace Tools {

namespace {

std::mutex lock;  // of the line and of the order of what is written
std::string line;

void write_all(std::string const& text) {
    for (size_t written = 0; written < text.size();) {
        const ssize_t result = write(STDERR_FILENO, text.data() + written, text.size() - written);
        if (result < 0 && errno == EINTR) continue;
        if (result <= 0) return;
        written += static_cast<size_t>(result);
    }
}

}  // namespace

Messages::Messages(std::string const& verb, bool coloured)
    : prefix_("petrelradar" + (verb.empty() ? "" : " " + verb) + ": "), coloured_(coloured) {}

void Messages::note(std::string const& text) const {
    say("", text);
}

void Messages::warn(std::string const& text) const {
    say(Ansi::kYellow, text);
}

void Messages::error(std::string const& text) const {
    say(Ansi::kRed, text);
}

void Messages::say(std::string const& colour, std::string const& text) const {
    print(prefix_ + (coloured_ ? Ansi::styled(colour, text) : text) + "\n");
}

void Messages::print(std::string const& text) {
    const std::lock_guard<std::mutex> guard(lock);
    write_all(line.empty() ? text : Ansi::kEraseLine + text + line);
}

void Messages::show_line(std::string const& new_line) {
    const std::lock_guard<std::mutex> guard(lock);
    if (new_line != line) write_all(Ansi::kEraseLine + new_line);
    line = new_line;
}

}  // namespace Tools
