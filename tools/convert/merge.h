#pragma once

#include "tools/cli/verb.h"

namespace Tools {

/** `merge`: makes one recording of several, in order of time. */
Verb merge_verb();

}  // namespace Tools
