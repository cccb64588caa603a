#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "service/chip_input.h"
#include "service/command_line.h"
#include "service/input.h"

namespace Service {

/**
 * Frames from the chip, asked for often enough that none has to wait. A chip that fails while the
 * service runs is a silent input, not the end: the failure is logged when it begins, and the device
 * is opened and programmed anew once a second until the chip answers again.
 */
class ChipReader : public Input {
public:
    /**
     * Opens and programs the chip.
     *
     * @param clock what time it is.
     * @throws what ChipInput does.
     */
    explicit ChipReader(Options const& options,
                        std::function<Clock::time_point()> clock = Clock::now);

    Clock::time_point due() const override { return due_; }
    Result next(RO::RadarObjects& frame, FrameConditions& conditions) override;
    bool can_wait() const override { return false; }
    Kit::InputStatus status() const override;

private:
    bool open_again();
    Result fail(std::string const& problem);
    void take_events(FrameConditions& conditions);

    std::function<Clock::time_point()> clock_;
    ChipSettings settings_;
    std::unique_ptr<ChipInput> chip_;
    void count(ChipCounters const& now);

    ChipCounters last_;
    uint64_t dropped_ = 0;
    uint64_t torn_ = 0;
    uint64_t errors_ = 0;
    std::string problem_;
    std::string last_problem_;
    Clock::time_point open_at_;
    Clock::time_point due_;
};

}  // namespace Service
