#include "service/recorders.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ios>
#include <thread>

#include "kit/base/errno_text.h"
#include "kit/base/error.h"
#include "kit/settings/table.h"
#include "log/ilog.h"
#include "service/log_tap.h"

namespace Service {

namespace {

/** The lower halves of the record tags. Never change. */
constexpr int kObjectsId = 0x2050;
constexpr int kDiagnosticsId = 0x2051;

constexpr char kDiagnosticsDirectory[] = "/tmp/radar-diagnostics";
constexpr std::chrono::seconds kDiagnosticsInterval(1);

/** The raw recorder begins like the library's own default. */
constexpr long kRawFileTime = 10;

/** How long no frame is stored before the rest of the queue is given up. */
constexpr std::chrono::milliseconds kQueuePatience(500);
constexpr std::chrono::milliseconds kQueueLook(5);
/** The same when the recorder ends, and what is in the queue has no other chance. */
constexpr std::chrono::milliseconds kLastPatience(2000);
constexpr uint64_t kMostQueuedFrames = 8192;
constexpr uint64_t kFramesBetweenLooks = 256;

std::string directory_at(int location) {
    return location == 1 ? "/var/spool/storage/SD_DISK" : "/tmp";
}

void make_directory(std::string const& directory) {
    if (mkdir(directory.c_str(), 0777) == 0 || errno == EEXIST) return;
    throw Kit::Error(directory + ": " + Kit::errno_text(errno));
}

/** Tries the directory out, since permissions alone do not tell of a read-only medium. */
void check_writable(std::string const& directory) {
    std::string trial = directory + "/.petrelradard-XXXXXX";
    const Kit::FileDescriptor file(mkostemp(trial.data(), O_CLOEXEC));
    if (file.valid()) {
        unlink(trial.c_str());  // it was made this moment
        return;
    }
    const int error = errno;
    // What is full now can have room later: the recorder tries again with every frame.
    if (error == ENOSPC || error == EDQUOT) {
        Petrel::ilog(1) << directory << ": " << Kit::errno_text(error) << std::endl;
        return;
    }
    throw Kit::Error(directory + ": cannot be written to: " + Kit::errno_text(error));
}

}  // namespace

Recorders::Recorders(Settings const& settings) {
    find_places(settings);
    make_directory(kDiagnosticsDirectory);
    std::vector<RecordingPlace> places;
    for (Recorder& recorder : recorders_) {
        if (!recorder.enabled) continue;
        check_writable(recorder.place.directory);
        recorder.watched = places.size();
        places.push_back(recorder.place);
        LogTap::instance().follow(recorder.place.path_start());
    }
    watch_ = std::make_unique<RecordingWatch>(std::move(places));
    switch_on(settings);
}

Recorders::~Recorders() {
    finish();
}

void Recorders::find_places(Settings const& settings) {
    const auto set = [&](Kind kind, char const* name, RecordingPlace place, char const* key) {
        recorders_[kind].name = name;
        recorders_[kind].place = std::move(place);
        recorders_[kind].enabled = settings.value(key) == 1;
    };
    const auto directory = [&](char const* key) { return directory_at(settings.value(key)); };
    set(kObjects, "objects", {directory("FileWriterLocation"), "radar"}, "FileWriterEnabled");
    set(kRaw, "raw", {directory("DataFileWriterLocation"), "raw"}, "DataFileWriterEnabled");
    set(kDiagnostics, "diagnostics", {kDiagnosticsDirectory, "radar"},
        "DiagnosticFileWriterEnabled");
}

/** A recorder ignores the settings that are not its own, so each gets them all. */
void Recorders::switch_on(Settings const& settings) {
    objects_ = std::make_unique<Radar::ObjectFileWriterThread>(kObjectsId);
    raw_ = std::make_unique<Radar::DataFileWriter>(recorders_[kRaw].place.directory, kRawFileTime,
                                                   false, recorders_[kRaw].place.prefix, 0);
    // It records from its construction on, so it is not made when it is to be off.
    if (recorders_[kDiagnostics].enabled) {
        diagnostics_ = std::make_unique<Radar::DiagnosticFileWriter>(kDiagnosticsId);
    }
    const auto configure = [&](std::string const& key) {
        const int value = settings.value(key);
        objects_->configure(key, value);
        raw_->configure(key, value);
        if (diagnostics_) diagnostics_->configure(key, value);
    };
    const auto switches_on = [](std::string const& key) {
        return key.find("Enabled") != std::string::npos;
    };
    // Switched on last, when they have the rest.
    for (const bool last : {false, true}) {
        for (Kit::Setting const& setting : Kit::all_settings()) {
            if (switches_on(setting.name) == last) configure(setting.name);
        }
    }
}

void Recorders::record(Radar::SocketBuffer const& frame, std::function<std::string()> const& raw,
                       bool failure_active, Clock::time_point now) {
    store(kObjects, [&] { objects_->write(frame); });
    store(kRaw, [&] { raw_->write(raw()); });
    if (!failure_active && now < next_diagnostics_) return;
    next_diagnostics_ = now + kDiagnosticsInterval;
    store(kDiagnostics, [&] { diagnostics_->write(frame); });
}

template <typename Store>
void Recorders::store(Kind kind, Store const& store) {
    Recorder& recorder = recorders_[kind];
    if (!recorder.enabled || !objects_) return;
    ++recorder.frames;
    try {
        store();
    } catch (std::ios_base::failure const& failure) {
        ++recorder.exceptions;
        recorder.last_exception = recorder.place.directory + ": " + failure.what();
        Petrel::ilog(1) << "Error writing frame counter in " << recorder.last_exception
                        << std::endl;
    }
}

std::map<std::string, Kit::RecorderStatus> Recorders::status() const {
    std::map<std::string, Kit::RecorderStatus> all;
    for (Recorder const& recorder : recorders_) {
        const RecordedFiles recorded = files(recorder);
        const LogTap::Problems problems = LogTap::instance().problems(recorder.place.path_start());
        Kit::RecorderStatus& status = all[recorder.name];
        status.enabled = recorder.enabled;
        status.directory = recorder.place.directory;
        status.file = recorded.current;
        status.last_completed = recorded.last_completed;
        status.frames = recorder.frames;
        status.frames_written = recorded.frames;
        status.files_completed = recorded.completed;
        status.files_flushed = recorded.flushed;
        status.flush_failures = recorded.flush_failures;
        status.errors = problems.count + recorder.exceptions;
        status.last_error = problems.last.empty() ? recorder.last_exception : problems.last;
    }
    return all;
}

RecordedFiles Recorders::files(Recorder const& recorder) const {
    return recorder.enabled ? watch_->files(recorder.watched) : RecordedFiles();
}

/**
 * How many frames the writer thread has yet to store: those that were handed over less those that
 * the files count. What is not counted after some patience never will be, as on a full card.
 */
void Recorders::look_at_queue(Clock::time_point now, Clock::duration patience) {
    const uint64_t frames = recorders_[kObjects].frames;
    const uint64_t counted = files(recorders_[kObjects]).frames;
    const uint64_t uncounted = frames - std::min(frames, counted);
    // Storage that was slow beyond patience may count them after all.
    never_counted_ = std::min(never_counted_, uncounted);
    queued_ = uncounted - never_counted_;
    if (queued_ == 0 || counted != last_counted_ || last_progress_ == Clock::time_point()) {
        last_progress_ = now;
    }
    last_counted_ = counted;
    if (now - last_progress_ < patience) return;
    never_counted_ += queued_;
    queued_ = 0;
}

bool Recorders::is_behind(Clock::time_point now) {
    if (!recorders_[kObjects].enabled) return false;
    if (!behind_ && recorders_[kObjects].frames % kFramesBetweenLooks != 0) return false;
    look_at_queue(now, kQueuePatience);
    behind_ = queued_ > kMostQueuedFrames;
    return behind_;
}

void Recorders::finish() {
    if (!objects_) return;
    // The writer thread looks at its queue now and then; told to end, it may drop what has come
    // since. So it is told when there is nothing left.
    // Storage that hung may have come back: what was given up meanwhile gets another chance.
    never_counted_ = 0;
    last_progress_ = Clock::time_point();
    while (recorders_[kObjects].enabled) {
        look_at_queue(Clock::now(), kLastPatience);
        if (queued_ == 0) break;
        std::this_thread::sleep_for(kQueueLook);
    }
    objects_.reset();
    raw_.reset();
    diagnostics_.reset();
    watch_->stop();
}

}  // namespace Service
