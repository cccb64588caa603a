#include "service/recorder.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

#include "kit/base/errno_text.h"
#include "kit/base/signals_blocked.h"
#include "log/ilog.h"
#include "service/unfinished.h"

namespace Service {

namespace {

using Clock = Recorder::Clock;

/** How often the storage and the file are checked while no frame comes. */
constexpr std::chrono::milliseconds kCheckEvery(500);
/** How often a failure that lasts is logged. */
constexpr std::chrono::seconds kLogEvery(60);
/** The part of the queue from which on a recorder is behind, and that from which on it is not. */
constexpr double kBehindFrom = 0.5;
constexpr double kBehindUntil = 0.25;
/** How often storage that fails is tried at the end, for what is queued then. */
constexpr int kLastAttempts = 2;
/** How long a thread that was told to finish is waited for when a call of it hangs. */
constexpr std::chrono::milliseconds kHungGrace(100);

uint64_t whole_seconds(Clock::duration duration) {
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::seconds>(duration).count());
}

std::string frames_text(uint64_t count) {
    return std::to_string(count) + (count == 1 ? " frame" : " frames");
}

}  // namespace

/** All that the thread uses. What stands under the lock is everybody's, the rest the thread's. */
class Recorder::Work {
public:
    explicit Work(RecorderOptions options)
        : options_(std::move(options)), queue_(options_.queue_frames, options_.queue_bytes) {
        counts_.enabled = true;
        counts_.directory = options_.storage.directory;
    }

    void run();

    void push(std::string record) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            ++counts_.frames;
            counts_.frames_dropped += queue_.push(std::move(record));
            update_behind();
        }
        wake_.notify_one();
    }

    void finish() {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            finishing_ = true;
        }
        wake_.notify_one();
    }

    bool is_finished() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return finished_;
    }

    /** Waits for the end, unless a system call of the thread hangs. */
    bool await_end() const {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            if (ended_.wait_for(lock, kHungGrace, [this] { return finished_; })) return true;
            if (stuck_for_locked(Clock::now()) > kHungAfter) return false;
        }
    }

    std::optional<StorageTrial> trial() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return trial_;
    }

    bool should_wait(Clock::time_point now) const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return queue_.is_filled(kBehindFrom) && !failing_since_ &&
               stuck_for_locked(now) < kHungAfter;
    }

    Kit::RecorderStatus status(Clock::time_point now) const {
        const std::lock_guard<std::mutex> lock(mutex_);
        Kit::RecorderStatus status = counts_;
        status.queued = queue_.frames() + (in_hand_ ? 1 : 0);
        status.storage = health_locked(now).text;
        return status;
    }

    RecorderHealth health(Clock::time_point now) const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return health_locked(now);
    }

    Clock::duration stuck_for(Clock::time_point now) const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return stuck_for_locked(now);
    }

private:
    // The thread's, without the lock.
    void try_storage_first();
    void complete_left_files();
    bool handle_next();
    void store(std::string record);
    bool begin_file();
    void check_file();
    void check_storage();
    void end_due_file();
    void complete_file(bool is_damaged = false);
    void end_uncounted_file(int error);
    void end_torn_file(int error);
    void leave_file(std::string const& reason, bool frames_are_lost);
    void drop_rest();
    bool flush(char const* what, std::string const& path, int error);

    // What is reported.
    void failed(std::string const& reason);
    void recovered();
    void problem(int level, std::string const& text);
    void log_failure_that_lasts();

    // Under the lock.
    void update_behind() { is_behind_ = queue_.is_filled(is_behind_ ? kBehindUntil : kBehindFrom); }
    Clock::duration stuck_for_locked(Clock::time_point now) const {
        return busy_since_ ? now - *busy_since_ : Clock::duration::zero();
    }
    RecorderHealth health_locked(Clock::time_point now) const;

    /** Marks the time that storage is worked on, which may hang. */
    class Busy {
    public:
        explicit Busy(Work& work) : work_(work) {
            const std::lock_guard<std::mutex> lock(work_.mutex_);
            is_outermost_ = !work_.busy_since_;
            if (is_outermost_) work_.busy_since_ = Clock::now();
        }
        ~Busy() {
            if (!is_outermost_) return;
            const std::lock_guard<std::mutex> lock(work_.mutex_);
            work_.busy_since_.reset();
        }
        Busy(Busy const&) = delete;
        Busy& operator=(Busy const&) = delete;

    private:
        Work& work_;
        bool is_outermost_ = false;
    };

    const RecorderOptions options_;
    std::unique_ptr<RecordWriter> writer_;
    OpenRecording file_;
    Clock::time_point begun_{};
    Clock::time_point retry_at_{};
    Clock::time_point logged_at_{};
    /** Of those at the end that have failed. */
    int last_attempts_ = 0;
    /** Whether storage is failing because there is none. */
    bool is_missing_ = false;
    /** Of the frames dropped when the failure began. */
    uint64_t dropped_before_ = 0;

    mutable std::mutex mutex_;
    std::condition_variable wake_;
    mutable std::condition_variable ended_;
    RecordQueue queue_;
    /** Whether a record is out of the queue, being stored. */
    bool in_hand_ = false;
    bool finishing_ = false;
    bool finished_ = false;
    bool is_behind_ = false;
    std::optional<StorageTrial> trial_;
    std::optional<Clock::time_point> failing_since_;
    std::optional<Clock::time_point> busy_since_;
    std::string failure_;
    Kit::RecorderStatus counts_;
};

