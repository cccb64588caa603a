#include "tools/play/source.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "tools/cli/source_name.h"
#include "tools/input/open.h"

namespace Tools {

namespace {

/** Whether it can be opened again and gives the same. */
bool is_stored(std::string const& source) {
    const SourceName name = parse_source_name(source);
    std::error_code ignored;
    return name.kind == SourceName::Kind::kPath &&
           (std::filesystem::is_regular_file(name.path, ignored) ||
            std::filesystem::is_directory(name.path, ignored));
}

}  // namespace

PlaySource::PlaySource(SourceOptions options, Messages const& messages)
    : options_(std::move(options)),
      report_(messages, bar_),
      rewindable_(is_stored(options_.source)),
      live_(parse_source_name(options_.source).kind == SourceName::Kind::kLiveStream) {
    open();
}

void PlaySource::open() {
    input_ = open_frame_input(options_);
    at_frame_ = false;
    items_ = 0;
}

bool PlaySource::next() {
    at_frame_ = false;
    while (!at_frame_ && next_item()) {
        ++items_;
        items_told_ = std::max(items_, items_told_);
    }
    return at_frame_;
}

/** What the report knows already is not reported again. */
bool PlaySource::next_item() {
    return items_ < items_told_ ? input_->next(*this) : report_.next(*input_, *this);
}

void PlaySource::on_file(Kit::RecordingFile const&, FileState) {}

void PlaySource::on_header(Kit::RecordingHeader const&) {}

void PlaySource::on_frame(InputFrame const& frame) {
    frame_ = frame;
    at_frame_ = true;
    if (!std::exchange(frame_seen_, true)) first_ = frame.timestamp;
}

void PlaySource::on_finding(Kit::Finding const&) {}

void PlaySource::on_note(std::string const&) {}

bool PlaySource::rewind() {
    open();
    return next();
}

bool PlaySource::seek(uint64_t timestamp) {
    if (!at_frame_ || frame().timestamp > timestamp) {
        if (!rewind()) return false;
    }
    while (frame().timestamp < timestamp) {
        if (!next()) return false;
    }
    return true;
}

bool PlaySource::seek_number(uint64_t number) {
    if (!rewind()) return false;
    while (frame().number < number) {
        if (!next()) return false;
    }
    return true;
}

double PlaySource::share_done() const {
    if (input_->bytes_total() == 0) return 0;
    return static_cast<double>(input_->bytes_done()) / static_cast<double>(input_->bytes_total());
}

}  // namespace Tools
