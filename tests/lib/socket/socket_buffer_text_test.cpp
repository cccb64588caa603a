#include <gtest/gtest.h>

#include <sstream>

#include "socket/socket_buffer.h"

namespace {

using Radar::SocketBuffer;

std::string debug_text(SocketBuffer& buffer) {
    std::ostringstream os;
    buffer << os;
    return os.str();
}

TEST(SocketBufferTextTest, AnEmptyFrameIsOneLine) {
    SocketBuffer buffer(1);
    EXPECT_EQ(debug_text(buffer), "magic: 29061378\n");
}

TEST(SocketBufferTextTest, TargetsAreBlocksOfIndentedLines) {
    SocketBuffer buffer(2);
    buffer.set_timestamp(5);
    RO::TargetData* target = buffer.add_targets();
    target->set_rcs(1.5F);
    target->set_options(3);
    buffer.add_targets();
    EXPECT_EQ(debug_text(buffer),
              "magic: 29061378\ntimestamp: 5\n"
              "targets {\n  rcs: 1.5\n  options: 3\n}\ntargets {\n}\n");
}

TEST(SocketBufferTextTest, NothingElseIsWrittenAndTheSameStreamIsReturned) {
    SocketBuffer buffer(1);
    std::ostringstream os;
    os << "before|";
    std::ostream& result = buffer << os;
    result << "|after";
    EXPECT_EQ(&result, &os);
    EXPECT_EQ(os.str(), "before|magic: 29061378\n|after");
}

TEST(SocketBufferTextTest, ATargetIsALineForEachValueInFieldOrder) {
    RO::TargetData target;
    target.set_snr(6.25F);
    target.set_options(4);
    target.set_r(-2);
    std::ostringstream os;
    EXPECT_EQ(&Radar::operator<<(os, target), &os);
    EXPECT_EQ(os.str(), "r: -2\noptions: 4\nsnr: 6.25\n");
}

TEST(SocketBufferTextTest, ATargetOfZeroesIsNoText) {
    std::ostringstream os;
    Radar::operator<<(os, RO::TargetData());
    EXPECT_EQ(os.str(), "");
}

}  // namespace
