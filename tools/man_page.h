#pragma once

#include <map>
#include <string>
#include <vector>

#include "tools/cli/verb.h"
#include "tools/command_tree.h"

namespace Tools {

/**
 * The manual pages of a program: by file name ("petrelradar-cat.1"), their text in the language of
 * man(7). One for the program, one for each verb; what a verb divides into stands on its page.
 *
 * @param verbs those that `program` was made from: their examples and details.
 */
std::map<std::string, std::string> man_pages(CommandNode const& program,
                                             std::vector<Verb> const& verbs);

}  // namespace Tools
