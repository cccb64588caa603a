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

StreamInput::StreamInput(SourceName const& source, InputOptions const& options,
                         Selection selection_)
    : FrameInput(std::move(selection_)), idle(options.idle), client(source.path) {
    current_file.path = source.text;
}

bool StreamInput::read() {
    if (!std::exchange(begun, true)) {
        current_item = Item::kFile;
        return true;
    }
    if (ended) return false;
    // What is there already comes first, so that idle() is not called for every frame.
    Result result = client.next(stream_frame, std::chrono::milliseconds(0));
    while (result == Result::kTimeout) {
        if (idle) idle();
        if (was_interrupted()) {
            cut_short = true;
            return false;
        }
        result = client.next(stream_frame, kTick);
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
            ended = true;
            return tell(Kit::FindingKind::kCutShort);
        case Result::kFailed:
            ended = true;
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
    ++frames;
    RO::RadarObjects const& objects = stream_frame.objects;
    current_item = Item::kFrame;
    current_frame.magic = objects.magic();
    current_frame.timestamp = objects.timestamp();
    current_frame.target_count = static_cast<uint32_t>(objects.targets_size());
    current_frame.payload = stream_frame.payload;
    current_frame.offset = client.bytes() - stream_frame.payload.size() - Kit::kStreamHeaderSize;
    return true;
}

bool StreamInput::tell(Kit::FindingKind kind) {
    current_item = Item::kFinding;
    current_finding = {kind, client.bytes(), 0, client.problem()};
    return true;
}

bool StreamInput::refuse_foreign_bytes() {
    if (frames == 0) {
        throw Kit::InputError(current_file.path + ": no target stream: " + client.problem());
    }
    ended = true;
    return tell(Kit::FindingKind::kWrongTag);
}

}  // namespace Tools
