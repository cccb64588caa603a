#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Kit {

/** Magic, timestamp in us and number of targets of an encoded frame. */
struct FrameSurvey {
    uint32_t magic = 0;
    uint64_t timestamp = 0;
    uint32_t targets = 0;
};

/**
 * Reads an encoded frame without allocating anything. Any thread. Returns whether it is
 * well-formed, which is exactly when RO::RadarObjects::ParseFromArray() accepts it; then `survey`
 * has the same values.
 *
 * @param examined when not null, is set to the number of bytes that were read.
 */
bool survey_frame(std::string_view encoding, FrameSurvey& survey, size_t* examined = nullptr);

}  // namespace Kit
