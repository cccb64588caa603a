#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kit/encoding/frame_magic.h"
#include "tests/support/recording_bytes.h"

namespace tools_test {

/** When the recordings of these tests begin, in us: 15 May 2025, 09:30:07 UTC. */
constexpr uint64_t kBegin = 1747301407000000;

struct Target {
    float r = 0;
    float rdot = 0;
    float theta = 0;
};

/** The encoding of a frame. */
inline std::string frame(uint64_t timestamp, std::vector<Target> const& targets) {
    RO::RadarObjects message;
    message.set_magic(Kit::kFrameMagic);
    message.set_timestamp(timestamp);
    for (Target const& target : targets) {
        RO::TargetData& data = *message.add_targets();
        data.set_r(target.r);
        data.set_rdot(target.rdot);
        data.set_theta(target.theta);
    }
    return message.SerializeAsString();
}

/** A recording of these frames. */
inline std::string recording(std::vector<std::string> const& frames) {
    std::string bytes = test_support::header(static_cast<uint32_t>(frames.size()));
    for (std::string const& each : frames) bytes += test_support::record(each);
    return bytes;
}

/** A recording of frames that are `step_us` apart, the first at kBegin, each with one target. */
inline std::string steady_recording(int count, uint64_t step_us) {
    std::vector<std::string> frames;
    for (int i = 0; i < count; ++i) {
        frames.push_back(frame(kBegin + static_cast<uint64_t>(i) * step_us, {{1, 0, 0}}));
    }
    return recording(frames);
}

}  // namespace tools_test
