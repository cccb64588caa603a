#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tools/format/formatter.h"
#include "tools/input/frame.h"

namespace Tools {

/**
 * Formats frames on several threads, since that takes much longer than reading them.
 * The texts come out in the order of the frames, on the caller's thread, which is the only one to
 * use the object. Holds at most a few hundred kilobytes of frames and their texts for each thread.
 */
class FormatWorkers {
public:
    using MakeFormatter = std::function<std::unique_ptr<FrameFormatter>()>;
    using Write = std::function<void(std::string_view)>;

    /**
     * @param threads how many; fewer when the system grants no more, and then perhaps none.
     * @param make_formatter makes one for each; formatters that keep nothing from frame to frame.
     * @param write takes the texts.
     */
    FormatWorkers(unsigned threads, MakeFormatter const& make_formatter, Write write);
    ~FormatWorkers();
    FormatWorkers(FormatWorkers const&) = delete;
    FormatWorkers& operator=(FormatWorkers const&) = delete;

    bool has_threads() const { return !threads_running_.empty(); }

    /** Whether append() takes a frame of this size, in bytes; larger ones take too much memory. */
    static bool takes(size_t payload_size) { return payload_size <= kJobSize; }

    /** Takes a frame; has_threads() holds. Throws what `write` and the formatters throw. */
    void append(InputFrame const& frame);

    /** Waits until every frame that was taken has been written. Throws the same. */
    void finish();

private:
    static constexpr size_t kJobSize = 64 * 1024;

    /** Frames that one thread takes at a time. */
    struct Job {
        std::vector<InputFrame> frames;  // their payloads are in `payloads`, one after the other
        std::string payloads;
        std::string text;
        std::exception_ptr problem;
        bool done = false;
    };

    void submit();
    void write_oldest();
    std::shared_ptr<Job> make_job();
    void work(FrameFormatter& formatter);
    std::shared_ptr<Job> take_job();
    static void format(FrameFormatter& formatter, Job& job, TextBuffer& text);

    Write write_;
    /** Jobs that were written: their memory is used again, for new pages cost time. */
    std::vector<std::shared_ptr<Job>> spare_;
    std::shared_ptr<Job> collecting_;
    std::deque<std::shared_ptr<Job>> in_order_;  // submitted and not yet written
    std::vector<std::unique_ptr<FrameFormatter>> formatters_;

    std::mutex mutex_;  // guards what follows, and `done` of every job
    std::condition_variable changed_;
    std::deque<std::shared_ptr<Job>> waiting_;
    bool stopping_ = false;

    std::vector<std::thread> threads_running_;
};

}  // namespace Tools
