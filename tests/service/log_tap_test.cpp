#include "service/log_tap.h"

#include <gtest/gtest.h>

namespace {

using Service::LogTap;

TEST(LogTapTest, WarningsAndErrorsAreCountedByLevel) {
    LogTap tap;
    tap.note(1, "a");
    tap.note(2, "b");
    tap.note(3, "c");
    EXPECT_EQ(tap.warnings(), 1U);
    EXPECT_EQ(tap.errors(), 2U);
}

TEST(LogTapTest, InformationIsNotCounted) {
    LogTap tap;
    tap.note(0, "a");
    EXPECT_EQ(tap.warnings() + tap.errors(), 0U);
    EXPECT_EQ(tap.last(), "");
}

TEST(LogTapTest, TheLastMessageIsKeptWithoutItsNewline) {
    LogTap tap;
    tap.note(1, "a\n");
    tap.note(2, "b\n");
    EXPECT_EQ(tap.last(), "b");
}

TEST(LogTapTest, AMessageAboutAFollowedFileIsAProblemOfItsRecorder) {
    LogTap tap;
    tap.follow("/tmp/radar_");
    tap.note(1, "Error writing /tmp/radar_010125_120000_000:full\n");
    tap.note(1, "Error writing /tmp/raw_010125_120000_000:full\n");
    EXPECT_EQ(tap.problems("/tmp/radar_").count, 1U);
    EXPECT_EQ(tap.problems("/tmp/radar_").last, "Error writing /tmp/radar_010125_120000_000:full");
}

TEST(LogTapTest, AnUnfollowedPathHasNoProblems) {
    LogTap tap;
    tap.note(1, "Error writing /tmp/radar_010125_120000_000:full\n");
    EXPECT_EQ(tap.problems("/tmp/radar_").count, 0U);
}

TEST(LogTapTest, AFailedFlushIsToldOnce) {
    LogTap tap;
    tap.note(2, "Failed to sync data file /tmp/radar_x!\n");
    EXPECT_TRUE(tap.take_failed_flush("/tmp/radar_x"));
    EXPECT_FALSE(tap.take_failed_flush("/tmp/radar_x"));
}

TEST(LogTapTest, AnotherFileWasFlushed) {
    LogTap tap;
    tap.note(2, "Failed to sync data file /tmp/radar_x!\n");
    EXPECT_FALSE(tap.take_failed_flush("/tmp/radar_y"));
}

}  // namespace
