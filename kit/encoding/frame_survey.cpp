#include "kit/encoding/frame_survey.h"

#include "kit/encoding/wire_walk.h"

namespace Kit {

namespace {

bool survey_target(std::string_view encoding) {
    WireWalk walk(encoding);
    uint32_t tag = 0;
    for (;;) {
        walk.skip_floats();
        if (walk.at_end()) return true;
        if (!walk.short_varint(tag) || !walk.skip_field(tag, kDeepest - 1)) return false;
    }
}

bool survey_field(WireWalk& walk, FrameSurvey& survey) {
    uint32_t tag = 0;
    uint64_t value = 0;
    std::string_view inside;
    if (!walk.short_varint(tag)) return false;
    switch (tag) {
        case kMagicTag:
            if (!walk.varint(value)) return false;
            survey.magic = static_cast<uint32_t>(value);
            return true;
        case kTimestampTag:
            return walk.varint(survey.timestamp);
        case kTargetTag:
            ++survey.targets;
            return walk.piece(inside) && survey_target(inside);
        default:
            return walk.skip_field(tag, kDeepest);
    }
}

}  // namespace

bool survey_frame(std::string_view encoding, FrameSurvey& survey, size_t* examined) {
    WireWalk walk(encoding);
    survey = {};
    bool well_formed = true;
    while (well_formed && !walk.at_end()) well_formed = survey_field(walk, survey);
    if (examined != nullptr) *examined = static_cast<size_t>(walk.place() - encoding.data());
    return well_formed;
}

}  // namespace Kit
