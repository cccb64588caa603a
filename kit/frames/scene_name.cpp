#include "kit/frames/scene_name.h"

#include <charconv>
#include <system_error>

#include "kit/base/input_error.h"

namespace Kit {

namespace {

constexpr std::string_view kScene = "scene";
constexpr std::string_view kSceneWithSeed = "scene:";

}  // namespace

bool names_scene(std::string_view input) {
    return input == kScene || input.substr(0, kSceneWithSeed.size()) == kSceneWithSeed;
}

uint32_t scene_seed(std::string const& input) {
    if (input == kScene) return 1;
    char const* const end = input.data() + input.size();
    uint32_t seed = 0;
    const auto read = std::from_chars(input.data() + kSceneWithSeed.size(), end, seed);
    if (read.ec == std::errc() && read.ptr == end) return seed;
    throw InputError(input + ": the seed is not a whole number up to 4294967295");
}

}  // namespace Kit
