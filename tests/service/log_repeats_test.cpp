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
    EXPECT_THAT(pass("full\n"), ElementsAre(LogMessage{1, "full\n"}));
}

TEST_F(LogRepeatsTest, ARepeatIsHeldBack) {
    pass("full\n");
    EXPECT_THAT(pass("full\n"), IsEmpty());
}

TEST_F(LogRepeatsTest, ADifferentMessagePasses) {
    pass("full\n");
    EXPECT_THAT(pass("broken\n"), ElementsAre(LogMessage{1, "broken\n"}));
}

TEST_F(LogRepeatsTest, RepeatsBetweenOtherMessagesAreHeldBackToo) {
    pass("full\n");
    pass("broken\n");
    EXPECT_THAT(pass("full\n"), IsEmpty());
}

TEST_F(LogRepeatsTest, AfterTheIntervalTheNumberOfRepeatsIsToldFirst) {
    for (int i = 0; i < 4; ++i) pass("full\n");
    now_ += LogRepeats::kInterval;
    EXPECT_THAT(pass("full\n"),
                ElementsAre(LogMessage{1, "3 more times: full\n"}, LogMessage{1, "full\n"}));
}

TEST_F(LogRepeatsTest, AnyMessageBringsTheNumbersThatAreDue) {
    pass("full\n");
    pass("full\n");
    now_ += LogRepeats::kInterval;
    EXPECT_THAT(pass("broken\n"),
                ElementsAre(LogMessage{1, "1 more times: full\n"}, LogMessage{1, "broken\n"}));
}

TEST_F(LogRepeatsTest, AMessageWithoutRepeatsIsNotToldOfAgain) {
    pass("full\n");
    now_ += LogRepeats::kInterval;
    EXPECT_THAT(pass("full\n"), ElementsAre(LogMessage{1, "full\n"}));
}

TEST_F(LogRepeatsTest, TheRestIsWhatWasHeldBackAndNotToldOf) {
    pass("full\n");
    pass("full\n");
    pass("broken\n");
    EXPECT_THAT(repeats_.rest(), ElementsAre(LogMessage{1, "1 more times: full\n"}));
    EXPECT_THAT(repeats_.rest(), IsEmpty());
}

TEST_F(LogRepeatsTest, MessagesBeyondThoseThatAreRememberedPass) {
    for (size_t i = 0; i < LogRepeats::kMostMessages; ++i) pass(std::to_string(i));
    EXPECT_THAT(pass("full\n"), testing::SizeIs(1));
    EXPECT_THAT(pass("full\n"), testing::SizeIs(1));
}

}  // namespace
