#include "tools/input/recording_input.h"

#include <poll.h>

#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "kit/base/input_error.h"
#include "tools/cli/signals.h"
#include "tools/cli/usage_error.h"

namespace Tools {

namespace {

using Kit::FindingKind;
using Kit::RecordingScanner;

constexpr int kTickMs = 50;

/** In how many ticks a directory is looked through for a file that the recorder has begun. */
constexpr unsigned kTicksPerLook = 5;

/** Ctrl-C came while the input had nothing to read, or nothing but damage. */
struct WaitInterrupted {};

/** So that Ctrl-C ends also the search for a record in a file that has none for a long way. */
void check_interruption(int /*fd*/) {
    if (was_interrupted()) throw WaitInterrupted();
}

/** Waits until `fd` has something to read, or has ended. */
void wait_for(int fd, std::function<void()> const& idle) {
    pollfd wait = {fd, POLLIN, 0};
    int ready = poll(&wait, 1, 0);
    while (ready <= 0) {
        if (idle) idle();
        if (was_interrupted()) throw WaitInterrupted();
        ready = poll(&wait, 1, kTickMs);
    }
}

bool is_regular(std::string const& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored);
}

/** What the system said, of a message that begins with the file's name. */
std::string reason_of(Kit::InputError const& error, std::string const& path) {
    const std::string text = error.what();
    const std::string begin = path + ": ";
    return text.compare(0, begin.size(), begin) == 0 ? text.substr(begin.size()) : text;
}

}  // namespace

RecordingInput::RecordingInput(SourceName const& source, InputOptions const& options,
                               Selection selection)
    : FrameInput(std::move(selection)), idle_(options.idle) {
    if (source.kind == SourceName::Kind::kStandardInput) {
        standard_input_to_come_ = true;
        return;
    }
    files_.emplace(source.path, options.recorder, options.follow);
    left_out_to_tell_ = files_->left_out() > 0;
}

uint64_t RecordingInput::bytes_done() const {
    return bytes_before_ + (scanner_ ? scanner_->offset() : 0);
}

bool RecordingInput::read() {
    if (std::exchange(left_out_to_tell_, false)) {
        return tell("files of other recorders, left out: " + std::to_string(files_->left_out()));
    }
    try {
        for (;;) {
            if (!to_tell_.empty()) {
                Kit::Finding finding = std::move(to_tell_.front());
                to_tell_.pop_front();
                return tell(std::move(finding));
            }
            if (!scanner_) return open_next_file();
            if (use(scan())) return true;
        }
    } catch (WaitInterrupted const&) {
        cut_short = true;
        return false;
    }
}

bool RecordingInput::open_next_file() {
    if (!files_) {
        if (!std::exchange(standard_input_to_come_, false)) return false;
        current_file.path = "standard input";
        scanner_ = open_scanner("-", true);
        current_item = Item::kFile;
        return true;
    }
    std::optional<Kit::RecordingFile> file = files_->next();
    while (!file) {
        if (!files_->follows()) return false;
        wait();
        file = files_->next();
    }
    open_file(std::move(*file));
    return true;
}

void RecordingInput::open_file(Kit::RecordingFile file) {
    file.path = current_path(file.path);
    file.name = Kit::parse_recording_name(Kit::file_name_of(file.path));
    current_item = Item::kFile;
    current_file = std::move(file);
    current_state = find_file_state(current_file);
    // The last one may be written by a recorder that had nothing to write for a long time.
    growing_ = current_state == FileState::kBeingWritten ||
               (files_->follows() && current_state != FileState::kComplete && !files_->has_newer());
    try {
        scanner_ = open_scanner(current_file.path, !is_regular(current_file.path));
    } catch (Kit::InputError const& error) {
        if (!files_->is_directory()) throw;
        to_tell_.push_back({FindingKind::kUnreadable, 0, 0, reason_of(error, current_file.path)});
    }
}

std::unique_ptr<RecordingScanner> RecordingInput::open_scanner(std::string const& path,
                                                               bool waits) const {
    auto input = std::make_unique<Kit::BlockReader>(path);
    if (waits) {
        input->set_wait([this](int fd) { wait_for(fd, idle_); });
    } else {
        input->set_wait(check_interruption);
    }
    return std::make_unique<RecordingScanner>(
        std::move(input),
        growing_ ? RecordingScanner::Tail::kGrowing : RecordingScanner::Tail::kComplete);
}

RecordingInput::Scanned RecordingInput::scan() {
    if (scanned_ahead_) return *std::exchange(scanned_ahead_, std::nullopt);
    try {
        return scanner_->next();
    } catch (Kit::InputError const& error) {
        if (!frame_seen_ && !(files_ && files_->is_directory())) throw;
        read_problem_ = reason_of(error, scanner_->name());
        return Scanned::kEnd;
    }
}

