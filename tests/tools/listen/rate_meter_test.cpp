#include "tools/listen/rate_meter.h"

#include <gtest/gtest.h>

namespace {

Tools::RateMeter::Clock::time_point after_ms(int ms) {
    return Tools::RateMeter::Clock::time_point() + std::chrono::milliseconds(ms);
}

TEST(RateMeterTest, EventsAtAnEvenPaceHaveTheRateOfThatPace) {
    Tools::RateMeter meter;
    for (int ms = 0; ms <= 1000; ms += 25) meter.count(after_ms(ms));
    EXPECT_DOUBLE_EQ(meter.rate(after_ms(1000)), 40.0);
}

TEST(RateMeterTest, OneEventHasNoRate) {
    Tools::RateMeter meter;
    meter.count(after_ms(0));
    EXPECT_EQ(meter.rate(after_ms(0)), 0.0);
}

TEST(RateMeterTest, EventsAtOneInstantHaveNoRate) {
    Tools::RateMeter meter;
    meter.count(after_ms(5));
    meter.count(after_ms(5));
    EXPECT_EQ(meter.rate(after_ms(5)), 0.0);
}

TEST(RateMeterTest, OldEventsAreForgotten) {
    Tools::RateMeter meter;
    for (int ms = 0; ms <= 1000; ms += 25) meter.count(after_ms(ms));
    EXPECT_EQ(meter.rate(after_ms(4001)), 0.0);
}

}  // namespace
