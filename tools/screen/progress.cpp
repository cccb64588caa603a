#include "tools/screen/progress.h"

#include <fmt/core.h>
#include <unistd.h>

#include <algorithm>

#include "tools/cli/ansi.h"
#include "tools/cli/messages.h"
#include "tools/screen/terminal.h"

namespace Tools {

namespace {

constexpr int kLongestBar = 40;

std::string megabytes(double bytes) {
    return fmt::format("{:.1f} MB", bytes / 1e6);
}

}  // namespace

ProgressBar::ProgressBar(Use use)
    : enabled_(use != Use::kNever && takes_pictures(STDERR_FILENO) &&
               (use == Use::kWherePossible || isatty(STDOUT_FILENO) == 0)) {}

ProgressBar::~ProgressBar() {
    clear();
}

void ProgressBar::clear() {
    if (drawn_) Messages::print(Ansi::kEraseLine);
    drawn_ = false;
}

void ProgressBar::look(uint64_t done, uint64_t total) {
    const Clock::time_point now = Clock::now();
    if (now < next_) return;
    next_ = now + std::chrono::milliseconds(100);
    const double seconds = std::chrono::duration<double>(now - begin_).count();
    const int columns = window_size(STDERR_FILENO).columns;
    Messages::print("\r" + progress_text(done, total, seconds, columns) + Ansi::kEraseRight);
    drawn_ = true;
}

std::string progress_text(uint64_t done, uint64_t total, double seconds, int columns) {
    const auto bytes = static_cast<double>(done);
    std::string text = megabytes(bytes);
    if (seconds > 0) text += fmt::format("  {}/s", megabytes(bytes / seconds));
    if (total > 0) {
        const double share = std::min(1.0, bytes / static_cast<double>(total));
        text = fmt::format("{:3} %  {}", static_cast<int>(100 * share), text);
        const int length = std::min(columns - 5 - static_cast<int>(text.size()), kLongestBar);
        if (length > 4) {
            const std::string full(static_cast<size_t>(share * length), '#');
            text = fmt::format("[{:.<{}}] {}", full, length, text);
        }
    }
    return text.substr(0, static_cast<size_t>(std::max(1, columns - 1)));
}

}  // namespace Tools
