#pragma once

#include "tools/cli/verb.h"

namespace Tools {

/** `info`: tells what there is to know of a recording. */
Verb info_verb();

}  // namespace Tools
