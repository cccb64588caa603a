#include "kit/frames/scene_name.h"

#include <gmock/gmock.h>

#include "kit/base/input_error.h"

namespace {

TEST(SceneNameTest, AloneOrWithASeedItIsAScene) {
    for (char const* const input : {"scene", "scene:", "scene:7", "scene:x"}) {
        EXPECT_TRUE(Kit::names_scene(input)) << input;
    }
    for (char const* const input : {"", "scen", "scenes", "scene7", "./scene", "Scene:1"}) {
        EXPECT_FALSE(Kit::names_scene(input)) << input;
    }
}

TEST(SceneNameTest, WithoutASeedItIsSceneOne) {
    EXPECT_EQ(Kit::scene_seed("scene"), 1U);
}

TEST(SceneNameTest, ASeedIsAWholeNumberOf32Bits) {
    EXPECT_EQ(Kit::scene_seed("scene:0"), 0U);
    EXPECT_EQ(Kit::scene_seed("scene:4294967295"), 4294967295U);
}

TEST(SceneNameTest, ASeedThatIsNoneIsRefused) {
    for (const std::string seed : {"", "x", "-1", "+1", "1x", " 1", "4294967296"}) {
        EXPECT_THAT([&] { Kit::scene_seed("scene:" + seed); },
                    testing::ThrowsMessage<Kit::InputError>(
                        "scene:" + seed + ": the seed is not a whole number up to 4294967295"));
    }
}

}  // namespace
