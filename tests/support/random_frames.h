#pragma once

#include <cstdint>
#include <random>

#include "kit/encoding/frame_magic.h"
#include "radar_objects/radar_objects.pb.h"

namespace test_support {

/** Numbers that are the same in every run. */
class Random {
public:
    explicit Random(uint32_t seed) : engine_(seed) {}

    uint32_t operator()() { return static_cast<uint32_t>(engine_()); }

    /** A number below `limit`. */
    uint32_t below(uint32_t limit) { return (*this)() % limit; }

private:
    std::mt19937 engine_;
};

/** A frame as radars produce them, of up to `most` targets, in which many a field is zero. */
inline RO::RadarObjects random_frame(Random& random, uint32_t most) {
    RO::RadarObjects frame;
    frame.set_magic(Kit::kFrameMagic);
    frame.set_timestamp(static_cast<uint64_t>(random()) << random.below(33));
    for (uint32_t i = random.below(most + 1); i > 0; --i) {
        RO::TargetData& target = *frame.add_targets();
        if (random.below(4) != 0) target.set_rcs(static_cast<float>(random.below(500)) / -8);
        if (random.below(4) != 0) target.set_r(static_cast<float>(random.below(1000)) / 16);
        if (random.below(4) != 0) target.set_rdot(static_cast<float>(random()) * 1e-9f);
        if (random.below(4) != 0) target.set_theta(static_cast<float>(random()) * -1e-10f);
        if (random.below(4) != 0) target.set_options(random() >> random.below(32));
        if (random.below(4) != 0) target.set_snr(static_cast<float>(random.below(40)));
    }
    return frame;
}

}  // namespace test_support
