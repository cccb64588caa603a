#include "tools/convert/merge_source.h"

#include <filesystem>
#include <system_error>

#include "tools/cli/source_name.h"
#include "tools/input/open.h"

namespace Tools {

namespace {

/** Whether what is read of the source can be read again. */
bool can_be_looked_into(std::string const& text) {
    const SourceName source = parse_source_name(text);
    if (source.kind != SourceName::Kind::kPath) return false;
    std::error_code ignored;
    return std::filesystem::is_regular_file(source.path, ignored) ||
           std::filesystem::is_directory(source.path, ignored);
}

}  // namespace

MergeSource::MergeSource(SourceOptions const& options, Messages const& messages, ProgressBar& bar)
    : options_(options), damage_(messages, bar) {
    look();
}

/** Reads up to the first frame, for its time. What else there is is reported by advance(). */
void MergeSource::look() {
    if (!can_be_looked_into(options_.source)) return;
    const auto input = open_frame_input(options_);
    total_ = input->bytes_total();
    while (current_state_ == State::kWaiting && input->next(*this)) {
    }
    if (current_state_ == State::kAtFrame) first_timestamp_ = frame_.timestamp;
    current_state_ = State::kWaiting;
}

uint64_t MergeSource::timestamp() const {
    return current_state_ == State::kAtFrame ? frame_.timestamp : first_timestamp_;
}

void MergeSource::open() {
    opened_ = open_frame_input(options_);
    endless_ = opened_->is_endless();
    advance();
}

void MergeSource::advance() {
    current_state_ = State::kWaiting;
    while (damage_.next(*opened_, *this)) {
        if (current_state_ == State::kAtFrame) return;
    }
    current_state_ = State::kEnded;
    done_ = opened_->bytes_done();
    interrupted_ = opened_->is_interrupted();
    opened_.reset();
}

void MergeSource::on_file(Kit::RecordingFile const& file, FileState) {
    origin_ = {file.path, {}};
}

void MergeSource::on_header(Kit::RecordingHeader const& header) {
    origin_.header = header;
}

void MergeSource::on_frame(InputFrame const& frame) {
    frame_ = frame;
    current_state_ = State::kAtFrame;
}

void MergeSource::on_finding(Kit::Finding const&) {}

void MergeSource::on_note(std::string const&) {}

}  // namespace Tools
