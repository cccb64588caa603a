#pragma once

#include <string>

#include "tools/input/source_options.h"

namespace Tools {

class OptionParser;

/** The file that a verb writes. */
struct OutputOptions {
    std::string path;
    bool force = false;
};

/** Adds -o and --force. `what` says what is written, as in "the recording". */
void add_output_options(OptionParser& parser, OutputOptions& options, std::string const& what);

/**
 * Makes sure that no input is replaced, nor the file that standard input is redirected from.
 *
 * @throws Kit::Error when the output is the input's file or one of those in its directory;
 *         Kit::UsageError when it is "-".
 */
void refuse_input_as_output(SourceOptions const& input, OutputOptions const& output);

}  // namespace Tools
