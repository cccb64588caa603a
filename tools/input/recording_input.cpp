#include "tools/input/recording_input.h"

#include <poll.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "kit/base/input_error.h"
#include "kit/base/usage_error.h"
#include "tools/cli/signals.h"
#include "tools/cli/wait.h"

namespace Tools {

namespace {

using Kit::FindingKind;
using Kit::RecordingScanner;

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
    bool is_ready = wait_a_tick_for(fd, POLLIN, std::chrono::milliseconds(0));
    while (!is_ready) {
        if (idle) idle();
        if (was_interrupted()) throw WaitInterrupted();
        is_ready = wait_a_tick_for(fd, POLLIN);
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

RecordingInput::RecordingInput(SourceName const& source, SourceOptions const& options,
                               Selection selection)
    : FrameInput(std::move(selection)), idle_(options.idle) {
    if (source.kind == SourceName::Kind::kStandardInput) {
        standard_input_to_come_ = true;
        return;
    }
    files_.emplace(source.path, options.recorder, options.follow);
    report_skipped_files_ = files_->skipped_files() > 0;
}

uint64_t RecordingInput::bytes_done() const {
    return bytes_before_ + (scanner_ ? scanner_->offset() : 0);
}

bool RecordingInput::read(InputHandler& items) {
    if (std::exchange(report_skipped_files_, false)) {
        items.on_note("files of other recorders, skipped: " +
                      std::to_string(files_->skipped_files()));
        return true;
    }
    try {
        for (;;) {
            if (!pending_.empty()) {
                const Kit::Finding finding = std::move(pending_.front());
                pending_.pop_front();
                items.on_finding(finding);
                return true;
            }
            if (!scanner_) return open_next_file(items);
            if (use(scan(), items)) return true;
        }
    } catch (WaitInterrupted const&) {
        interrupt();
        return false;
    }
}

bool RecordingInput::open_next_file(InputHandler& items) {
    if (!files_) {
        if (!std::exchange(standard_input_to_come_, false)) return false;
        file_.path = "standard input";
        scanner_ = open_scanner("-", true);
        items.on_file(file_, FileState::kUnknown);
        return true;
    }
    std::optional<Kit::RecordingFile> file = files_->next();
    while (!file) {
        if (!files_->follows()) return false;
        wait();
        file = files_->next();
    }
    open_file(std::move(*file), items);
    return true;
}

void RecordingInput::open_file(Kit::RecordingFile file, InputHandler& items) {
    file.path = current_path(file.path);
    file.name = Kit::parse_recording_name(Kit::file_name_of(file.path));
    file_ = std::move(file);
    const FileState state = find_file_state(file_);
    // The last one may be written by a recorder that had nothing to write for a long time.
    growing_ = state == FileState::kBeingWritten ||
               (files_->follows() && state != FileState::kComplete && !files_->has_newer());
    try {
        scanner_ = open_scanner(file_.path, !is_regular(file_.path));
    } catch (Kit::InputError const& error) {
        if (!files_->is_directory()) throw;
        pending_.push_back({FindingKind::kUnreadable, 0, 0, reason_of(error, file_.path)});
    }
    items.on_file(file_, state);
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

/** Delivers what was scanned; false when that is no item. */
bool RecordingInput::use(Scanned scanned, InputHandler& items) {
    if (scanned == Scanned::kFinding && suspect()) return false;
    if (!suspects_.empty()) return use_after_suspects(scanned, items);
    switch (scanned) {
        case Scanned::kHeader:
            items.on_header(scanner_->header());
            return true;
        case Scanned::kRecord:
            use_record(items);
            return true;
        case Scanned::kFinding:
            items.on_finding(scanner_->finding());
            return true;
        case Scanned::kEnd:
            use_end();
            break;
    }
    return false;
}

void RecordingInput::use_record(InputHandler& items) {
    Kit::Record const& record = scanner_->record();
    frame_seen_ = true;
    InputFrame frame;
    frame.magic = record.frame.magic;
    frame.timestamp = record.frame.timestamp;
    frame.target_count = record.frame.targets;
    frame.payload = record.payload;
    frame.offset = record.offset;
    frame.tag = record.tag;
    items.on_frame(frame);
}

/** The scan has come to the end of what the file holds so far. */
void RecordingInput::use_end() {
    if (read_problem_.empty() && file_goes_on()) return;
    const uint64_t offset = scanner_->offset();
    bytes_before_ += offset;
    scanner_.reset();
    if (!read_problem_.empty()) {
        pending_.push_back({FindingKind::kUnreadable, offset, 0, std::exchange(read_problem_, "")});
    }
}

/** Waits when the recorder has not ended the file yet. Whether the scan is to go on. */
bool RecordingInput::file_goes_on() {
    if (!growing_ || !is_endless()) return false;
    std::error_code ignored;
    // Renamed or removed, or left behind: what is there now is all.
    const bool has_ended = !std::filesystem::exists(file_.path, ignored) ||
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
bool RecordingInput::use_after_suspects(Scanned scanned, InputHandler& items) {
    if (scanned == Scanned::kEnd && read_problem_.empty()) {
        suspects_.clear();
        growing_ = false;
        use_end();
        items.on_note(file_.path + ": skipped: no record after the header, raw data or damage");
        return true;
    }
    pending_ = std::exchange(suspects_, {});
    scanned_ahead_ = scanned;
    return false;
}

void RecordingInput::wait() const {
    if (idle_) idle_();
    if (was_interrupted()) throw WaitInterrupted();
    wait_a_tick();
}

uint64_t find_last_timestamp(SourceName const& source, SourceOptions const& options) {
    std::error_code ignored;
    if (std::filesystem::is_fifo(source.path, ignored)) {
        throw Kit::UsageError(
            "a time before the last frame needs a file or a directory, not the pipe " +
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
