#include "kit/frames/open.h"

#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "kit/base/block_reader.h"
#include "kit/base/input_error.h"
#include "kit/base/words.h"
#include "kit/frames/detection_log.h"
#include "kit/frames/recording_source.h"
#include "kit/frames/scene.h"
#include "kit/frames/scene_name.h"
#include "kit/recording/format.h"

namespace Kit {

namespace {

/** Name of a column of every detection log; usually the first. */
constexpr std::string_view kColumn = "frame_index";

/** Whether the first line, which may not have come yet, names a column of a log. */
bool begins_log(BlockReader& input) {
    std::string_view bytes = input.window(kColumn.size());
    for (size_t size = 0; size < bytes.size() && bytes.size() < DetectionLog::kMaxLine &&
                          bytes.find('\n') == std::string_view::npos;) {
        size = bytes.size();
        bytes = input.window(size + 1);
    }
    bytes = bytes.substr(0, DetectionLog::kMaxLine);
    return bytes.substr(0, bytes.find('\n')).find(kColumn) != std::string_view::npos;
}

std::unique_ptr<FrameSource> open_file(std::string const& path) {
    auto input = std::make_unique<BlockReader>(path);
    const std::string_view bytes = input->window(4);
    if (bytes.size() >= 4 && read_word(bytes) == kRecordingMagic) {
        return std::make_unique<RecordingSource>(std::move(input));
    }
    if (begins_log(*input)) return std::make_unique<DetectionLog>(std::move(input));
    throw InputError(input->name() +
                     (bytes.empty() ? ": empty" : ": neither a recording nor a detection log"));
}

}  // namespace

std::unique_ptr<FrameSource> open_frame_source(std::string const& input) {
    if (names_scene(input)) return std::make_unique<Scene>(scene_seed(input));
    std::error_code ignored;  // what cannot be examined cannot be opened, which is reported
    if (std::filesystem::is_directory(input, ignored)) {
        return std::make_unique<RecordingSource>(input);
    }
    return open_file(input);
}

}  // namespace Kit
