#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/cli/verb.h"
#include "tools/command_tree.h"

namespace Tools {

// Scripts with which a shell completes the verbs, options and values of a program.

/** For bash 4.4 or newer. */
std::string bash_completion(CommandNode const& program);

/** For zsh: a file "_petrelradar" of its function path. */
std::string zsh_completion(CommandNode const& program);

/** For fish 3 or newer. */
std::string fish_completion(CommandNode const& program);

/** `completion`: prints such a script for the program of these verbs, of which it is one itself. */
Verb completion_verb(std::function<std::vector<Verb>()> verbs);

}  // namespace Tools
