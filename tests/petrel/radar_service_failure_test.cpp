#include "petrel/radar_service_failure.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "petrel/out_port.h"

namespace {

TEST(RadarServiceFailureTest, IsMadeFromAndConvertsToAFlag) {
    const radar_service_failure failed = true;
    const radar_service_failure working = false;
    EXPECT_TRUE(failed);
    EXPECT_FALSE(working);
}

TEST(RadarServiceFailureTest, HasNotFailedAtFirst) {
    EXPECT_FALSE(radar_service_failure());
}

TEST(RadarServiceFailureTest, IsOneByteThatIsCopiedBytewise) {
    EXPECT_EQ(sizeof(radar_service_failure), 1U);
    EXPECT_TRUE(std::is_trivially_copyable<radar_service_failure>::value);
}

TEST(RadarServiceFailureTest, APortTakesAFlag) {
    Petrel::OutPort<radar_service_failure> port;
    port = true;
    EXPECT_TRUE(*port.current());
    port = false;
    EXPECT_FALSE(*port.current());
}

}  // namespace
