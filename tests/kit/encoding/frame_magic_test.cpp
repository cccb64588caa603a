#include "kit/encoding/frame_magic.h"

#include <gtest/gtest.h>

#include "radar_objects/radar_objects.pb.h"

namespace {

TEST(FrameMagicTest, AFrameStartsWithTheMagicsField) {
    RO::RadarObjects frame;
    frame.set_magic(Kit::kFrameMagic);
    EXPECT_EQ(frame.SerializeAsString(), Kit::kFrameStart);
}

TEST(FrameMagicTest, NeverChanges) {
    EXPECT_EQ(Kit::kFrameMagic, 29061378U);
}

}  // namespace
