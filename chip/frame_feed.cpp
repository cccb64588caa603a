#include "chip/frame_feed.h"

#include <utility>

#include "kit/base/input_error.h"

namespace Chip {

namespace {

bool is_nth(uint64_t number, int every) {
    return every > 0 && number % static_cast<uint64_t>(every) == 0;
}

}  // namespace

FrameFeed::FrameFeed(std::unique_ptr<Kit::FrameSource> source, RadarChip& chip,
                     Settings const& settings, std::function<void(std::string const&)> report)
    : source_(std::move(source)),
      chip_(chip),
      settings_(settings),
      report_(std::move(report)),
      pacer_(pacer_of(settings)) {}

Kit::Pacer FrameFeed::pacer_of(Settings const& settings) {
    return Kit::Pacer(settings.rate, settings.skip_gaps ? Kit::kSkipGaps : Kit::kKeepGaps);
}

void FrameFeed::advance(Clock::time_point now) {
    if (!chip_.running()) {
        started_ = false;
        return;
    }
    if (!started_ || chip_.frame_rate() != host_rate_) start(now);
    while (loaded_ && due_ <= now) measure();
}

std::optional<FrameFeed::Clock::time_point> FrameFeed::next_due() const {
    if (!started_ || !loaded_) return std::nullopt;
    return due_;
}

void FrameFeed::start(Clock::time_point now) {
    started_ = true;
    start_ = now;
    host_rate_ = chip_.frame_rate();
    pacer_ = pacer_of(settings_);
    frames_since_start_ = 0;
    if (!loaded_) load();
    if (loaded_) due_ = start_ + due_after_start();
}

void FrameFeed::measure() {
    ++measured_;
    chip_.measure(frame_, {is_nth(measured_, settings_.interference_every),
                           is_nth(measured_, settings_.saturation_every)});
    load();
    if (loaded_) due_ = start_ + due_after_start();
}

void FrameFeed::load() {
    loaded_ = !ended_ && take_next();
    if (loaded_) return;
    ended_ = true;
    chip_.end_input();
}

bool FrameFeed::take_next() {
    try {
        if (source_->next(frame_)) return true;
        if (!settings_.loop) return false;
        source_->rewind();
        return source_->next(frame_);
    } catch (Kit::InputError const& error) {
        failed_ = true;
        report_(error.what());
        return false;
    }
}

std::chrono::nanoseconds FrameFeed::due_after_start() {
    const double rate = host_rate_ > 0 ? host_rate_ : settings_.frame_rate.value_or(0);
    if (rate == 0) return pacer_.due(frame_.timestamp());
    const double seconds = static_cast<double>(frames_since_start_++) / rate;
    return std::chrono::nanoseconds(static_cast<int64_t>(seconds * 1e9));
}

}  // namespace Chip
