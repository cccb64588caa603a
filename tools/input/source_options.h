#pragma once

#include <functional>
#include <string>

#include "tools/input/selection.h"

namespace Tools {

class OptionParser;

/** What a verb reads, and how. */
struct SourceOptions {
    std::string source;    // SOURCE, as parse_source_name() takes it
    std::string recorder;  // --recorder; empty: there has to be only one in a directory
    SelectionOptions selection;
    bool follow = false;  // continues with a growing file and those that the recorder begins next
    /**
     * Called before the input waits for more, and at least every 50 ms while it waits: the place to
     * flush an output and to notice that its reader has gone. May throw, which ends next().
     */
    std::function<void()> idle;
};

/** Adds SOURCE and --recorder. */
void add_source_options(OptionParser& parser, SourceOptions& options);

}  // namespace Tools
