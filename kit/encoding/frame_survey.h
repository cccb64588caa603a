#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Kit {

/** What a frame's encoding says, told without building the frame. */
struct FrameSurvey {
    uint32_t magic = 0;
    uint64_t timestamp = 0;
    uint32_t targets = 0;
};

/**
 * Walks over an encoded frame, without allocating anything. Returns whether it is well-formed,
 * which is exactly when RO::RadarObjects::ParseFromArray() accepts it; then `survey` has what that
 * gives.
 *
 * @param examined when not null, is set to how many bytes were looked at.
 */
bool survey_frame(std::string_view encoding, FrameSurvey& survey, size_t* examined = nullptr);

}  // namespace Kit
