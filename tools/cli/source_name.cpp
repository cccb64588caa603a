#include "tools/cli/source_name.h"

#include "kit/base/usage_error.h"

namespace Tools {

namespace {

constexpr char kSocketPrefix[] = "unix:";

}  // namespace

SourceName parse_source_name(std::string const& text) {
    if (text == "-") return {SourceName::Kind::kStandardInput, "", "standard input"};
    if (text.rfind(kSocketPrefix, 0) != 0) {
        if (text.empty()) throw Kit::UsageError("SOURCE is empty");
        return {SourceName::Kind::kPath, text, text};
    }
    const std::string path = text.substr(sizeof(kSocketPrefix) - 1);
    if (path.empty()) throw Kit::UsageError("SOURCE " + text + " has no path behind unix:");
    return {SourceName::Kind::kLiveStream, path, text};
}

}  // namespace Tools
