#include "tools/doctor/recovery.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "kit/base/block_reader.h"
#include "kit/base/errno_text.h"
#include "kit/base/input_error.h"
#include "tools/cli/time_text.h"

namespace Tools {

namespace {

namespace fs = std::filesystem;

constexpr char kSuspectFolder[] = "suspect";

void make_directory(std::string const& path) {
    std::error_code error;
    fs::create_directories(path, error);
    if (!error && !fs::is_directory(path, error)) {
        error = std::make_error_code(std::errc::not_a_directory);
    }
    if (error) throw Kit::Error(path + ": " + Kit::errno_text(error.value()));
}

/** What the first 40 bytes say, when the file can be read again. */
std::optional<Kit::RecordingHeader> read_again(std::string const& path) {
    std::error_code ignored;
    if (!fs::is_regular_file(path, ignored)) return std::nullopt;
    try {
        Kit::BlockReader reader(path, Kit::kRecordingHeaderSize);
        const std::string_view bytes = reader.window(Kit::kRecordingHeaderSize);
        if (bytes.size() < Kit::kRecordingHeaderSize) return std::nullopt;
        return Kit::read_header(bytes);
    } catch (Kit::InputError const&) {
        return std::nullopt;
    }
}

/** Of a file that has no header: when it was begun, in s since 1970 UTC. */
int64_t guess_begin(Kit::RecordingFile const& file, InputFrame const& first) {
    if (file.name) return Kit::begin_of(*file.name);
    return looks_like_date(first.timestamp) ? static_cast<int64_t>(first.timestamp / 1000000) : 0;
}

}  // namespace

char const* name_of(SavedRecording::Header header) {
    switch (header) {
        case SavedRecording::Header::kKept:
            return "kept";
        case SavedRecording::Header::kRepaired:
            return "repaired";
        case SavedRecording::Header::kMadeUp:
            break;
    }
    return "made-up";
}

Recovery::Recovery(std::string directory, bool force, OnSaved on_saved)
    : directory_(std::move(directory)), force_(force), on_saved_(std::move(on_saved)) {}

void Recovery::on_file(Kit::RecordingFile const& file, FileState) {
    end_part();
    file_ = file;
    is_first_part_ = true;
    is_raw_ = false;
}

void Recovery::on_header(Kit::RecordingHeader const& header) {
    end_part();
    begin_part(header, SavedRecording::Header::kKept);
}

void Recovery::on_finding(Kit::Finding const& finding) {
    if (finding.kind == Kit::FindingKind::kRawData) is_raw_ = true;
}

void Recovery::on_note(std::string const&) {
    if (file_.raw) is_raw_ = true;
}

void Recovery::finish() {
    end_part();
}

void Recovery::begin_part(Kit::RecordingHeader const& header, SavedRecording::Header origin) {
    header_ = header;
    header_origin_ = origin;
    tag_.reset();
    is_begun_ = true;
    open(main_, false);
}

/** Records, but no header in front of them. */
void Recovery::make_up_header(InputFrame const& first) {
    const auto damaged = read_again(file_.path);
    // When the first record is where it has to be, a header of this version is in front of it.
    if (damaged && first.offset == Kit::kRecordingHeaderSize &&
        (damaged->magic == Kit::kRecordingMagic || damaged->version == Kit::kRecordingVersion)) {
        begin_part(*damaged, SavedRecording::Header::kRepaired);
        return;
    }
    Kit::RecordingHeader made_up;
    made_up.seconds = static_cast<int32_t>(guess_begin(file_, first));
    made_up.daylight_saving = -1;
    begin_part(made_up, SavedRecording::Header::kMadeUp);
}

void Recovery::on_frame(InputFrame const& frame) {
    if (!is_begun_) make_up_header(frame);
    if (held_ && held_->tag == frame.tag) {
        tag_ = frame.tag;
        put(main_, held_->tag, held_->offset, held_->payload);
        held_.reset();
    }
    if (tag_ && *tag_ == frame.tag) {
        put(main_, frame.tag, frame.offset, frame.payload);
        return;
    }
    Held record{frame.tag, frame.offset, std::string(frame.payload)};
    if (tag_) {
        put_suspect(record);
        return;
    }
    if (held_) put_suspect(*held_);
    held_ = std::move(record);
}

void Recovery::put_suspect(Held const& record) {
    if (!suspect_.output) open(suspect_, true);
    put(suspect_, record.tag, record.offset, record.payload);
}

void Recovery::put(Part& part, uint32_t record_tag, uint64_t offset, std::string_view payload) {
    if (part.output->records() == 0) part.saved.offset = offset;
    part.output->add(record_tag, payload);
}

void Recovery::open(Part& part, bool is_suspect) {
    const std::string folder =
        is_suspect ? (fs::path(directory_) / kSuspectFolder).string() : directory_;
    make_directory(folder);
    const std::string path = free_path(folder);
    refuse_same_file(file_.path, path);
    part.output = std::make_unique<RecordingOutput>(path, force_, header_);
    part.saved = {};
    part.saved.from = file_.path;
    part.saved.path = path;
    part.saved.header = header_origin_;
    part.saved.is_suspect = is_suspect;
}

/** The file's own name for the first recording in it; later ones begin at another time. */
std::string Recovery::free_path(std::string const& folder) {
    const std::string prefix = file_.name ? file_.name->prefix : "radar";
    Kit::RecordingName name = Kit::name_of_time(prefix, header_.seconds, 0);
    if (is_first_part_) name = *Kit::parse_recording_name(complete_name(file_, header_));
    for (int tries = 0; tries < 1000; ++tries) {
        const std::string path = (fs::path(folder) / Kit::text_of(name)).string();
        if (paths_.insert(path).second) return path;
        name.millisecond = (name.millisecond + 1) % 1000;
    }
    throw Kit::Error(folder + ": too many recordings of one second");
}

void Recovery::end_part() {
    if (!is_begun_) return;
    if (held_) put(main_, held_->tag, held_->offset, held_->payload);
    held_.reset();
    is_begun_ = false;
    is_first_part_ = false;
    if (is_raw_ && main_.output->records() == 0) {
        main_.output.reset();  // raw data: its header alone is no recording of frames
    } else {
        complete(main_);
    }
    if (suspect_.output) complete(suspect_);
}

void Recovery::complete(Part& part) {
    part.output->finish();
    part.saved.records = part.output->records();
    part.saved.bytes = part.output->size();
    part.output.reset();
    on_saved_(part.saved);
}

}  // namespace Tools
