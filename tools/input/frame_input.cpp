#include "tools/input/frame_input.h"

#include <CLI/CLI.hpp>
#include <utility>

#include "tools/cli/signals.h"
#include "tools/cli/source_name.h"
#include "tools/cli/usage_error.h"
#include "tools/input/recording_input.h"
#include "tools/input/stream_input.h"

namespace Tools {

namespace {

/** The selection, which knows the last frame's time if it needs it. */
Selection make_selection(InputOptions const& options, SourceName const& source) {
    Selection selection(options.selection);
    if (!selection.needs_last_timestamp()) return selection;
    if (source.kind != SourceName::Kind::kPath) {
        throw UsageError("a time before the last frame needs a file or a directory, not " +
                         source.text);
    }
    if (options.follow && selection.ends_by_last_timestamp()) {
        throw UsageError("--end " + options.selection.end + " makes no sense with --follow");
    }
    selection.set_last_timestamp(find_last_timestamp(source, options));
    return selection;
}

}  // namespace

void add_source_options(CLI::App& parser, InputOptions& options) {
    parser
        .add_option("SOURCE", options.source,
                    "A file, a directory of one recorder's files, - for standard input, or "
                    "unix:PATH, a live stream")
        ->required();
    parser
        .add_option("--recorder", options.recorder,
                    "Of a directory with files of several recorders, read those with this tag "
                    "(0xFEED0007) or this prefix (radar)")
        ->type_name("NAME");
}

bool FrameInput::next() {
    if (over_ || cut_short) return false;
    for (;;) {
        is_decoded = false;
        if (was_interrupted()) {
            cut_short = true;
            return false;
        }
        if (!read()) return false;
        if (current_item != Item::kFrame || is_selected()) return true;
        if (over_) return false;
    }
}

bool FrameInput::is_selected() {
    current_frame.number = frame_count_++;
    const auto verdict = selection_.judge(current_frame.number, current_frame.timestamp);
    over_ = verdict == Selection::Verdict::kOver;
    return verdict == Selection::Verdict::kSelected;
}

RO::RadarObjects const& FrameInput::objects() {
    if (!is_decoded) {
        decoded.ParseFromArray(current_frame.payload.data(),
                               static_cast<int>(current_frame.payload.size()));
        is_decoded = true;
    }
    return decoded;
}

std::unique_ptr<FrameInput> open_frame_input(InputOptions const& options) {
    const SourceName source = parse_source_name(options.source);
    Selection selection = make_selection(options, source);
    if (source.kind == SourceName::Kind::kLiveStream) {
        return std::make_unique<StreamInput>(source, options, std::move(selection));
    }
    return std::make_unique<RecordingInput>(source, options, std::move(selection));
}

}  // namespace Tools
