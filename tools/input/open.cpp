#include "tools/input/open.h"

#include <utility>

#include "kit/base/usage_error.h"
#include "tools/cli/source_name.h"
#include "tools/input/recording_input.h"
#include "tools/input/stream_input.h"

namespace Tools {

namespace {

/** The selection, which knows the last frame's time if it needs it. */
Selection make_selection(SourceOptions const& options, SourceName const& source) {
    Selection selection(options.selection);
    if (!selection.needs_last_timestamp()) return selection;
    if (source.kind != SourceName::Kind::kPath) {
        throw Kit::UsageError("a time before the last frame needs a file or a directory, not " +
                              source.text);
    }
    if (options.follow && selection.ends_by_last_timestamp()) {
        throw Kit::UsageError("--end " + options.selection.end + " makes no sense with --follow");
    }
    selection.set_last_timestamp(find_last_timestamp(source, options));
    return selection;
}

}  // namespace

std::unique_ptr<FrameInput> open_frame_input(SourceOptions const& options) {
    const SourceName source = parse_source_name(options.source);
    Selection selection = make_selection(options, source);
    if (source.kind == SourceName::Kind::kLiveStream) {
        return std::make_unique<StreamInput>(source, options, std::move(selection));
    }
    return std::make_unique<RecordingInput>(source, options, std::move(selection));
}

}  // namespace Tools
