#include "tools/input/stream_input.h"

#include <chrono>
#include <utility>

#include "kit/base/input_error.h"
#include "kit/stream/format.h"
#include "tools/cli/signals.h"
#include "tools/cli/wait.h"

namespace Tools {

StreamInput::StreamInput(SourceName const& source, SourceOptions const& options,
                         Selection selection)
    : FrameInput(std::move(selection)), idle_(options.idle), client_(source.path) {
    file_.path = source.text;
}

bool StreamInput::read(InputHandler& items) {
    if (!std::exchange(begun_, true)) {
        items.on_file(file_, FileState::kUnknown);
        return true;
    }
    if (ended_) return false;
    // What is there already comes first, so that idle() is not called for every frame.
    Result result = client_.next(stream_frame_, std::chrono::milliseconds(0));
    while (result == Result::kTimeout) {
        if (idle_) idle_();
        if (was_interrupted()) {
            interrupt();
            return false;
        }
        result = client_.next(stream_frame_, kTick);
    }
    return use(result, items);
}

bool StreamInput::use(Result result, InputHandler& items) {
    switch (result) {
        case Result::kFrame:
            use_frame(items);
            return true;
        case Result::kUndecodable:
            report(Kit::FindingKind::kUndecodable, items);
            return true;
        case Result::kTruncated:
            ended_ = true;
            report(Kit::FindingKind::kCutShort, items);
            return true;
        case Result::kFailed:
            ended_ = true;
            report(Kit::FindingKind::kUnreadable, items);
            return true;
        case Result::kForeign:
            refuse_foreign_bytes();
            ended_ = true;
            report(Kit::FindingKind::kWrongTag, items);
            return true;
        case Result::kTimeout:
        case Result::kEnd:
            break;
    }
    return false;
}

void StreamInput::use_frame(InputHandler& items) {
    ++frames_;
    RO::RadarObjects const& objects = stream_frame_.objects;
    InputFrame frame;
    frame.magic = objects.magic();
    frame.timestamp = objects.timestamp();
    frame.target_count = static_cast<uint32_t>(objects.targets_size());
    frame.payload = stream_frame_.payload;
    frame.offset = client_.bytes() - stream_frame_.payload.size() - Kit::kStreamHeaderSize;
    items.on_frame(frame);
}

void StreamInput::report(Kit::FindingKind kind, InputHandler& items) const {
    items.on_finding({kind, client_.bytes(), 0, client_.problem()});
}

/** What never sent a frame is no target stream. */
void StreamInput::refuse_foreign_bytes() const {
    if (frames_ > 0) return;
    throw Kit::InputError(file_.path + ": no target stream: " + client_.problem());
}

}  // namespace Tools
