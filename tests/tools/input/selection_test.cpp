#include "tools/input/selection.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "kit/base/usage_error.h"

namespace Tools {
namespace {

using Verdict = Selection::Verdict;

SelectionOptions options(std::string const& start, std::string const& end = "",
                         std::string const& frames = "") {
    return {start, end, frames};
}

/** The verdicts on frames of these times, numbered from 0 on: '-' before, '+' selected, '.' over.
 */
std::string verdicts(Selection selection, std::vector<uint64_t> const& times) {
    std::string all;
    for (size_t i = 0; i < times.size(); ++i) {
        const Verdict verdict = selection.judge(i, times[i]);
        all += verdict == Verdict::kBefore ? '-' : verdict == Verdict::kSelected ? '+' : '.';
    }
    return all;
}

uint64_t absolute(std::string const& text) {
    const Moment moment = parse_moment("--start", text);
    EXPECT_EQ(moment.origin, Moment::Origin::kAbsolute);
    return moment.us;
}

TEST(MomentTest, WholeSecondsAndMicrosecondsAreToldApartByTheirSize) {
    EXPECT_EQ(absolute("1747301407"), 1747301407000000u);
    EXPECT_EQ(absolute("1747301407.25"), 1747301407250000u);
    EXPECT_EQ(absolute("1747301407000042"), 1747301407000042u);
}

TEST(MomentTest, ADateWithAZoneIsThatMoment) {
    EXPECT_EQ(absolute("2025-05-15T09:30:07Z"), 1747301407000000u);
    EXPECT_EQ(absolute("2025-05-15 11:30:07.5+02:00"), 1747301407500000u);
}

TEST(MomentTest, ADateWithoutAZoneIsLocal) {
    setenv("TZ", "UTC-2", 1);
    tzset();
    EXPECT_EQ(absolute("2025-05-15T11:30:07"), 1747301407000000u);
}

TEST(MomentTest, ASignSaysFromWhichFrameItCounts) {
    const Moment after = parse_moment("--start", "+1.5s");
    EXPECT_EQ(after.origin, Moment::Origin::kFirstFrame);
    EXPECT_EQ(after.us, 1500000u);
    const Moment before = parse_moment("--end", "-2min");
    EXPECT_EQ(before.origin, Moment::Origin::kLastFrame);
    EXPECT_EQ(before.us, 120000000u);
}

TEST(MomentTest, WhatIsNoMomentIsRefusedWithTheOption) {
    for (char const* const text :
         {"", "soon", "2025-02-30", "+10 parsecs", "-", "2025-05-15T25:00"}) {
        try {
            parse_moment("--start", text);
            ADD_FAILURE() << text;
        } catch (Kit::UsageError const& error) {
            EXPECT_EQ(std::string(error.what()).rfind("--start ", 0), 0u) << error.what();
        }
    }
}

TEST(SelectionTest, WithoutOptionsEveryFrameIsSelected) {
    EXPECT_EQ(verdicts(Selection(), {5, 3, 9}), "+++");
}

TEST(SelectionTest, TheEndIsTheFirstFrameAtOrAfterIt) {
    EXPECT_EQ(verdicts(Selection(options("+2us", "+4us")), {10, 11, 12, 13, 14, 15}), "--++..");
}

TEST(SelectionTest, LaterFramesWithEarlierTimesStaySelected) {
    EXPECT_EQ(verdicts(Selection(options("+2us")), {10, 12, 3, 11}), "-+++");
}

TEST(SelectionTest, NumbersCountEveryFrameOfTheSource) {
    EXPECT_EQ(verdicts(Selection(options("+1us", "", "2-3")), {10, 11, 12, 13, 14}), "--++.");
}

TEST(SelectionTest, ARangeMayBeOpenOrOneFrame) {
    EXPECT_EQ(verdicts(Selection(options("", "", "2-")), {0, 0, 0, 0}), "--++");
    EXPECT_EQ(verdicts(Selection(options("", "", "-1")), {0, 0, 0, 0}), "++..");
    EXPECT_EQ(verdicts(Selection(options("", "", "1")), {0, 0, 0, 0}), "-+..");
}

TEST(SelectionTest, ARangeThatRunsBackIsRefused) {
    EXPECT_THROW(Selection(options("", "", "3-2")), Kit::UsageError);
    EXPECT_THROW(Selection(options("", "", "a-b")), Kit::UsageError);
}

TEST(SelectionTest, ATimeBeforeTheLastFrameNeedsThatFramesTime) {
    Selection selection(options("-3us"));
    EXPECT_TRUE(selection.needs_last_timestamp());
    selection.set_last_timestamp(14);
    EXPECT_EQ(verdicts(selection, {10, 11, 12, 13, 14}), "-++++");
}

}  // namespace
}  // namespace Tools
