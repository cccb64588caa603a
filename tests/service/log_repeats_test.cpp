#include "service/log_repeats.h"

#include <gmock/gmock.h>

namespace {

using Service::LogMessage;
using Service::LogRepeats;
using testing::ElementsAre;
using testing::IsEmpty;

class LogRepeatsTest : public testing::Test {
protected:
    std::vector<LogMessage> pass(std::string const& text) { return repeats_.pass({1, text}, now_); }

    LogRepeats::Clock::time_point now_ = LogRepeats::Clock::now();
    LogRepeats repeats_;
};

TEST_F(LogRepeatsTest, ANewMessagePassesAsItIs) {
    EXPECT_THAT(pass("full"), ElementsAre(LogMessage{1, "full"}));
}

TEST_F(LogRepeatsTest, ARepeatIsHeldBack) {
    pass("full");
    EXPECT_THAT(pass("full"), IsEmpty());
}

TEST_F(LogRepeatsTest, ADifferentMessagePasses) {
    pass("full");
    EXPECT_THAT(pass("broken"), ElementsAre(LogMessage{1, "broken"}));
}

TEST_F(LogRepeatsTest, RepeatsBetweenOtherMessagesAreHeldBackToo) {
    pass("full");
    pass("broken");
    EXPECT_THAT(pass("full"), IsEmpty());
}

TEST_F(LogRepeatsTest, AfterTheIntervalTheNumberOfRepeatsIsToldFirst) {
    for (int i = 0; i < 4; ++i) pass("full");
    now_ += LogRepeats::kInterval;
    EXPECT_THAT(pass("full"), ElementsAre(LogMessage{1, "3 more times: full"}));
}

TEST_F(LogRepeatsTest, AnyMessageBringsTheNumbersThatAreDue) {
    pass("full");
    pass("full");
    now_ += LogRepeats::kInterval;
    EXPECT_THAT(pass("broken"),
                ElementsAre(LogMessage{1, "1 more times: full"}, LogMessage{1, "broken"}));
}

TEST_F(LogRepeatsTest, AMessageWithoutRepeatsIsNotToldOfAgain) {
    pass("full");
    now_ += LogRepeats::kInterval;
    EXPECT_THAT(pass("full"), ElementsAre(LogMessage{1, "full"}));
}

TEST_F(LogRepeatsTest, MessagesThatDifferInNamesAndNumbersAreRepeats) {
    pass("/tmp/radar_1: full after 3 frames");
    EXPECT_THAT(pass("/tmp/radar_2: full after 4 frames"), IsEmpty());
    now_ += LogRepeats::kInterval;
    EXPECT_THAT(repeats_.due(now_),
                ElementsAre(LogMessage{1, "1 more times: /tmp/radar_2: full after 4 frames"}));
}

TEST_F(LogRepeatsTest, TheEndIsReportedWithTheNumberOfAll) {
    for (int i = 0; i < 4; ++i) pass("full");
    now_ += LogRepeats::kInterval;
    repeats_.due(now_);
    now_ += LogRepeats::kInterval;
    EXPECT_THAT(repeats_.due(now_), ElementsAre(LogMessage{0, "no more, after 4 times: full"}));
    EXPECT_THAT(repeats_.due(now_), IsEmpty());
}

TEST_F(LogRepeatsTest, TheRestIsWhatWasHeldBackAndNotToldOf) {
    pass("full");
    pass("full");
    pass("broken");
    EXPECT_THAT(repeats_.rest(), ElementsAre(LogMessage{1, "1 more times: full"}));
    EXPECT_THAT(repeats_.rest(), IsEmpty());
}

TEST_F(LogRepeatsTest, MessagesBeyondThoseThatAreRememberedPass) {
    for (size_t i = 0; i < LogRepeats::kMostMessages; ++i) {
        pass(std::string(i + 1, 'x'));
    }
    EXPECT_THAT(pass("full"), testing::SizeIs(1));
    EXPECT_THAT(pass("full"), testing::SizeIs(1));
}

}  // namespace
