#include "kit/stream/format.h"

#include <gmock/gmock.h>

#include "tests/support/stream_frames.h"

namespace {

using namespace std::string_literals;

TEST(StreamFormatTest, AFrameIsMagicLengthAndPayloadLittleEndian) {
    EXPECT_EQ(Kit::stream_frame("\x08\x82\xE2\xED\x0D"),
              "\x02\x71\xBB\x01\x05\x00\x00\x00\x08\x82\xE2\xED\x0D"s);
}

TEST(StreamFormatTest, AFrameIsAStreamFrame) {
    EXPECT_TRUE(Kit::is_stream_frame(test_support::stream_frame(1)));
}

TEST(StreamFormatTest, ATruncatedHeaderIsNoStreamFrame) {
    EXPECT_FALSE(Kit::is_stream_frame(test_support::stream_frame(1).substr(0, 7)));
}

TEST(StreamFormatTest, ATruncatedFrameIsNoStreamFrame) {
    std::string truncated = test_support::stream_frame(1);
    truncated.pop_back();
    EXPECT_FALSE(Kit::is_stream_frame(truncated));
}

TEST(StreamFormatTest, TwoFramesAreNoStreamFrame) {
    EXPECT_FALSE(Kit::is_stream_frame(test_support::stream_frames(1, 2)));
}

TEST(StreamFormatTest, AnotherMagicIsNoStreamFrame) {
    std::string foreign = test_support::stream_frame(1);
    foreign[0] = '\x03';
    EXPECT_FALSE(Kit::is_stream_frame(foreign));
}

}  // namespace
