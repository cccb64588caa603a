#pragma once

#include "tools/cli/verb.h"

namespace Tools {

/** `export`: brings the frames of a recording or a live stream into a file of another format. */
Verb export_verb();

}  // namespace Tools
