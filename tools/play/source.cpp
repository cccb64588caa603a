#include "tools/play/source.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "tools/input/source_name.h"

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

PlaySource::PlaySource(InputOptions options_, Messages const& messages)
    : options(std::move(options_)),
      report(messages, bar),
      rewindable(is_stored(options.source)),
      live(parse_source_name(options.source).kind == SourceName::Kind::kLiveStream) {
    open();
}

void PlaySource::open() {
    input = open_frame_input(options);
    at_frame = false;
    items = 0;
}

bool PlaySource::next() {
    at_frame = false;
    while (items < items_told ? input->next() : report.next(*input)) {
        ++items;
        if (items > items_told) items_told = items;
        if (input->item() != FrameInput::Item::kFrame) continue;
        at_frame = true;
        if (!std::exchange(frame_seen, true)) first = frame().timestamp;
        return true;
    }
    return false;
}

bool PlaySource::rewind() {
    open();
    return next();
}

bool PlaySource::seek(uint64_t timestamp) {
    if (!at_frame || frame().timestamp > timestamp) {
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
    if (input->bytes_total() == 0) return 0;
    return static_cast<double>(input->bytes_done()) / static_cast<double>(input->bytes_total());
}

}  // namespace Tools
