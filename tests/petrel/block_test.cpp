#include "petrel/block.h"

#include <gtest/gtest.h>

namespace {

TEST(BlockTest, HasTheNameItWasGiven) {
    EXPECT_EQ(Petrel::Block("radar").name(), "radar");
}

}  // namespace
