#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Kit {

/** Whether `input` names a scene: "scene" or "scene:SEED", whatever the seed. Any thread. */
bool names_scene(std::string_view input);

/**
 * The seed of the scene that `input` names: 1 for "scene". Any thread.
 *
 * @throws InputError "scene:x: the seed is not a whole number up to 4294967295".
 */
uint32_t scene_seed(std::string const& input);

}  // namespace Kit
