#pragma once

#include <cstdint>
#include <ctime>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "kit/base/file_descriptor.h"

namespace Service {

/** Where a recorder writes: files in `directory` whose names begin with `prefix` and "_". */
struct RecordingPlace {
    std::string directory;
    std::string prefix;

    /** What the path of every file of the recorder begins with. */
    std::string path_start() const { return directory + "/" + prefix + "_"; }
};

/** The files of one recorder since the watch began. */
struct RecordedFiles {
    /** The file being written and the one completed last, as paths; empty when there is none. */
    std::string current;
    std::string last_completed;
    uint64_t completed = 0;
    uint64_t flushed = 0;
    uint64_t flush_failures = 0;
    /** Frames that the headers of all these files count. */
    uint64_t frames = 0;
};

/**
 * Watches the directories of the recorders and makes completed files durable: renaming a file to
 * ".data" reaches the storage some time later, and until then a power cut may leave the file empty.
 * So each completed file is flushed once more, and then its directory. A failure is logged at level
 * 2 and counted; so is a file that the recorder itself could not flush, whatever a later flush
 * says.
 *
 * Owns a thread, on which storage may take its time; what it finds is asked for from any other. A
 * directory that has gone or another medium in its place is noticed within a second.
 */
class RecordingWatch {
public:
    /**
     * Begins to watch; files that are there already do not count.
     *
     * @throws Kit::Error with the directory when it cannot be watched.
     */
    explicit RecordingWatch(std::vector<RecordingPlace> places);
    /** stop(). */
    ~RecordingWatch();
    RecordingWatch(RecordingWatch const&) = delete;
    RecordingWatch& operator=(RecordingWatch const&) = delete;

    /** The files of the recorder at `places[index]`, as far as they were noticed. */
    RecordedFiles files(size_t index) const;

    /** Handles every file that was completed before this call, then ends the thread. */
    void stop();

private:
    struct Place {
        RecordingPlace where;
        int watch = -1;
        RecordedFiles files;
        /** When the newest file that was seen completed was written last. */
        timespec newest = {};
    };

    void run();
    void read_events();
    void handle(int watch, uint32_t mask, std::string const& name);
    void set_current(Place& place, std::string const& path);
    void complete(Place& place, std::string const& path);
    void watch_again();
    void catch_up(Place& place);

    Kit::FileDescriptor inotify_;
    Kit::FileDescriptor wake_;
    /** Guards `files` of every place; the rest is the thread's own. */
    mutable std::mutex mutex_;
    std::vector<Place> places_;
    std::thread thread_;
};

}  // namespace Service
