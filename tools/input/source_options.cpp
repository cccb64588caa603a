#include "tools/input/source_options.h"

#include "tools/cli/options.h"

namespace Tools {

void add_source_options(OptionParser& parser, SourceOptions& options) {
    parser
        .add_argument("SOURCE", options.source,
                      "A file, a directory of one recorder's files, - for standard input, or "
                      "unix:PATH, a live stream")
        .require();
    parser.add_text("--recorder", options.recorder, "NAME",
                    "Of a directory with files of several recorders, read those with this tag "
                    "(0xFEED0007) or this prefix (radar)");
}

}  // namespace Tools
