#include "tools/convert/merge_source.h"

#include <filesystem>
#include <system_error>

#include "tools/input/source_name.h"

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

MergeSource::MergeSource(InputOptions const& options_, Messages const& messages, ProgressBar& bar)
    : options(options_), damage(messages, bar) {
    look();
}

void MergeSource::look() {
    if (!can_be_looked_into(options.source)) return;
    const auto input = open_frame_input(options);
    total = input->bytes_total();
    while (input->next()) {
        if (input->item() != FrameInput::Item::kFrame) continue;
        first_timestamp = input->frame().timestamp;
        return;
    }
}

uint64_t MergeSource::timestamp() const {
    return current_state == State::kAtFrame ? opened->frame().timestamp : first_timestamp;
}

void MergeSource::open() {
    opened = open_frame_input(options);
    endless = opened->is_endless();
    advance();
}

void MergeSource::advance() {
    while (damage.next(*opened)) {
        current_header.add(*opened);
        if (opened->item() != FrameInput::Item::kFrame) continue;
        current_state = State::kAtFrame;
        return;
    }
    current_state = State::kEnded;
    done = opened->bytes_done();
    cut_short = opened->was_cut_short();
    opened.reset();
}

}  // namespace Tools
