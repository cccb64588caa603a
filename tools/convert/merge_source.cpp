#include "tools/convert/merge_source.h"

#include <filesystem>
#include <system_error>

#include "tools/cli/source_name.h"

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

MergeSource::MergeSource(InputOptions const& options, Messages const& messages, ProgressBar& bar)
    : options_(options), damage_(messages, bar) {
    look();
}

void MergeSource::look() {
    if (!can_be_looked_into(options_.source)) return;
    const auto input = open_frame_input(options_);
    total_ = input->bytes_total();
    while (input->next()) {
        if (input->item() != FrameInput::Item::kFrame) continue;
        first_timestamp_ = input->frame().timestamp;
        return;
    }
}

uint64_t MergeSource::timestamp() const {
    return current_state_ == State::kAtFrame ? opened_->frame().timestamp : first_timestamp_;
}

void MergeSource::open() {
    opened_ = open_frame_input(options_);
    endless_ = opened_->is_endless();
    advance();
}

void MergeSource::advance() {
    while (damage_.next(*opened_)) {
        current_header_.add(*opened_);
        if (opened_->item() != FrameInput::Item::kFrame) continue;
        current_state_ = State::kAtFrame;
        return;
    }
    current_state_ = State::kEnded;
    done_ = opened_->bytes_done();
    cut_short_ = opened_->was_cut_short();
    opened_.reset();
}

}  // namespace Tools
