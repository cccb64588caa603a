#include "service/log_counts.h"

namespace Service {

LogCounts& LogCounts::instance() {
    static LogCounts* const counts = new LogCounts;
    return *counts;
}

void LogCounts::note(int level, std::string const& text) {
    if (level < 1) return;
    const size_t end = text.find_last_not_of('\n');
    const std::lock_guard<std::mutex> lock(mutex_);
    (level == 1 ? warnings_ : errors_) += 1;
    last_ = text.substr(0, end == std::string::npos ? 0 : end + 1);
}

uint64_t LogCounts::warnings() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return warnings_;
}

uint64_t LogCounts::errors() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return errors_;
}

std::string LogCounts::last() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return last_;
}

}  // namespace Service
