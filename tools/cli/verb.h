#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/cli/exit_status.h"
#include "tools/cli/messages.h"
#include "tools/cli/output.h"

namespace Tools {

class OptionParser;

/** What a verb writes to: data to `out`, everything else to `messages`. */
struct Console {
    Output out;
    Messages messages;
};

/**
 * Does a verb's work. Ends with a status, or by throwing Kit::InputError (status 1),
 * Kit::UsageError (2) or whatever `out` throws.
 */
using Run = std::function<ExitStatus(Console&)>;

/** One verb of the program. Each has a file of its own, which verbs.cpp lists. */
struct Verb {
    struct Example {
        std::string arguments;  // "listen unix:/run/radar.sock"
        std::string purpose;    // "watch the targets of a running service"
    };

    std::string name;
    std::string summary;  // one line, as in a list of verbs
    std::vector<Example> examples;
    std::string details;  // printed at the end of the help; may have several lines

    /** Declares the verb's arguments and options. What is returned runs after they were parsed. */
    std::function<Run(OptionParser&)> declare;

    /** What the verb divides into ("regs read"): one of them has to follow; `declare` is empty. */
    std::vector<Verb> verbs = {};
};

}  // namespace Tools
