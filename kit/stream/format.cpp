#include "kit/stream/format.h"

#include "kit/base/words.h"
#include "kit/encoding/frame_magic.h"

namespace Kit {

std::string stream_frame(std::string_view payload) {
    std::string frame;
    frame.reserve(kStreamHeaderSize + payload.size());
    append_word(frame, kFrameMagic);
    append_word(frame, static_cast<uint32_t>(payload.size()));
    frame += payload;
    return frame;
}

bool is_stream_frame(std::string_view bytes) noexcept {
    return bytes.size() >= kStreamHeaderSize && read_word(bytes) == kFrameMagic &&
           read_word(bytes, 4) == bytes.size() - kStreamHeaderSize;
}

}  // namespace Kit