void Recorder::Work::run() {
    try_storage_first();
    for (;;) {
        {
            std::unique_lock<std::mutex> lock(mutex_);
            const bool waits = failing_since_ && Clock::now() < retry_at_;
            wake_.wait_for(lock, kCheckEvery,
                           [&] { return finishing_ || (!waits && queue_.frames() > 0); });
        }
        check_storage();
        while (handle_next()) {
        }
        check_file();
        end_due_file();
        log_failure_that_lasts();
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!finishing_) continue;
        if (queue_.frames() == 0 || (failing_since_ && ++last_attempts_ == kLastAttempts)) break;
    }
    drop_rest();
    complete_file();
    const std::lock_guard<std::mutex> lock(mutex_);
    finished_ = true;
    ended_.notify_all();
}

void Recorder::Work::try_storage_first() {
    StorageTrial trial;
    {
        const Busy busy(*this);
        trial = try_storage(options_.storage);
        if (trial.result == StorageTrial::Result::kUsable) complete_left_files();
    }
    if (trial.result == StorageTrial::Result::kLater) failed(trial.reason);
    const std::lock_guard<std::mutex> lock(mutex_);
    trial_ = std::move(trial);
}

void Recorder::Work::complete_left_files() {
    if (!options_.completes_unfinished) return;
    const UnfinishedFiles found =
        complete_unfinished(options_.storage.directory, options_.prefix, options_.tag);
    const std::lock_guard<std::mutex> lock(mutex_);
    counts_.files_recovered += found.completed;
}

/** Stores the oldest record that waits. Returns whether there is another to be stored now. */
bool Recorder::Work::handle_next() {
    std::optional<std::string> record;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (failing_since_ && Clock::now() < retry_at_ && !finishing_) return false;
        record = queue_.pop();
        if (!record) return false;
        in_hand_ = true;
    }
    store(std::move(*record));
    const std::lock_guard<std::mutex> lock(mutex_);
    update_behind();
    return queue_.frames() > 0 && !failing_since_;
}

void Recorder::Work::store(std::string record) {
    RecordWriter::Written written;
    bool stored = false;
    {
        const Busy busy(*this);
        check_file();
        if (file_.is_open() || begin_file()) {
            written = writer_->write(record);
            stored = file_.take_record(record.size());
        }
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        in_hand_ = false;
        if (stored) {
            ++counts_.frames_written;
        } else {
            counts_.frames_dropped += queue_.restore(std::move(record));
        }
    }
    if (stored && written.counted) {
        recovered();
        end_due_file();
    } else if (stored) {
        end_uncounted_file(written.error);
    } else if (file_.is_open()) {
        end_torn_file(written.error);
    }
}

bool Recorder::Work::begin_file() {
    Storage const& storage = options_.storage;
    const std::string defect = storage_defect(storage);
    if (!defect.empty()) {
        is_missing_ = true;
        failed(storage.directory + ": " + defect);
        return false;
    }
    // A file begun in the same millisecond, or a name that somebody has taken, is waited out.
    constexpr int kLooks = 20;
    constexpr std::chrono::milliseconds kPause(2);
    int looks = 0;
    while (!is_name_free(storage.directory, options_.prefix)) {
        if (++looks == kLooks) {
            failed(storage.directory + ": the names of new files are taken");
            return false;
        }
        std::this_thread::sleep_for(kPause);
    }
    if (!writer_) writer_ = options_.make_writer();
    int error = writer_->begin();
    const std::string path = writer_->path();
    if (error == 0) {
        error = file_.open(path);
        if (error != 0) writer_->abandon();
    }
    if (error != 0) {
        failed(path + ": " + Kit::errno_text(error));
        return false;
    }
    begun_ = Clock::now();
    const std::lock_guard<std::mutex> lock(mutex_);
    counts_.file = path;
    return true;
}

