#include "tools/format/fields.h"

#include <algorithm>
#include <array>

#include "kit/base/text.h"
#include "kit/base/usage_error.h"

namespace Tools {

namespace {

constexpr std::array<char const*, 9> kNames = {"frame_index", "magic", "timestamp", "rcs", "r",
                                               "rdot",        "theta", "options",   "snr"};

FrameField parse_field(std::string const& word) {
    for (size_t i = 0; i < kNames.size(); ++i) {
        if (word == kNames[i]) return static_cast<FrameField>(i);
    }
    if (word == "timestamp_us") return FrameField::kTimestamp;
    std::string names;
    for (char const* name : kNames) names += std::string(names.empty() ? "" : ", ") + name;
    throw Kit::UsageError("--fields: unknown field " + Kit::quoted(word) + " (expected one of " +
                          names + ")");
}

}  // namespace

bool is_of_target(FrameField field) {
    return field >= FrameField::kRcs;
}

char const* name_of(FrameField field) {
    return kNames[static_cast<size_t>(field)];
}

std::vector<FrameField> parse_fields(std::string const& text) {
    std::vector<FrameField> fields;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find(',', begin), text.size());
        const FrameField field = parse_field(text.substr(begin, end - begin));
        if (std::find(fields.begin(), fields.end(), field) != fields.end()) {
            throw Kit::UsageError(std::string("--fields: ") + name_of(field) +
                                  " stands there twice");
        }
        fields.push_back(field);
        begin = end + 1;
    }
    return fields;
}

}  // namespace Tools
