#pragma once

#include "tools/verb.h"

namespace Tools {

/** `recover`: writes what can be saved of a recording as complete ones. */
Verb recover_verb();

}  // namespace Tools
