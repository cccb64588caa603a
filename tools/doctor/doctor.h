#pragma once

#include "tools/cli/verb.h"

namespace Tools {

/** `doctor`: finds what is wrong with a recording. */
Verb doctor_verb();

}  // namespace Tools
