#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace Service {

/**
 * What the service learns from its own log. The library's recorders report most of their problems
 * nowhere else: a full disk or a failed flush is a message and nothing more.
 *
 * Notes every message before it goes on to the framework's sink. Safe from any thread, also before
 * and after main().
 */
class LogTap {
public:
    /** The messages about the files of one recorder. */
    struct Problems {
        uint64_t count = 0;
        std::string last;
    };

    /** The one of this process; never destroyed, since the library logs until it is unloaded. */
    static LogTap& instance();

    /** Notes a message of `level`: 1 is a warning, 2 and above an error, the rest information. */
    void note(int level, std::string const& text);

    uint64_t warnings() const;
    uint64_t errors() const;
    /** The last warning or error, without its newline; empty before the first. */
    std::string last() const;

    /** From now on counts the warnings and errors that name a file whose path begins with `path`.
     */
    void follow(std::string const& path);

    /** What was noted since follow(`path`). */
    Problems problems(std::string const& path) const;

    /**
     * Whether the library could not flush the file that was called `name` before it was completed.
     * The next flush of such a file answers that all is well, and nothing may rely on that. Forgets
     * the answer.
     */
    bool take_failed_flush(std::string const& name);

private:
    mutable std::mutex mutex_;
    uint64_t warnings_ = 0;
    uint64_t errors_ = 0;
    std::string last_;
    std::map<std::string, Problems> followed_;
    std::set<std::string> failed_flushes_;
};

}  // namespace Service
