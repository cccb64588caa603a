#pragma once

#include <cstdint>
#include <mutex>
#include <string>

namespace Service {

/**
 * Counts the messages of this process's log. Safe from any thread, also before and after main().
 */
class LogCounts {
public:
    /** The one of this process; never destroyed, since the library logs until it is unloaded. */
    static LogCounts& instance();

    /** Counts a message of `level`: 1 is a warning, 2 and above an error, the rest information. */
    void note(int level, std::string const& text);

    uint64_t warnings() const;
    uint64_t errors() const;
    /** The last warning or error, without its newline; empty before the first. */
    std::string last() const;

private:
    mutable std::mutex mutex_;
    uint64_t warnings_ = 0;
    uint64_t errors_ = 0;
    std::string last_;
};

}  // namespace Service
