#include "kit/stream/parser.h"

#include <gmock/gmock.h>

#include "tests/support/stream_frames.h"

namespace {

using test_support::stream_frame;
using test_support::stream_frames;
using testing::ElementsAre;
using testing::IsEmpty;

class StreamParserTest : public testing::Test {
protected:
    /** Appends the bytes in pieces of `size` bytes and returns all frames that came out. */
    std::vector<std::string> parse(std::string const& bytes, size_t size = 1 << 20) {
        std::vector<std::string> found;
        for (size_t begin = 0; begin < bytes.size(); begin += size) {
            parser.append(std::string_view(bytes).substr(begin, size));
            while (auto next = parser.next()) found.push_back(*next);
        }
        return found;
    }

    Kit::StreamParser parser;
};

TEST_F(StreamParserTest, SeveralFramesInOnePieceComeOutOneByOne) {
    EXPECT_THAT(parse(stream_frames(1, 3)),
                ElementsAre(stream_frame(1), stream_frame(2), stream_frame(3)));
}

TEST_F(StreamParserTest, AFrameInPiecesOfOneByteComesOutWhole) {
    EXPECT_THAT(parse(stream_frames(1, 2), 1), ElementsAre(stream_frame(1), stream_frame(2)));
}

TEST_F(StreamParserTest, EveryPieceSizeGivesTheSameFrames) {
    const std::string bytes = stream_frames(1, 20);
    const auto expected = parse(bytes);
    for (size_t size = 1; size < 2 * stream_frame(1).size(); ++size) {
        parser.reset();
        ASSERT_EQ(parse(bytes, size), expected) << "pieces of " << size;
    }
}

TEST_F(StreamParserTest, AFrameWithoutPayloadIsAFrame) {
    EXPECT_THAT(parse(Kit::stream_frame("")), ElementsAre(Kit::stream_frame("")));
}

TEST_F(StreamParserTest, NothingComesOutOfPartOfAFrame) {
    EXPECT_THAT(parse(stream_frame(1).substr(0, 12)), IsEmpty());
    EXPECT_EQ(parser.pending(), 12U);
    EXPECT_FALSE(parser.fault());
}

TEST_F(StreamParserTest, BetweenTwoFramesNothingIsPending) {
    parse(stream_frames(1, 2));
    EXPECT_EQ(parser.pending(), 0U);
    EXPECT_EQ(parser.offset(), stream_frames(1, 2).size());
}

TEST_F(StreamParserTest, ForeignBytesAreAFaultWithTheirOffset) {
    parse(stream_frame(1) + "GET / HTTP/1.1\r\n");
    ASSERT_TRUE(parser.fault());
    EXPECT_EQ(parser.fault()->offset, stream_frame(1).size());
    EXPECT_EQ(parser.fault()->reason, "47 45 54 20 in place of the magic 02 71 bb 01");
}

TEST_F(StreamParserTest, TheFirstForeignByteIsAFault) {
    parse("G");
    ASSERT_TRUE(parser.fault());
    EXPECT_EQ(parser.fault()->reason, "47 in place of the magic 02 71 bb 01");
}

TEST_F(StreamParserTest, FramesBeforeAFaultComeOut) {
    EXPECT_THAT(parse(stream_frame(1) + "xxxx"), ElementsAre(stream_frame(1)));
}

TEST_F(StreamParserTest, AfterAFaultNothingComesOut) {
    parse("xxxx");
    EXPECT_THAT(parse(stream_frame(1)), IsEmpty());
}

TEST_F(StreamParserTest, ALengthAtTheLimitIsRead) {
    parser = Kit::StreamParser(100);
    const std::string largest = Kit::stream_frame(std::string(100, 'x'));
    EXPECT_THAT(parse(largest), ElementsAre(largest));
}

TEST_F(StreamParserTest, ALengthOverTheLimitIsAFaultBeforeItsPayloadCame) {
    parser = Kit::StreamParser(100);
    parse(stream_frame(1) + Kit::stream_frame(std::string(101, 'x')).substr(0, 8));
    ASSERT_TRUE(parser.fault());
    EXPECT_EQ(parser.fault()->offset, stream_frame(1).size());
    EXPECT_EQ(parser.fault()->reason, "length 101 is over the limit of 100 bytes");
}

TEST_F(StreamParserTest, TheLargestLengthThatAHeaderCanHoldIsAFault) {
    parse(std::string("\x02\x71\xBB\x01\xFF\xFF\xFF\xFF", 8));
    ASSERT_TRUE(parser.fault());
    EXPECT_EQ(parser.fault()->reason, "length 4294967295 is over the limit of 16777216 bytes");
}

TEST_F(StreamParserTest, ResetBeginsANewStream) {
    parse("xxxx");
    parser.reset();
    EXPECT_FALSE(parser.fault());
    EXPECT_THAT(parse(stream_frame(1)), ElementsAre(stream_frame(1)));
    EXPECT_EQ(parser.offset(), stream_frame(1).size());
}

}  // namespace
