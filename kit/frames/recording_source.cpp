#include "kit/frames/recording_source.h"

#include <fmt/core.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "kit/base/input_error.h"
#include "kit/recording/files.h"
#include "log/ilog.h"

namespace Kit {

namespace {

/** Whether the name says that the recorder has not completed the file. */
bool is_unfinished(std::string const& path) {
    const auto name = parse_recording_name(file_name_of(path));
    return name && !name->complete;
}

/** Whether a finding is such that a file without its end has it. */
bool lacks_end(FindingKind kind) {
    return kind == FindingKind::kEmpty || kind == FindingKind::kShortHeader ||
           kind == FindingKind::kCutShort;
}

/** The path of a file that the recorder may have completed since it was listed. */
std::string current_path(std::string const& path) {
    std::error_code ignored;  // what cannot be examined cannot be opened, which is reported
    return std::filesystem::exists(path, ignored) ? path : path + std::string(kCompletedSuffix);
}

bool is_directory(std::string const& path) {
    std::error_code ignored;  // as above
    return std::filesystem::is_directory(path, ignored);
}

void check_recorders(std::string const& directory, std::vector<RecordingFile> const& found) {
    const std::vector<std::string> recorders = recorders_of(found);
    if (recorders.size() < 2) return;
    std::string text = directory + ": holds files of several recorders: " + recorders.front();
    for (size_t i = 1; i < recorders.size(); ++i) text += ", " + recorders[i];
    throw InputError(text);
}

/** The files in a directory that hold frames, or should. */
std::vector<std::string> files_with_frames(std::string const& directory) {
    const std::vector<RecordingFile> found = list_recordings(directory);
    check_recorders(directory, found);
    std::vector<std::string> files;
    for (RecordingFile const& file : found) {
        if (!file.problem.empty()) throw InputError(file.problem);
        if (file.raw) {
            Petrel::ilog(2) << file.path << ": skipped: no record after the header, raw data "
                            << "or damage" << std::endl;
        } else {
            files.push_back(file.path);
        }
    }
    if (files.empty()) throw InputError(directory + ": holds no recordings of frames");
    return files;
}

}  // namespace

RecordingSource::RecordingSource(std::string const& path) {
    if (is_directory(path)) {
        files_ = files_with_frames(path);
        open_next_file();
    } else {
        scanner_ = std::make_unique<RecordingScanner>(path);
    }
}

RecordingSource::RecordingSource(std::unique_ptr<BlockReader> input)
    : scanner_(std::make_unique<RecordingScanner>(std::move(input))) {}

void RecordingSource::rewind() {
    if (files_.empty()) {
        scanner_->rewind();
    } else {
        next_file_ = 0;
        open_next_file();
    }
}

bool RecordingSource::next(RO::RadarObjects& frame) {
    for (;;) {
        RecordingScanner::Item item = scanner_->next();
        if (item == RecordingScanner::Item::kFinding && ends_with(scanner_->finding())) {
            item = RecordingScanner::Item::kEnd;
        }
        if (item == RecordingScanner::Item::kRecord) {
            Record const& record = scanner_->record();
            if (frame.ParseFromArray(record.payload.data(),
                                     static_cast<int>(record.payload.size())))
                return true;
            fail({FindingKind::kUndecodable, record.offset, 0, "the payload does not decode"});
        }
        if (item == RecordingScanner::Item::kEnd) {
            if (next_file_ == files_.size()) return false;
            open_next_file();
        }
    }
}

void RecordingSource::open_next_file() {
    const std::string path = current_path(files_[next_file_]);
    scanner_ = std::make_unique<RecordingScanner>(path);
    ++next_file_;
}

/** Whether the open file ends here, with the missing end of an unfinished file. */
bool RecordingSource::ends_with(Finding const& finding) {
    // Neither joining two files nor counting wrongly has cost a frame.
    if (!is_damage(finding.kind) && finding.kind != FindingKind::kForeignFrame) return false;
    const Finding first = finding;
    if (!lacks_end(first.kind) || !is_unfinished(scanner_->name())) fail(first);
    scanner_->next();  // how much is skipped
    if (scanner_->next() == RecordingScanner::Item::kRecord) fail(first);
    return true;
}

void RecordingSource::fail(Finding const& finding) const {
    throw InputError(
        fmt::format("{}: offset {}: {}", scanner_->name(), finding.offset, finding.text));
}

}  // namespace Kit
