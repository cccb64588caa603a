#pragma once

#include "tools/cli/verb.h"

namespace Tools {

/** `recover`: writes what can be saved of a recording as complete ones. */
Verb recover_verb();

}  // namespace Tools
