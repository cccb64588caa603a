#include "tools/output/destination.h"

#include <filesystem>
#include <system_error>

#include "kit/base/usage_error.h"
#include "kit/recording/files.h"
#include "tools/cli/options.h"
#include "tools/cli/source_name.h"
#include "tools/output/file.h"

namespace Tools {

namespace {

constexpr char kStandardInput[] = "/proc/self/fd/0";

}  // namespace

void add_output_options(OptionParser& parser, OutputOptions& options, std::string const& what) {
    parser.add_text("-o,--output", options.path, "FILE", "Where " + what + " goes").require();
    parser.add_flag("--force", options.force, "Overwrite an existing file");
}

void refuse_input_as_output(SourceOptions const& input, OutputOptions const& output) {
    if (output.path == "-") {
        throw Kit::UsageError("-o takes the name of a file; cat prints on standard output");
    }
    const SourceName source = parse_source_name(input.source);
    if (source.kind == SourceName::Kind::kLiveStream) return;
    if (source.kind == SourceName::Kind::kStandardInput) {
        return refuse_same_file(kStandardInput, output.path);
    }
    refuse_same_file(source.path, output.path);
    std::error_code ignored;
    // Only a file that is there can be an input, whatever its name in the directory.
    if (!std::filesystem::is_directory(source.path, ignored)) return;
    if (!std::filesystem::exists(output.path, ignored)) return;
    for (Kit::RecordingFile const& file : Kit::list_recordings(source.path)) {
        refuse_same_file(file.path, output.path);
    }
}

}  // namespace Tools
