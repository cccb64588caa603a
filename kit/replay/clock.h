#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "kit/replay/pacer.h"

namespace Kit {

/**
 * Says at which moment each frame of a replay is due, also when the replay is paused, goes on at
 * another rate or continues at another place. Paces as Pacer does. After the replay was held up for
 * more than a second the frames go on at their pace; they do not come all at once. The caller looks
 * at the clock and waits. One thread at a time.
 */
class ReplayClock {
public:
    using Clock = std::chrono::steady_clock;

    /** How late a frame may be before the ones behind it are put off. */
    static constexpr std::chrono::seconds kLongestDelay{1};

    /**
     * @param rate how many times as fast as the timestamps; none: as fast as possible.
     * @param longest_gap the longest step between two frames that is kept.
     * @throws InputError when the rate is 0, negative or not a number.
     */
    explicit ReplayClock(std::optional<double> rate,
                         std::chrono::microseconds longest_gap = kKeepGaps);

    /** Plans the next frame, to be called at the moment `now` when the one before is done with. */
    void plan(uint64_t timestamp_us, Clock::time_point now);

    /** The next frame that is planned is due at once: the replay continues at another place. */
    void jump();

    /** When the planned frame is due; Clock::time_point::max() while the replay is paused. */
    Clock::time_point due() const;

    /** Goes on at another rate, from where the replay is between two frames. As the constructor. */
    void set_rate(std::optional<double> new_rate, Clock::time_point now);
    std::optional<double> rate() const { return current_rate_; }

    void pause(Clock::time_point now);
    void resume(Clock::time_point now);
    bool is_paused() const { return paused_; }

private:
    using Nanoseconds = std::chrono::duration<double, std::nano>;

    void stand_still(Clock::time_point now);

    Pacer pacer_;
    std::optional<double> current_rate_;
    bool paused_ = false;
    bool jumps_ = true;
    Nanoseconds next_{0};     // the planned frame's place in the recording's own time
    Nanoseconds reached_{0};  // the place that the replay had reached at ...
    Clock::time_point since_;
};

}  // namespace Kit
