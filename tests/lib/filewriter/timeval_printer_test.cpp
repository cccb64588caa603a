#include "filewriter/timeval_printer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iomanip>
#include <limits>
#include <sstream>
#include <string>

namespace {

using Radar::operator<<;

/** 15 May 2025, 09:30:07 UTC. */
constexpr time_t kMay = 1747301407;

class TimevalPrinterTest : public testing::Test {
protected:
    TimevalPrinterTest() { setenv("TZ", "UTC", 1); }

    static std::string printed(time_t seconds, suseconds_t microseconds) {
        std::ostringstream os;
        os << timeval{seconds, microseconds};
        return os.str();
    }
};

TEST_F(TimevalPrinterTest, PrintsDateTimeAndMilliseconds) {
    EXPECT_EQ(printed(kMay, 42000), "150525_093007_042");
}

TEST_F(TimevalPrinterTest, FillsEveryFieldWithZeros) {
    EXPECT_EQ(printed(981173106, 7000), "030201_040506_007");
}

TEST_F(TimevalPrinterTest, CutsMicrosecondsOff) {
    EXPECT_EQ(printed(kMay, 0), "150525_093007_000");
    EXPECT_EQ(printed(kMay, 999), "150525_093007_000");
    EXPECT_EQ(printed(kMay, 42999), "150525_093007_042");
    EXPECT_EQ(printed(kMay, 999999), "150525_093007_999");
}

TEST_F(TimevalPrinterTest, CountsYearsFrom2000) {
    EXPECT_EQ(printed(946684800, 0), "010100_000000_000");
    EXPECT_EQ(printed(946684799 + 366 * 86400, 0), "311200_235959_000");
    EXPECT_EQ(printed(2147483647, 0), "190138_031407_000");
}

TEST_F(TimevalPrinterTest, PrintsLocalTime) {
    setenv("TZ", "AAA-5:30", 1);
    EXPECT_EQ(printed(kMay, 42000), "150525_150007_042");
}

TEST_F(TimevalPrinterTest, FollowsAChangeOfTheTimeZone) {
    EXPECT_EQ(printed(kMay, 0), "150525_093007_000");
    setenv("TZ", "AAA+9", 1);
    EXPECT_EQ(printed(kMay, 0), "150525_003007_000");
}

TEST_F(TimevalPrinterTest, FollowsDaylightSavingTime) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    EXPECT_EQ(printed(kMay, 0), "150525_113007_000");
    EXPECT_EQ(printed(1736933407, 0), "150125_103007_000");
}

TEST_F(TimevalPrinterTest, RestoresTheFillCharacter) {
    std::ostringstream os;
    os << std::setfill('*') << timeval{kMay, 42000} << std::setw(3) << 1;
    EXPECT_EQ(os.fill(), '*');
    EXPECT_EQ(os.str(), "150525_093007_042**1");
}

TEST_F(TimevalPrinterTest, ReturnsTheStream) {
    std::ostringstream os;
    EXPECT_EQ(&(os << timeval{kMay, 0}), &os);
}

TEST_F(TimevalPrinterTest, ATimeBeyondTheCalendarPrintsAsNoDate) {
    if (sizeof(time_t) == 4) GTEST_SKIP() << "every time has a date";
    EXPECT_EQ(printed(std::numeric_limits<time_t>::max(), 42000), "0001-100_000000_042");
}

}  // namespace
