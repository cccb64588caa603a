#include "tools/input/stream_input.h"

#include <chrono>
#include <utility>

#include "kit/base/input_error.h"
#include "kit/stream/format.h"
#include "tools/cli/signals.h"

namespace Tools {

namespace {

constexpr std::chrono::milliseconds kTick{50};

}  // namespace

StreamInput::StreamInput(SourceName const& source, InputOptions const& options, Selection selection)
    : FrameInput(std::move(selection)), idle_(options.idle), client_(source.path) {
    current_file.path = source.text;
}

bool StreamInput::read() {
    if (!std::exchange(begun_, true)) {
        current_item = Item::kFile;
        return true;
    }
    if (ended_) return false;
    // What is there already comes first, so that idle() is not called for every frame.
    Result result = client_.next(stream_frame_, std::chrono::milliseconds(0));
    while (result == Result::kTimeout) {
        if (idle_) idle_();
        if (was_interrupted()) {
            cut_short = true;
            return false;
        }
        result = client_.next(stream_frame_, kTick);
    }
    return use(result);
}

bool StreamInput::use(Result result) {
    switch (result) {
        case Result::kFrame:
            return use_frame();
        case Result::kUndecodable:
            return tell(Kit::FindingKind::kUndecodable);
        case Result::kCut:
            ended_ = true;
            return tell(Kit::FindingKind::kCutShort);
        case Result::kFailed:
            ended_ = true;
            return tell(Kit::FindingKind::kUnreadable);
        case Result::kForeign:
            return refuse_foreign_bytes();
        case Result::kTimeout:
        case Result::kEnd:
            break;
    }
    return false;
}

bool StreamInput::use_frame() {
    ++frames_;
    RO::RadarObjects const& objects = stream_frame_.objects;
    current_item = Item::kFrame;
    current_frame.magic = objects.magic();
    current_frame.timestamp = objects.timestamp();
    current_frame.target_count = static_cast<uint32_t>(objects.targets_size());
    current_frame.payload = stream_frame_.payload;
    current_frame.offset = client_.bytes() - stream_frame_.payload.size() - Kit::kStreamHeaderSize;
    return true;
}

bool StreamInput::tell(Kit::FindingKind kind) {
    current_item = Item::kFinding;
    current_finding = {kind, client_.bytes(), 0, client_.problem()};
    return true;
}

bool StreamInput::refuse_foreign_bytes() {
    if (frames_ == 0) {
        throw Kit::InputError(current_file.path + ": no target stream: " + client_.problem());
    }
    ended_ = true;
    return tell(Kit::FindingKind::kWrongTag);
}

}  // namespace Tools
