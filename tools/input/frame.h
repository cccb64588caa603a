#pragma once

#include <cstdint>
#include <string_view>

namespace Tools {

/** One frame of a source. */
struct InputFrame {
    uint64_t number = 0;  // in the source, from 0 on, whatever is selected
    uint32_t magic = 0;
    uint64_t timestamp = 0;
    uint32_t target_count = 0;
    std::string_view payload;  // the encoding, as it was recorded or sent; it decodes
    uint64_t offset = 0;       // of its record in the file, or in the stream, in bytes
    uint32_t tag = 0;          // of its record; 0 in a stream
};

}  // namespace Tools
