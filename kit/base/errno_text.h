#pragma once

#include <string>

namespace Kit {

/**
 * The system's description of `error`, an `errno` value: "No space left on device". The one place
 * from which the programs take such texts. Leaves `errno` as it is. Any thread.
 */
std::string errno_text(int error);

}  // namespace Kit
