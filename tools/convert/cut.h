#pragma once

#include "tools/cli/verb.h"

namespace Tools {

/** `cut`: makes a recording of a part of another. */
Verb cut_verb();

}  // namespace Tools
