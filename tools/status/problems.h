#pragma once

#include <string>
#include <vector>

#include "tools/status/fields.h"

namespace Tools {

/** Something that is not as it should be. Each text is one line. */
struct StatusProblem {
    std::string what;
    std::string meaning;
    std::string remedy;
};

/**
 * Why the service of a status document is not healthy, worst first: active failures, a watchdog
 * that has run out, recorders with errors. Empty when it is healthy.
 */
std::vector<StatusProblem> find_problems(StatusFields const& status);

}  // namespace Tools
