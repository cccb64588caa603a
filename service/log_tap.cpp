#include "service/log_tap.h"

namespace Service {

namespace {

/** How the library reports a file that may not have reached the storage; "!" follows its name. */
constexpr char kFailedFlush[] = "Failed to sync data file ";

std::string one_line(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

}  // namespace

LogTap& LogTap::instance() {
    static LogTap* const tap = new LogTap;
    return *tap;
}

void LogTap::note(int level, std::string const& text) {
    if (level < 1) return;
    const std::string line = one_line(text);
    const std::lock_guard<std::mutex> lock(mutex_);
    (level == 1 ? warnings_ : errors_) += 1;
    last_ = line;
    for (auto& [path, problems] : followed_) {
        if (line.find(path) == std::string::npos) continue;
        ++problems.count;
        problems.last = line;
    }
    if (line.rfind(kFailedFlush, 0) == 0 && line.back() == '!') {
        const size_t begin = sizeof(kFailedFlush) - 1;
        failed_flushes_.insert(line.substr(begin, line.size() - begin - 1));
    }
}

uint64_t LogTap::warnings() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return warnings_;
}

uint64_t LogTap::errors() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return errors_;
}

std::string LogTap::last() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return last_;
}

void LogTap::follow(std::string const& path) {
    const std::lock_guard<std::mutex> lock(mutex_);
    followed_[path] = Problems();
}

LogTap::Problems LogTap::problems(std::string const& path) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = followed_.find(path);
    return found != followed_.end() ? found->second : Problems();
}

bool LogTap::take_failed_flush(std::string const& name) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return failed_flushes_.erase(name) != 0;
}

}  // namespace Service
