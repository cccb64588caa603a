#pragma once

#include <string>

namespace Tools {

/** What a SOURCE on the command line names. */
struct SourceName {
    enum class Kind {
        kPath,           // a file or a directory
        kStandardInput,  // "-"
        kLiveStream      // "unix:PATH"
    };

    Kind kind;
    std::string path;  // of the file, the directory or the socket; empty for standard input
    std::string text;  // as it was given, for messages
};

/** Takes a SOURCE apart. Whether it exists is not looked at. @throws Kit::UsageError when it is
 * empty.
 */
SourceName parse_source_name(std::string const& text);

}  // namespace Tools