/** A file that is not where it was is followed by another. */
void Recorder::Work::check_file() {
    if (!file_.is_open()) return;
    switch (file_.place()) {
        case OpenRecording::Place::kDeleted:
            return leave_file("was deleted", true);
        case OpenRecording::Place::kMoved:
            return leave_file("is not where it was: moved, or its medium has gone", false);
        case OpenRecording::Place::kInPlace:
            break;
    }
    // The same path can lead to another medium.
    if (device_of(options_.storage.directory) != file_.device()) {
        leave_file("its medium has gone", false);
    }
}

/** Notices a medium that has gone, or come back, before a frame does. */
void Recorder::Work::check_storage() {
    const Busy busy(*this);
    check_file();
    const std::string defect = storage_defect(options_.storage);
    if (!defect.empty()) {
        is_missing_ = true;
        failed(options_.storage.directory + ": " + defect);
    } else if (std::exchange(is_missing_, false)) {
        complete_left_files();
        recovered();
    }
}

/** The limits are checked after each frame; the time also without one. */
void Recorder::Work::end_due_file() {
    if (!file_.is_open()) return;
    const bool is_old = Clock::now() - begun_ > options_.file_time;
    const bool is_large = options_.file_size != 0 && file_.size() > options_.file_size;
    if (is_old || is_large) complete_file();
}

/** Flushed once more after the rename: on FAT and ext4 the name alone can reach the storage. */
void Recorder::Work::complete_file(bool is_damaged) {
    if (!file_.is_open()) return;
    const Busy busy(*this);
    const std::string path = file_.path();
    const std::string completed = path + ".data";
    bool flushed = flush("flush", path, file_.flush());
    errno = 0;
    writer_->complete();
    const int error = errno;
    const bool renamed = file_.is_at(completed);
    if (!renamed) {
        problem(2, path + ": not completed: " + Kit::errno_text(error != 0 ? error : EIO));
    }
    // The recorder may have tried once more to write what did not go into the file.
    if (is_damaged || file_.is_torn()) flush("repair", path, file_.mend());
    flushed = flush("flush", completed, file_.flush()) && flushed;
    flushed =
        flush("flush", options_.storage.directory, flush_directory(options_.storage.directory)) &&
        flushed;
    file_.close();
    const std::lock_guard<std::mutex> lock(mutex_);
    counts_.file.clear();
    if (renamed) {
        counts_.last_completed = completed;
        ++counts_.files_completed;
    }
    ++(flushed ? counts_.files_flushed : counts_.flush_failures);
}

/** Returns whether there was no error; logs one. */
bool Recorder::Work::flush(char const* what, std::string const& path, int error) {
    if (error == 0) return true;
    problem(2, path + ": failed to " + what + ": " + Kit::errno_text(error));
    return false;
}

/** The record is in the file; only the recorder could not count it. */
void Recorder::Work::end_uncounted_file(int error) {
    problem(1, file_.path() + ": the frame count was not written: " + Kit::errno_text(error) +
                   "; repaired");
    complete_file(true);
    recovered();
}

/** What a record that was not stored has left is removed, so that the file is whole. */
void Recorder::Work::end_torn_file(int error) {
    const Busy busy(*this);
    const std::string path = file_.path();
    if (file_.frames() == 0) {
        // It holds nothing but its header, if that.
        if (file_.is_at(path)) unlink(path.c_str());
        writer_->abandon();
        file_.close();
        const std::lock_guard<std::mutex> lock(mutex_);
        counts_.file.clear();
    } else {
        flush("repair", path, file_.mend());
        complete_file(true);
    }
    failed(path + ": " + Kit::errno_text(error));
}

