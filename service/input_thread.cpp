#include "service/input_thread.h"

#include <sys/eventfd.h>

#include <cerrno>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <utility>

#include "kit/base/file_descriptor.h"
#include "kit/base/signals_blocked.h"

namespace Service {

namespace {

/** How long a thread that was told to stop is waited for. */
constexpr std::chrono::milliseconds kStopGrace(100);

}  // namespace

/** All that the thread uses. */
class InputThread::Work {
public:
    Work(Open open, Kit::InputStatus unopened)
        : open_(std::move(open)),
          changed_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
          status_(std::move(unopened)) {
        if (!changed_.valid()) {
            throw std::system_error(errno, std::system_category(), "Failed to watch the input");
        }
    }

    void run() {
        try {
            read_to_the_end();
        } catch (...) {
            const std::lock_guard<std::mutex> lock(mutex_);
            failure_ = std::current_exception();
            state_ = State::kFailed;
        }
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            busy_since_.reset();
            finished_ = true;
        }
        ended_.notify_all();
        notify();
    }

    int fd() const { return changed_.get(); }

    void acknowledge() {
        eventfd_t count = 0;
        eventfd_read(changed_.get(), &count);  // empty when nothing has changed
    }

    State state() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return state_;
    }

    std::exception_ptr failure() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return failure_;
    }

    bool can_wait() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return can_wait_;
    }

    bool has_frame() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return !frames_.empty();
    }

    std::optional<InputFrame> take() {
        std::optional<InputFrame> taken;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (frames_.empty()) return taken;
            taken = std::move(frames_.front());
            frames_.pop_front();
        }
        wake_.notify_one();
        return taken;
    }

    Kit::InputStatus status() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        Kit::InputStatus status = status_;
        status.frames_read = frames_read_;
        status.queued = frames_.size();
        return status;
    }

    void stop() {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            stopping_ = true;
        }
        wake_.notify_one();
    }

    bool is_finished() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return finished_;
    }

    bool await_end() const {
        std::unique_lock<std::mutex> lock(mutex_);
        return ended_.wait_for(lock, kStopGrace, [this] { return finished_; });
    }

    Clock::duration stuck_for(Clock::time_point now) const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return busy_since_ ? now - *busy_since_ : Clock::duration::zero();
    }

private:
    void read_to_the_end() {
        set_busy(true);
        const std::unique_ptr<Input> input = open_();
        set_busy(false);
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            can_wait_ = input->can_wait();
            status_ = input->status();
            state_ = State::kOpen;
        }
        notify();
        while (await_due(input->due()) && read_next(*input)) {
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        state_ = State::kEnded;
    }

    /** Returns whether the time has come, and not the end. */
    bool await_due(Clock::time_point due) {
        std::unique_lock<std::mutex> lock(mutex_);
        if (due <= Clock::now()) return !stopping_;
        return !wake_.wait_until(lock, due, [this] { return stopping_; });
    }

    /** Returns whether there can be another. */
    bool read_next(Input& input) {
        InputFrame next;
        set_busy(true);
        const Input::Result result = input.next(next.frame, next.conditions);
        set_busy(false);
        Kit::InputStatus status = input.status();
        {
            std::unique_lock<std::mutex> lock(mutex_);
            status_ = std::move(status);
            if (result == Input::Result::kEnd) return false;
            if (result == Input::Result::kNothing) return true;
            ++frames_read_;
            frames_.push_back(std::move(next));
        }
        notify();
        std::unique_lock<std::mutex> lock(mutex_);
        wake_.wait(lock, [this] { return stopping_ || frames_.size() < kMostFrames; });
        return true;
    }

    void set_busy(bool busy) {
        const std::lock_guard<std::mutex> lock(mutex_);
        busy_since_ = busy ? std::optional<Clock::time_point>(Clock::now()) : std::nullopt;
    }

    void notify() { eventfd_write(changed_.get(), 1); }  // the counter is never full

    const Open open_;
    const Kit::FileDescriptor changed_;

    mutable std::mutex mutex_;
    std::condition_variable wake_;
    mutable std::condition_variable ended_;
    State state_ = State::kOpening;
    std::exception_ptr failure_;
    Kit::InputStatus status_;
    bool can_wait_ = false;
    std::deque<InputFrame> frames_;
    uint64_t frames_read_ = 0;
    std::optional<Clock::time_point> busy_since_;
    bool stopping_ = false;
    bool finished_ = false;
};

InputThread::InputThread(Open open, Kit::InputStatus unopened)
    : work_(std::make_shared<Work>(std::move(open), std::move(unopened))) {
    const Kit::SignalsBlocked signals_blocked;
    thread_ = std::thread([work = work_] { work->run(); });
}

InputThread::~InputThread() {
    stop();
    if (work_->await_end()) {
        thread_.join();
    } else {
        thread_.detach();
    }
}

int InputThread::fd() const {
    return work_->fd();
}

void InputThread::acknowledge() {
    work_->acknowledge();
}

InputThread::State InputThread::state() const {
    return work_->state();
}

std::exception_ptr InputThread::failure() const {
    return work_->failure();
}

bool InputThread::can_wait() const {
    return work_->can_wait();
}

bool InputThread::has_frame() const {
    return work_->has_frame();
}

std::optional<InputFrame> InputThread::take() {
    return work_->take();
}

Kit::InputStatus InputThread::status() const {
    return work_->status();
}

void InputThread::stop() {
    work_->stop();
}

bool InputThread::is_finished() const {
    return work_->is_finished();
}

InputThread::Clock::duration InputThread::stuck_for(Clock::time_point now) const {
    return work_->stuck_for(now);
}

}  // namespace Service
