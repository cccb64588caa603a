#pragma once

#include <vector>

#include "tools/cli/verb.h"

namespace Tools {

/** All verbs, in the order in which the help lists them. */
std::vector<Verb> all_verbs();

}  // namespace Tools
