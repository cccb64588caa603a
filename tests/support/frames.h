#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kit/encoding/frame_magic.h"
#include "radar_objects/radar_objects.pb.h"

namespace test_support {

/** What a test says about a target. */
struct Target {
    float r = 0;
    float rdot = 0;
    float theta = 0;
};

/** A frame with these targets. */
inline RO::RadarObjects frame_with(uint64_t timestamp, std::vector<Target> const& targets) {
    RO::RadarObjects frame;
    frame.set_magic(Kit::kFrameMagic);
    frame.set_timestamp(timestamp);
    for (Target const& target : targets) {
        RO::TargetData& data = *frame.add_targets();
        data.set_r(target.r);
        data.set_rdot(target.rdot);
        data.set_theta(target.theta);
    }
    return frame;
}

/** `count` targets with the ranges 1 m, 2 m, and so on. */
inline std::vector<Target> targets_in_a_row(int count) {
    std::vector<Target> targets;
    for (int i = 0; i < count; ++i) targets.push_back({static_cast<float>(i + 1), 0, 0});
    return targets;
}

/** The encoding of a frame with these targets. */
inline std::string frame(uint64_t timestamp, std::vector<Target> const& targets) {
    return frame_with(timestamp, targets).SerializeAsString();
}

/** The encoding of a frame with targets_in_a_row(). */
inline std::string frame(uint64_t timestamp, int targets = 0) {
    return frame(timestamp, targets_in_a_row(targets));
}

/** A frame with targets_in_a_row(), which have a speed and a signal too. */
inline RO::RadarObjects frame_at(uint64_t timestamp, int targets) {
    RO::RadarObjects frame = frame_with(timestamp, targets_in_a_row(targets));
    for (RO::TargetData& target : *frame.mutable_targets()) {
        target.set_rdot(-0.5F);
        target.set_snr(12.25F);
    }
    return frame;
}

/** `count` frames of two targets, `step_us` apart, the first at 1 s. */
inline std::vector<RO::RadarObjects> frames_of(int count, uint64_t step_us) {
    constexpr uint64_t kFirst = 1000000;
    std::vector<RO::RadarObjects> frames;
    for (int i = 0; i < count; ++i) {
        frames.push_back(frame_at(kFirst + static_cast<uint64_t>(i) * step_us, 2));
    }
    return frames;
}

/** The timestamps of frames. */
inline std::vector<uint64_t> timestamps(std::vector<RO::RadarObjects> const& frames) {
    std::vector<uint64_t> all;
    for (RO::RadarObjects const& frame : frames) all.push_back(frame.timestamp());
    return all;
}

/** The frames as text, so that a failed comparison shows the difference. */
inline std::vector<std::string> texts(std::vector<RO::RadarObjects> const& frames) {
    std::vector<std::string> all;
    for (RO::RadarObjects const& frame : frames) all.push_back(frame.ShortDebugString());
    return all;
}

}  // namespace test_support
