#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "chip/radar_chip.h"
#include "kit/frames/source.h"
#include "kit/replay/pacer.h"

namespace Chip {

/**
 * Lets the chip measure what a source of frames says, each frame when it is due: at the rate that
 * the host has programmed, or else at the chip's own. The first frame is due when the chip is
 * enabled; while it is disabled the source stands still.
 *
 * Owns the source; the chip is not owned and must outlive the feed. Has no clock and no thread of
 * its own. A source that turns out to be damaged has ended.
 */
class FrameFeed {
public:
    using Clock = std::chrono::steady_clock;

    struct Settings {
        /** How many times faster than its own pace the source is played; above 0. */
        double rate = 1;
        /** Frames a second while the host leaves the pace to the chip; none is the source's own. */
        std::optional<double> frame_rate;
        /** Whether a source that has ended begins again; one without frames does not. */
        bool loop = false;
        /** Whether times of more than a second without a frame are left out. */
        bool skip_gaps = false;
        /** Every so many frames one is disturbed; 0 is never. */
        int interference_every = 0;
        int saturation_every = 0;
    };

    /** @param report takes one line when the source is damaged. */
    FrameFeed(std::unique_ptr<Kit::FrameSource> source, RadarChip& chip, Settings const& settings,
              std::function<void(std::string const&)> report);

    /** Lets the chip measure every frame that is due at `now`; takes note of the host's settings.
     */
    void advance(Clock::time_point now);

    /** When the next frame is due; nothing while the chip is disabled, or when the source has
     * ended. */
    std::optional<Clock::time_point> next_due() const;

    /** Whether the source has turned out to be damaged. */
    bool failed() const { return failed_; }

private:
    static Kit::Pacer pacer_of(Settings const& settings);
    void start(Clock::time_point now);
    void measure();
    void load();
    bool take_next();
    std::chrono::nanoseconds due_after_start();

    std::unique_ptr<Kit::FrameSource> source_;
    RadarChip& chip_;
    Settings settings_;
    std::function<void(std::string const&)> report_;

    /** The frame that comes next, if there is one. */
    RO::RadarObjects frame_;
    bool loaded_ = false;
    bool ended_ = false;
    bool failed_ = false;

    bool started_ = false;
    Clock::time_point start_;
    Clock::time_point due_;
    int host_rate_ = 0;
    Kit::Pacer pacer_;
    uint64_t frames_since_start_ = 0;
    uint64_t measured_ = 0;
};

}  // namespace Chip
