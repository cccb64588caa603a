#pragma once

#include "tools/verb.h"

namespace Tools {

/** `plot`: draws a picture of a recording or a live stream. */
Verb plot_verb();

}  // namespace Tools
