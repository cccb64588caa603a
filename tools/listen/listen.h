#pragma once

#include "tools/cli/verb.h"

namespace Tools {

/** `listen`: shows the frames of a live stream. */
Verb listen_verb();

}  // namespace Tools
