#pragma once

#include "tools/cli/verb.h"

namespace Tools {

/** `plot`: draws a picture of a recording or a live stream. */
Verb plot_verb();

}  // namespace Tools
