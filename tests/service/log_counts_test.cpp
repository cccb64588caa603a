#include "service/log_counts.h"

#include <gtest/gtest.h>

namespace {

using Service::LogCounts;

TEST(LogCountsTest, WarningsAndErrorsAreCountedByLevel) {
    LogCounts counts;
    counts.note(1, "a");
    counts.note(2, "b");
    counts.note(3, "c");
    EXPECT_EQ(counts.warnings(), 1U);
    EXPECT_EQ(counts.errors(), 2U);
}

TEST(LogCountsTest, InformationIsNotCounted) {
    LogCounts counts;
    counts.note(0, "a");
    EXPECT_EQ(counts.warnings() + counts.errors(), 0U);
    EXPECT_EQ(counts.last(), "");
}

TEST(LogCountsTest, TheLastMessageIsKeptWithoutItsNewline) {
    LogCounts counts;
    counts.note(1, "a\n");
    counts.note(2, "b\n");
    EXPECT_EQ(counts.last(), "b");
}

}  // namespace
