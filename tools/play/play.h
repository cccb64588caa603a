#pragma once

#include "tools/cli/verb.h"

namespace Tools {

/** petrelradar play: serves a recording on a stream socket. */
Verb play_verb();

}  // namespace Tools
