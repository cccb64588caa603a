#include "service/recorders.h"

#include <algorithm>
#include <utility>

#include "kit/base/error.h"
#include "kit/recording/format.h"
#include "log/ilog.h"
#include "service/raw_record.h"

namespace Service {

namespace {

/** The lower halves of the record tags. Never change. */
constexpr int kObjectsId = 0x2050;
constexpr int kDiagnosticsId = 0x2051;

constexpr char kCard[] = "/var/spool/storage/SD_DISK";
constexpr char kDiagnosticsDirectory[] = "/tmp/radar-diagnostics";
constexpr std::chrono::seconds kDiagnosticsInterval(1);

/** In front of every record. */
constexpr std::array<uint32_t, 3> kTags = {Kit::kRecordTag | kObjectsId, kRawRecordTag,
                                           Kit::kRecordTag | kDiagnosticsId};
constexpr std::array<char const*, 3> kNames = {"objects", "raw", "diagnostics"};

Storage storage_of(Settings const& settings, char const* location) {
    if (settings.value(location) != 1) return {"/tmp", false};
    return {kCard, settings.value("StorageIsMount") == 1};
}

std::chrono::seconds seconds_of(Settings const& settings, char const* key) {
    return std::chrono::seconds(settings.value(key));
}

uint64_t bytes_of(Settings const& settings, char const* key) {
    return static_cast<uint64_t>(settings.value(key));
}

}  // namespace

Recorders::Recorders(Settings const& settings, bool keep_unfinished)
    : objects_format_(kObjectsId, "", 0, false, 0),
      diagnostics_format_(kDiagnosticsId, "", 0, false, 0),
      keep_unfinished_(keep_unfinished) {
    start_objects(settings);
    start_raw(settings);
    start_diagnostics(settings);
}

Recorders::~Recorders() {
    finish();
}

void Recorders::start_objects(Settings const& settings) {
    RecorderOptions options;
    options.storage = storage_of(settings, "FileWriterLocation");
    options.prefix = "radar";
    options.file_time = seconds_of(settings, "FileWriterFileTime");
    options.file_size = bytes_of(settings, "FileWriterMaxFileSize");
    options.make_writer = [directory = options.storage.directory,
                           count = settings.value("FileWriterMaxFileCount")] {
        return make_object_writer(kObjectsId, directory, {count});
    };
    off_[kNames[kObjects]].directory = options.storage.directory;
    if (settings.value("FileWriterEnabled") == 1) start(kObjects, std::move(options), settings);
}

void Recorders::start_raw(Settings const& settings) {
    RecorderOptions options;
    options.storage = storage_of(settings, "DataFileWriterLocation");
    options.prefix = "raw";
    options.file_time = seconds_of(settings, "DataFileWriterFileTime");
    options.file_size = bytes_of(settings, "FileWriterMaxFileSize");
    options.make_writer = [directory = options.storage.directory, prefix = options.prefix,
                           count = settings.value("DataFileWriterMaxFileCount")] {
        return make_data_writer(directory, prefix, {count});
    };
    off_[kNames[kRaw]].directory = options.storage.directory;
    if (settings.value("DataFileWriterEnabled") == 1) start(kRaw, std::move(options), settings);
}

void Recorders::start_diagnostics(Settings const& settings) {
    Kit::RecorderStatus& off = off_[kNames[kDiagnostics]];
    off.directory = kDiagnosticsDirectory;
    if (settings.value("DiagnosticFileWriterEnabled") != 1) return;
    const std::string defect = make_private_directory(kDiagnosticsDirectory);
    if (!defect.empty()) {
        off.errors = 1;
        off.last_error = defect + "; diagnostics are off";
        Petrel::ilog(1) << off.last_error << std::endl;
        return;
    }
    RecorderOptions options;
    options.storage = {kDiagnosticsDirectory, false};
    options.prefix = "radar";
    options.file_time = seconds_of(settings, "DiagnosticFileWriterFileTime");
    options.file_size = bytes_of(settings, "DiagnosticFileWriterMaxFileSize");
    options.make_writer = [count = settings.value("DiagnosticFileWriterMaxFileCount")] {
        return make_diagnostic_writer(kDiagnosticsId, {count});
    };
    start(kDiagnostics, std::move(options), settings);
}

void Recorders::start(Kind kind, RecorderOptions options, Settings const& settings) {
    options.name = kNames[kind];
    options.tag = kTags[kind];
    options.completes_unfinished = !keep_unfinished_;
    options.queue_frames = static_cast<size_t>(settings.value("RecorderQueueFrames"));
    options.queue_bytes = static_cast<size_t>(settings.value("RecorderQueueBytes"));
    recorders_[kind] = std::make_unique<Recorder>(std::move(options));
    off_.erase(kNames[kind]);
}

bool Recorders::is_started() const {
    bool all = true;
    for (auto const& recorder : recorders_) {
        if (!recorder) continue;
        const auto trial = recorder->trial();
        all = all && trial;
        if (trial && trial->result == StorageTrial::Result::kRefused) {
            throw Kit::Error(trial->reason);
        }
    }
    return all;
}

void Recorders::record(Radar::SocketBuffer const& frame, std::function<std::string()> const& raw,
                       bool failure_active, Clock::time_point now) {
    if (finishing_) return;
    if (recorders_[kObjects]) recorders_[kObjects]->push(objects_format_.formatData(frame));
    if (recorders_[kRaw]) recorders_[kRaw]->push(raw());
    if (!failure_active && now < next_diagnostics_) return;
    next_diagnostics_ = now + kDiagnosticsInterval;
    if (recorders_[kDiagnostics]) {
        recorders_[kDiagnostics]->push(diagnostics_format_.formatData(frame));
    }
}

bool Recorders::is_behind(Clock::time_point now) const {
    return std::any_of(recorders_.begin(), recorders_.end(), [&](auto const& recorder) {
        return recorder && recorder->should_wait(now);
    });
}

std::map<std::string, Kit::RecorderStatus> Recorders::status(Clock::time_point now) const {
    std::map<std::string, Kit::RecorderStatus> all = off_;
    for (size_t i = 0; i < recorders_.size(); ++i) {
        if (recorders_[i]) all[kNames[i]] = recorders_[i]->status(now);
    }
    return all;
}

std::vector<RecorderHealth> Recorders::health(Clock::time_point now) const {
    std::vector<RecorderHealth> all;
    for (auto const& recorder : recorders_) {
        if (recorder) all.push_back(recorder->health(now));
    }
    return all;
}

void Recorders::finish() {
    finishing_ = true;
    for (auto const& recorder : recorders_) {
        if (recorder) recorder->finish();
    }
}

bool Recorders::is_finished(Clock::time_point now, Clock::duration patience) const {
    return std::all_of(recorders_.begin(), recorders_.end(), [&](auto const& recorder) {
        return !recorder || recorder->is_finished() || recorder->stuck_for(now) > patience;
    });
}

std::pair<std::string, Recorders::Clock::duration> Recorders::most_stuck(
    Clock::time_point now) const {
    std::pair<std::string, Clock::duration> most = {"", Clock::duration::zero()};
    for (size_t i = 0; i < recorders_.size(); ++i) {
        if (!recorders_[i]) continue;
        const auto stuck = recorders_[i]->stuck_for(now);
        if (stuck > most.second) most = {kNames[i], stuck};
    }
    return most;
}

}  // namespace Service
