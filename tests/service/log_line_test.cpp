#include "service/log_line.h"

#include <gtest/gtest.h>

namespace {

using Service::log_kind;
using Service::log_line;

TEST(LogLineTest, TheNewlineAtTheEndIsNoPartOfTheLine) {
    EXPECT_EQ(log_line("full\n"), "full");
}

TEST(LogLineTest, ControlCharactersAreVisible) {
    EXPECT_EQ(log_line("a\nb\x1b[31m\x7f\n"), "a\\x0ab\\x1b[31m\\x7f");
}

TEST(LogLineTest, TextBeyondAsciiStays) {
    EXPECT_EQ(log_line("\xc3\xa4"), "\xc3\xa4");
}

TEST(LogLineTest, AnEndlessMessageEnds) {
    const std::string line = log_line(std::string(100000, 'x'));
    EXPECT_LE(line.size(), Service::kLongestLogLine);
    EXPECT_EQ(line.substr(line.size() - 4), "x...");
    EXPECT_LE(log_line(std::string(100000, '\x01')).size(), Service::kLongestLogLine);
}

TEST(LogLineTest, MessagesOfAKindDifferInNamesAndNumbers) {
    EXPECT_EQ(log_kind("Failed to open /tmp/radar_1: full"),
              log_kind("Failed to open /tmp/radar_2: full"));
    EXPECT_EQ(log_kind("dropped 3 frames"), log_kind("dropped 17 frames"));
    EXPECT_NE(log_kind("dropped 3 frames"), log_kind("lost 3 frames"));
}

}  // namespace
