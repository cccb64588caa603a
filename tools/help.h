#pragma once

#include <functional>
#include <vector>

#include "tools/cli/verb.h"

namespace Tools {

/** `help`: prints the help of the program of these verbs, of which it is one itself, or of one. */
Verb help_verb(std::function<std::vector<Verb>()> verbs);

}  // namespace Tools