/** Makes an item of what was scanned; false when it gives none. */
bool RecordingInput::use(Scanned scanned) {
    if (scanned == Scanned::kFinding && suspect()) return false;
    if (!suspects_.empty()) return use_behind_suspects(scanned);
    switch (scanned) {
        case Scanned::kHeader:
            current_header = scanner_->header();
            current_item = Item::kHeader;
            return true;
        case Scanned::kRecord:
            return use_record();
        case Scanned::kFinding:
            return tell(scanner_->finding());
        case Scanned::kEnd:
            break;
    }
    return use_end();
}

bool RecordingInput::use_record() {
    Kit::Record const& record = scanner_->record();
    frame_seen_ = true;
    current_item = Item::kFrame;
    current_frame.magic = record.frame.magic;
    current_frame.timestamp = record.frame.timestamp;
    current_frame.target_count = record.frame.targets;
    current_frame.payload = record.payload;
    current_frame.offset = record.offset;
    current_frame.tag = record.tag;
    return true;
}

/** The scan has come to the end of what is there of the file. */
bool RecordingInput::use_end() {
    if (read_problem_.empty() && file_goes_on()) return false;
    const uint64_t offset = scanner_->offset();
    bytes_before_ += offset;
    scanner_.reset();
    if (!read_problem_.empty()) {
        to_tell_.push_back({FindingKind::kUnreadable, offset, 0, std::exchange(read_problem_, "")});
    }
    return false;
}

/** Waits when the recorder has not ended the file yet. Whether the scan is to go on. */
bool RecordingInput::file_goes_on() {
    if (!growing_ || !is_endless()) return false;
    std::error_code ignored;
    // Renamed or removed, or left behind: what is there now is all.
    const bool has_ended = !std::filesystem::exists(current_file.path, ignored) ||
                           (++ticks_ % kTicksPerLook == 0 && files_->has_newer());
    if (has_ended) {
        growing_ = false;
        scanner_->stop_growing();
    } else {
        wait();
    }
    return true;
}

/** Whether a finding may only say that one of the directory's files holds raw data. */
bool RecordingInput::suspect() {
    if (!files_ || !files_->is_directory()) return false;
    const FindingKind kind = scanner_->finding().kind;
    if (kind != FindingKind::kRawData && (suspects_.empty() || kind != FindingKind::kSkipped)) {
        return false;
    }
    suspects_.push_back(scanner_->finding());
    return true;
}

/** Only when a record follows there is no doubt that the file does not hold raw data. */
bool RecordingInput::use_behind_suspects(Scanned scanned) {
    if (scanned == Scanned::kEnd && read_problem_.empty()) {
        suspects_.clear();
        growing_ = false;
        use_end();
        return tell(current_file.path +
                    ": passed over: no record behind the header, raw data or damage");
    }
    to_tell_ = std::exchange(suspects_, {});
    scanned_ahead_ = scanned;
    return false;
}

bool RecordingInput::tell(Kit::Finding finding) {
    current_finding = std::move(finding);
    current_item = Item::kFinding;
    return true;
}

bool RecordingInput::tell(std::string note) {
    current_note = std::move(note);
    current_item = Item::kNote;
    return true;
}

void RecordingInput::wait() const {
    if (idle_) idle_();
    if (was_interrupted()) throw WaitInterrupted();
    poll(nullptr, 0, kTickMs);
}

uint64_t find_last_timestamp(SourceName const& source, InputOptions const& options) {
    std::error_code ignored;
    if (std::filesystem::is_fifo(source.path, ignored)) {
        throw UsageError("a time before the last frame needs a file or a directory, not the pipe " +
                         source.text);
    }
    SourceFiles files(source.path, options.recorder, false);
    for (auto file = files.files().rbegin(); file != files.files().rend(); ++file) {
        std::optional<uint64_t> last;
        try {
            auto input = std::make_unique<Kit::BlockReader>(current_path(file->path));
            input->set_wait(check_interruption);
            RecordingScanner scanner(std::move(input));
            for (auto item = scanner.next(); item != RecordingScanner::Item::kEnd;
                 item = scanner.next()) {
                if (item == RecordingScanner::Item::kRecord)
                    last = scanner.record().frame.timestamp;
                if (was_interrupted()) return 0;
            }
        } catch (WaitInterrupted const&) {
            return 0;
        } catch (Kit::InputError const&) {
            // The reading that follows tells what is the matter.
        }
        if (last) return *last;
    }
    return 0;
}

}  // namespace Tools
