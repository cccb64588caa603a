#include "service/recording_watch.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>

#include "kit/base/errno_text.h"
#include "kit/base/error.h"
#include "kit/base/words.h"
#include "kit/recording/format.h"
#include "kit/recording/name.h"
#include "log/ilog.h"
#include "service/log_tap.h"

namespace Service {

namespace {

constexpr uint32_t kWatched = IN_CREATE | IN_MOVED_TO | IN_DELETE | IN_ONLYDIR;
constexpr int kWatchAgainMilliseconds = 1000;

Kit::FileDescriptor open_to_read(std::string const& path) {
    return Kit::FileDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

uint32_t read_frame_counter(Kit::FileDescriptor const& file) {
    std::array<char, 4> counter;
    const ssize_t size = pread(file.get(), counter.data(), counter.size(), Kit::kFrameCountOffset);
    return size == ssize_t{counter.size()} ? Kit::read_word({counter.data(), counter.size()}) : 0;
}

bool report(std::string const& what) {
    const int error = errno;
    Petrel::ilog(2) << what << ": " << Kit::errno_text(error) << std::endl;
    return false;
}

bool flush_directory(std::string const& path) {
    const Kit::FileDescriptor directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory.valid()) return report("Failed to open " + path);
    return fsync(directory.get()) == 0 || report("Failed to fsync " + path);
}

bool flush(Kit::FileDescriptor const& file, std::string const& path, std::string const& directory) {
    const std::string name = path.substr(0, path.size() - Kit::kCompletedSuffix.size());
    const bool lost = LogTap::instance().take_failed_flush(name);
    if (fsync(file.get()) != 0) return report("Failed to fsync " + path);
    return flush_directory(directory) && !lost;
}

bool is_before(timespec const& left, timespec const& right) {
    return left.tv_sec != right.tv_sec ? left.tv_sec < right.tv_sec : left.tv_nsec < right.tv_nsec;
}

timespec modified(std::string const& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_mtim : timespec{};
}

}  // namespace

RecordingWatch::RecordingWatch(std::vector<RecordingPlace> places)
    : inotify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), wake_(eventfd(0, EFD_CLOEXEC)) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);  // the clock of file times
    for (RecordingPlace& where : places) {
        Place place;
        place.watch = inotify_add_watch(inotify_.get(), where.directory.c_str(), kWatched);
        if (place.watch < 0 || !wake_.valid()) {
            throw Kit::Error(where.directory + ": cannot be watched: " + Kit::errno_text(errno));
        }
        place.where = std::move(where);
        place.newest = now;
        places_.push_back(std::move(place));
    }
    thread_ = std::thread(&RecordingWatch::run, this);
}

RecordingWatch::~RecordingWatch() {
    stop();
}

RecordedFiles RecordingWatch::files(size_t index) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    Place const& place = places_[index];
    RecordedFiles files = place.files;
    if (files.current.empty()) return files;
    Kit::FileDescriptor current = open_to_read(files.current);
    // It may have been completed without that being noticed yet.
    if (!current.valid())
        current = open_to_read(files.current + std::string(Kit::kCompletedSuffix));
    if (current.valid()) files.frames += read_frame_counter(current);
    return files;
}

void RecordingWatch::stop() {
    if (!thread_.joinable()) return;
    eventfd_write(wake_.get(), 1);  // cannot fail: the counter is at 0
    thread_.join();
}

void RecordingWatch::run() {
    auto looked_again = std::chrono::steady_clock::now();
    for (bool stopping = false; !stopping;) {
        std::array<pollfd, 2> waits = {{{inotify_.get(), POLLIN, 0}, {wake_.get(), POLLIN, 0}}};
        poll(waits.data(), waits.size(), kWatchAgainMilliseconds);
        // Looked at before the events are: what was completed before stop() is among them.
        stopping = (waits[1].revents & POLLIN) != 0;
        read_events();
        const auto now = std::chrono::steady_clock::now();
        if (now - looked_again < std::chrono::milliseconds(kWatchAgainMilliseconds)) continue;
        looked_again = now;
        watch_again();
    }
}

void RecordingWatch::read_events() {
    alignas(inotify_event) std::array<char, 16384> events;
    for (;;) {
        const ssize_t size = read(inotify_.get(), events.data(), events.size());
        if (size <= 0) return;
        for (size_t offset = 0; offset < static_cast<size_t>(size);) {
            auto const* const event =
                reinterpret_cast<inotify_event const*>(events.data() + offset);
            handle(event->wd, event->mask, event->len > 0 ? event->name : "");
            offset += sizeof(inotify_event) + event->len;
        }
    }
}

void RecordingWatch::handle(int watch, uint32_t mask, std::string const& name) {
    for (Place& place : places_) {
        if ((mask & IN_Q_OVERFLOW) != 0) {
            catch_up(place);
            continue;
        }
        if (place.watch != watch || !Kit::is_recording_name(name, place.where.prefix)) continue;
        const std::string path = place.where.directory + "/" + name;
        const bool completed = Kit::is_completed_name(name);
        if ((mask & IN_CREATE) != 0 && !completed) set_current(place, path);
        if ((mask & IN_DELETE) != 0 && place.files.current == path) set_current(place, "");
        if ((mask & IN_MOVED_TO) != 0 && completed) complete(place, path);
    }
}

void RecordingWatch::set_current(Place& place, std::string const& path) {
    const std::lock_guard<std::mutex> lock(mutex_);
    place.files.current = path;
}

void RecordingWatch::complete(Place& place, std::string const& path) {
    const Kit::FileDescriptor file = open_to_read(path);
    // The recorder may have deleted it again, to keep no more than it is to keep.
    const bool deleted = !file.valid() && errno == ENOENT;
    bool flushed = false;
    if (file.valid()) {
        flushed = flush(file, path, place.where.directory);
    } else if (!deleted) {
        report("Failed to open " + path);
    }

    const std::lock_guard<std::mutex> lock(mutex_);
    if (file.valid()) place.newest = modified(path);
    ++place.files.completed;
    if (flushed) ++place.files.flushed;
    if (!flushed && !deleted) ++place.files.flush_failures;
    if (file.valid()) place.files.frames += read_frame_counter(file);
    place.files.last_completed = path;
    if (place.files.current + std::string(Kit::kCompletedSuffix) == path)
        place.files.current.clear();
}

/** Notices a directory that was made anew, or that another medium was mounted on. */
void RecordingWatch::watch_again() {
    for (Place& place : places_) {
        const int watch =
            inotify_add_watch(inotify_.get(), place.where.directory.c_str(), kWatched);
        if (watch == place.watch) continue;
        if (watch < 0 && place.watch >= 0) report("Failed to watch " + place.where.directory);
        place.watch = watch;
        if (watch >= 0) catch_up(place);
    }
}

/** Completes the files that no event has told of. */
void RecordingWatch::catch_up(Place& place) {
    std::error_code none;
    std::vector<std::string> missed;
    std::string unfinished;
    for (auto const& entry : std::filesystem::directory_iterator(place.where.directory, none)) {
        const std::string name = entry.path().filename();
        if (!Kit::is_recording_name(name, place.where.prefix)) continue;
        if (is_before(modified(entry.path()), place.newest)) continue;
        if (!Kit::is_completed_name(name)) {
            unfinished = entry.path();
        } else if (entry.path() != place.files.last_completed) {
            missed.push_back(entry.path());
        }
    }
    for (std::string const& path : missed) complete(place, path);
    set_current(place, unfinished);
}

}  // namespace Service
