#include "kit/frames/source.h"

#include <charconv>
#include <cstdint>
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
#include "kit/recording/format.h"

namespace Kit {

namespace {

constexpr std::string_view kScene = "scene";
/** Name of a column of every detection log; mostly the first. */
constexpr std::string_view kColumn = "frame_index";

bool is_scene(std::string const& input) {
    return input == kScene || input.compare(0, kScene.size() + 1, "scene:") == 0;
}

uint32_t seed_of(std::string const& input) {
    if (input == kScene) return 1;
    const std::string_view text = std::string_view(input).substr(kScene.size() + 1);
    uint32_t seed = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seed);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw InputError(input + ": the seed is not a whole number up to 4294967295");
    }
    return seed;
}

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
    if (is_scene(input)) return std::make_unique<Scene>(seed_of(input));
    std::error_code ignored;
    if (std::filesystem::is_directory(input, ignored)) {
        return std::make_unique<RecordingSource>(input);
    }
    return open_file(input);
}

}  // namespace Kit