/** Goes on without a file that cannot be completed where it is. */
void Recorder::Work::leave_file(std::string const& reason, bool frames_are_lost) {
    const std::string path = file_.path();
    const uint64_t frames = file_.frames();
    flush("flush", path, file_.flush());
    writer_->abandon();
    file_.close();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        counts_.file.clear();
        if (frames_are_lost) {
            counts_.frames_written -= frames;
            counts_.frames_failed += frames;
        }
    }
    problem(2, path + ": " + reason + "; it held " + frames_text(frames));
}

/** What is left when storage fails at the end has no other chance. */
void Recorder::Work::drop_rest() {
    size_t lost = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        lost = queue_.clear();
        counts_.frames_failed += lost;
    }
    if (lost > 0) {
        problem(2, options_.storage.directory + ": " + frames_text(lost) + " of " + options_.name +
                       " could not be recorded before the end");
    }
}

/** A failure is one line of the log when it begins; its repetitions are counted only. */
void Recorder::Work::failed(std::string const& reason) {
    const auto now = Clock::now();
    bool begins = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        begins = !failing_since_;
        if (begins) {
            failing_since_ = now;
            dropped_before_ = counts_.frames_dropped;
        }
        failure_ = reason;
        counts_.last_failed_us =
            static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(
                                      std::chrono::system_clock::now().time_since_epoch())
                                      .count());
    }
    retry_at_ = now + kRetryEvery;
    if (!begins) return;
    logged_at_ = now;
    problem(2, reason + "; " + options_.name + " are queued and tried again");
}

void Recorder::Work::recovered() {
    std::string text;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!failing_since_) return;
        text = options_.storage.directory + ": records " + options_.name + " again after " +
               std::to_string(whole_seconds(Clock::now() - *failing_since_)) + " s; " +
               frames_text(counts_.frames_dropped - dropped_before_) + " dropped meanwhile";
        failing_since_.reset();
        failure_.clear();
    }
    Petrel::ilog(0) << text << std::endl;
}

/** Logs a defect and counts it. */
void Recorder::Work::problem(int level, std::string const& text) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++counts_.errors;
        counts_.last_error = text;
    }
    Petrel::ilog(level) << text << std::endl;
}

void Recorder::Work::log_failure_that_lasts() {
    std::string text;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto now = Clock::now();
        if (!failing_since_ || now - logged_at_ < kLogEvery) return;
        logged_at_ = now;
        text = health_locked(now).text;
    }
    Petrel::ilog(1) << text << std::endl;
}

RecorderHealth Recorder::Work::health_locked(Clock::time_point now) const {
    RecorderHealth health;
    const auto stuck = stuck_for_locked(now);
    const uint64_t queued = queue_.frames() + (in_hand_ ? 1 : 0);
    health.is_behind = is_behind_;
    std::string what;
    if (stuck >= kHungAfter) {
        health.failing_since = *busy_since_;
        what = options_.storage.directory + ": storage has hung for " +
               std::to_string(whole_seconds(stuck)) + " s";
    } else if (failing_since_) {
        health.failing_since = failing_since_;
        what = failure_ + " (for " + std::to_string(whole_seconds(now - *failing_since_)) + " s)";
    } else if (is_behind_) {
        what = options_.storage.directory + ": storage is slower than the frames";
    } else {
        return health;
    }
    health.text = what + "; " + std::to_string(queued) + " of at most " +
                  frames_text(queue_.most_frames()) + " queued, " +
                  std::to_string(counts_.frames_dropped) + " dropped so far";
    return health;
}

Recorder::Recorder(RecorderOptions options) : work_(std::make_shared<Work>(std::move(options))) {
    const Kit::SignalsBlocked signals_blocked;
    thread_ = std::thread([work = work_] { work->run(); });
}

Recorder::~Recorder() {
    finish();
    if (work_->await_end()) {
        thread_.join();
    } else {
        thread_.detach();
    }
}

std::optional<StorageTrial> Recorder::trial() const {
    return work_->trial();
}

void Recorder::push(std::string record) {
    work_->push(std::move(record));
}

bool Recorder::should_wait(Clock::time_point now) const {
    return work_->should_wait(now);
}

Kit::RecorderStatus Recorder::status(Clock::time_point now) const {
    return work_->status(now);
}

RecorderHealth Recorder::health(Clock::time_point now) const {
    return work_->health(now);
}

void Recorder::finish() {
    work_->finish();
}

bool Recorder::is_finished() const {
    return work_->is_finished();
}

Recorder::Clock::duration Recorder::stuck_for(Clock::time_point now) const {
    return work_->stuck_for(now);
}

}  // namespace Service
