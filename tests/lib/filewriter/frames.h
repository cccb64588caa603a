#pragma once

#include <string>

#include "socket/socket_buffer.h"

namespace test_support {

/** Makes `frame` one whose encoding has `size` bytes, 9 to 132 or 136 to 16388. */
inline void make_frame_of(Radar::SocketBuffer& frame, unsigned size) {
    std::string encoding("\x08\x82\xE2\xED\x0D", 5);  // the magic
    encoding += '\x22';  // a field of bytes that the schema does not know
    const unsigned length = size - (size <= 134 ? 7 : 8);
    if (size > 134) encoding += static_cast<char>(length % 128 + 128);
    encoding += static_cast<char>(size > 134 ? length / 128 : length);
    encoding += std::string(length, 'u');
    frame.set_data(encoding);
}

/** Makes `frame` one with a timestamp and a target. */
inline void make_frame_at(Radar::SocketBuffer& frame, unsigned long long timestamp) {
    frame.clear();
    frame.set_timestamp(timestamp);
    frame.add_targets()->set_r(1.5F);
}

}  // namespace test_support
