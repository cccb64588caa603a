#pragma once

#include "tools/cli/verb.h"

namespace Tools {

/** `status`: shows what a radar service tells about itself, and what to do about its failures. */
Verb status_verb();

}  // namespace Tools
