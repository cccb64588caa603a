#pragma once

#include "tools/cli/verb.h"

namespace Tools {

/** `diff`: compares two recordings frame by frame and target by target. */
Verb diff_verb();

}  // namespace Tools
