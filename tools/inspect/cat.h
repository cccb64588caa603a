#pragma once

#include "tools/cli/verb.h"

namespace Tools {

/** `cat`: prints the frames of a recording or a live stream. */
Verb cat_verb();

}  // namespace Tools
