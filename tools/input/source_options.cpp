#include "tools/input/source_options.h"

#include <CLI/CLI.hpp>

namespace Tools {

void add_source_options(CLI::App& parser, SourceOptions& options) {
    parser
        .add_option("SOURCE", options.source,
                    "A file, a directory of one recorder's files, - for standard input, or "
                    "unix:PATH, a live stream")
        ->required();
    parser
        .add_option("--recorder", options.recorder,
                    "Of a directory with files of several recorders, read those with this tag "
                    "(0xFEED0007) or this prefix (radar)")
        ->type_name("NAME");
}

}  // namespace Tools
