#include "kit/recording/name.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <sstream>

#include "filewriter/timeval_printer.h"

namespace {

using Kit::parse_recording_name;
using Kit::RecordingName;

/** The time in a name as one text, in which nothing is padded. */
std::string time_in(std::string const& file_name) {
    const auto name = parse_recording_name(file_name);
    if (!name) return "none";
    std::ostringstream text;
    text << name->year << "-" << name->month << "-" << name->day << " " << name->hour << ":"
         << name->minute << ":" << name->second << "." << name->millisecond;
    return text.str();
}

bool is_name(std::string const& file_name) {
    return parse_recording_name(file_name).has_value();
}

TEST(RecordingNameTest, ANameIsTakenApart) {
    const auto name = parse_recording_name("radar_150525_093007_042");
    ASSERT_TRUE(name);
    EXPECT_EQ(name->prefix, "radar");
    EXPECT_EQ(time_in("radar_150525_093007_042"), "2025-5-15 9:30:7.42");
    EXPECT_EQ(name->surplus, "");
    EXPECT_FALSE(name->complete);
}

TEST(RecordingNameTest, TheSuffixTellsThatAFileIsComplete) {
    const auto name = parse_recording_name("radar_150525_093007_042.data");
    ASSERT_TRUE(name);
    EXPECT_TRUE(name->complete);
    EXPECT_EQ(name->millisecond, 42);
}

TEST(RecordingNameTest, APrefixMayHoldUnderscoresAndDigits) {
    EXPECT_EQ(parse_recording_name("raw_2_left_150525_093007_042")->prefix, "raw_2_left");
}

TEST(RecordingNameTest, APrefixMayBeEmpty) {
    EXPECT_EQ(parse_recording_name("_150525_093007_042")->prefix, "");
}

TEST(RecordingNameTest, YearsBefore2000AndFrom2100OnAreRead) {
    EXPECT_EQ(time_in("radar_0101-30_000012_500"), "1970-1-1 0:0:12.500");
    EXPECT_EQ(time_in("radar_3112-1_235959_999"), "1999-12-31 23:59:59.999");
    EXPECT_EQ(time_in("radar_0101100_000000_000"), "2100-1-1 0:0:0.0");
}

TEST(RecordingNameTest, EveryTimeThatARecorderPrintsIsRead) {
    setenv("TZ", "UTC", 1);
    for (int64_t seconds = 0; seconds < 0x7FFFFFFF; seconds += 86400 * 13 + 4711) {
        std::ostringstream name;
        const timeval time = {static_cast<time_t>(seconds), 7000};
        Radar::operator<<(name << "radar_", time);
        const auto parsed = parse_recording_name(name.str());
        ASSERT_TRUE(parsed) << name.str();
        ASSERT_EQ(Kit::begin_of(*parsed), seconds) << name.str();
    }
}

TEST(RecordingNameTest, TheEndOfALongerNameBeforeIsSurplus) {
    // "/tmp" after "/var/spool/storage/SD_DISK": the name before shows behind this one.
    const auto name = parse_recording_name("radar_150525_093007_042adar_150525_092807_001.data");
    ASSERT_TRUE(name);
    EXPECT_EQ(name->prefix, "radar");
    EXPECT_EQ(name->millisecond, 42);
    EXPECT_EQ(name->surplus, "adar_150525_092807_001");
    EXPECT_TRUE(name->complete);
}

TEST(RecordingNameTest, OtherNamesAreNone) {
    for (const std::string name :
         {"", "radar", "radar.data", "radar_150525_093007", "radar_150525_093007_04",
          "radar_15052_093007_042", "radar_150525_09300x_042", "radar_150525-093007-042",
          "radar_150525_093007_042.csv", "radar_150525_093007_042.data.gz",
          "radar_150525_093007_042 (copy)", "FSCK0000.REC"}) {
        EXPECT_FALSE(is_name(name)) << name;
    }
}

TEST(RecordingNameTest, TimesThatDoNotExistAreNone) {
    for (const std::string name :
         {"radar_001225_093007_042", "radar_321225_093007_042", "radar_150025_093007_042",
          "radar_151325_093007_042", "radar_151225_243007_042", "radar_151225_096007_042",
          "radar_151225_093061_042"}) {
        EXPECT_FALSE(is_name(name)) << name;
    }
}

TEST(RecordingNameTest, AFileNameIsWhatFollowsTheLastSlash) {
    EXPECT_EQ(Kit::file_name_of("/tmp/a/radar"), "radar");
    EXPECT_EQ(Kit::file_name_of("radar"), "radar");
}

TEST(RecordingNameTest, ANameIsWrittenAsItWasRead) {
    for (std::string const text :
         {"radar_150525_093007_042", "radar_150525_093007_042.data", "_0101-30_000012_500",
          "a_b_3112-1_235959_999.data", "radar_0101100_000000_000", "radar_010100_000000_000",
          "radar_150525_093007_042adar_150525_092807_001.data"}) {
        EXPECT_EQ(Kit::text_of(*parse_recording_name(text)), text);
    }
}

TEST(RecordingNameTest, ATimeGivesTheNameOfACompleteFile) {
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ(Kit::text_of(Kit::name_of_time("radar", 1747301407, 42)),
              "radar_150525_093007_042.data");
    EXPECT_EQ(Kit::text_of(Kit::name_of_time("radar", 12, 500)), "radar_0101-30_000012_500.data");
}

TEST(RecordingNameTest, ANameIsOfTheRecorderWithItsPrefix) {
    for (char const* const name : {"radar_150525_093007_042", "radar_150525_093007_042.data",
                                   "radar_0101100_000000_000", "radar_0101-30_000012_500.data"}) {
        EXPECT_TRUE(Kit::is_recording_name(name, "radar")) << name;
    }
    for (char const* const name :
         {"", "radar", "radar_", "radar_150525_093007_04", "radar_150525-093007_042",
          "radar_15a525_093007_042", "raw_150525_093007_042", "xradar_150525_093007_042",
          "radar_x_150525_093007_042"}) {
        EXPECT_FALSE(Kit::is_recording_name(name, "radar")) << name;
    }
}

TEST(RecordingNameTest, ACompletedFileEndsInData) {
    EXPECT_TRUE(Kit::is_completed_name("radar_150525_093007_042.data"));
    EXPECT_FALSE(Kit::is_completed_name("radar_150525_093007_042"));
    EXPECT_FALSE(Kit::is_completed_name(".data"));
}

}  // namespace
