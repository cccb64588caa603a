#include "tools/play/source.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "tools/cli/source_name.h"

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

PlaySource::PlaySource(InputOptions options, Messages const& messages)
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
    while (items_ < items_told_ ? input_->next() : report_.next(*input_)) {
        ++items_;
        if (items_ > items_told_) items_told_ = items_;
        if (input_->item() != FrameInput::Item::kFrame) continue;
        at_frame_ = true;
        if (!std::exchange(frame_seen_, true)) first_ = frame().timestamp;
        return true;
    }
    return false;
}

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
