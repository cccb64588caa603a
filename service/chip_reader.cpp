#include "service/chip_reader.h"

#include <cmath>
#include <exception>
#include <utility>

#include "log/ilog.h"

namespace Service {

namespace {

/** A frame waits this long at most; asking costs one register read. */
constexpr std::chrono::milliseconds kPollInterval(5);
constexpr std::chrono::milliseconds kOpenInterval(1000);

ChipSettings chip_settings(Options const& options) {
    ChipSettings settings;
    settings.frame_rate = static_cast<int>(std::lround(options.frame_rate.value_or(0)));
    return settings;
}

}  // namespace

ChipReader::ChipReader(Options const& options, std::function<Clock::time_point()> clock)
    : clock_(std::move(clock)),
      settings_(chip_settings(options)),
      chip_(std::make_unique<ChipInput>(settings_)),
      due_(clock_()) {}

Input::Result ChipReader::next(RO::RadarObjects& frame, FrameConditions& conditions) {
    due_ = clock_() + kPollInterval;
    if (!chip_ && !open_again()) return Result::kNothing;
    const bool read = chip_->poll(frame);
    count(chip_->counters());
    if (!read && !chip_->problem().empty()) return fail(chip_->problem());
    if (!problem_.empty()) {
        Petrel::ilog(0) << "The chip answers again" << std::endl;
        problem_.clear();
    }
    if (!read) return chip_->ended() ? Result::kEnd : Result::kNothing;
    take_events(conditions);
    due_ = clock_();  // the next one may be waiting
    return Result::kFrame;
}

bool ChipReader::open_again() {
    if (clock_() < open_at_) return false;
    try {
        chip_ = std::make_unique<ChipInput>(settings_);
        last_ = ChipCounters();
        return true;
    } catch (std::exception const& failure) {
        fail(failure.what());
        return false;
    }
}

/** Lets go of the chip: its device may be gone and its settings lost. */
Input::Result ChipReader::fail(std::string const& problem) {
    ++errors_;
    if (problem != problem_) Petrel::ilog(2) << problem << std::endl;
    problem_ = problem;
    last_problem_ = problem;
    chip_.reset();
    open_at_ = clock_() + kOpenInterval;
    return Result::kNothing;
}

void ChipReader::take_events(FrameConditions& conditions) {
    const ChipEvents events = chip_->take_events();
    conditions.interfered = events.interference;
    conditions.saturated = events.saturation || events.cut;
}

/** Counts on over a chip that was opened again. */
void ChipReader::count(ChipCounters const& now) {
    const uint32_t dropped = now.dropped - last_.dropped;
    dropped_ += dropped;
    torn_ += now.torn - last_.torn;
    last_ = now;
    if (dropped == 0) return;
    Petrel::ilog(1) << "The chip has dropped " << dropped
                    << " frames that were not read in time: have it report fewer targets, or fewer "
                       "frames a second (--frame-rate)"
                    << std::endl;
}

Kit::InputStatus ChipReader::status() const {
    Kit::InputStatus status;
    status.name = "chip";
    status.kind = "chip";
    status.errors = errors_;
    status.last_error = last_problem_;
    status.frames_dropped = dropped_;
    status.frames_torn = torn_;
    return status;
}

}  // namespace Service
