#include "service/replay_input.h"

#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "kit/base/errno_text.h"
#include "kit/base/input_error.h"
#include "kit/frames/open.h"
#include "kit/frames/scene.h"
#include "kit/frames/scene_name.h"

namespace Service {

namespace {

uint64_t system_time_us() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

/** Reading from anything else could wait without end, and the whole service with it. */
void check_kind(std::string const& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        throw Kit::InputError(path + ": " + Kit::errno_text(errno));
    if (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) return;
    throw Kit::InputError(path + ": neither a file nor a directory");
}

std::unique_ptr<Kit::FrameSource> open_source(Options const& options) {
    if (!Kit::names_scene(options.input)) {
        check_kind(options.input);
        return Kit::open_frame_source(options.input);
    }
    if (!options.frame_rate) return Kit::open_frame_source(options.input);
    return std::make_unique<Kit::Scene>(Kit::scene_seed(options.input), *options.frame_rate);
}

}  // namespace

ReplayInput::ReplayInput(Options const& options)
    : name_(options.input),
      is_scene_(Kit::names_scene(options.input)),
      loop_(options.loop),
      source_(open_source(options)),
      clock_(options.rate, options.skip_gaps ? Kit::kSkipGaps : Kit::kKeepGaps) {
    if (!read_frame()) throw Kit::InputError(name_ + ": no frames");
}

/** The first frame, the end and a failure are due at once. */
Input::Clock::time_point ReplayInput::due() const {
    return !started_ || ended_ || failure_ ? Clock::time_point() : clock_.due();
}

Input::Result ReplayInput::next(RO::RadarObjects& frame, FrameConditions& conditions) {
    if (failure_) std::rethrow_exception(failure_);
    if (ended_) return Result::kEnd;
    if (!std::exchange(started_, true)) clock_.plan(ahead_.timestamp(), Clock::now());
    frame.Swap(&ahead_);
    if (is_scene_) frame.set_timestamp(system_time_us());
    conditions = FrameConditions();
    read_ahead();
    return Result::kFrame;
}

/** A failure waits until the frame before it was taken. */
void ReplayInput::read_ahead() {
    try {
        ended_ = !read_frame();
        if (!ended_) clock_.plan(ahead_.timestamp(), Clock::now());
    } catch (Kit::InputError const&) {
        failure_ = std::current_exception();
    }
}

bool ReplayInput::read_frame() {
    if (source_->next(ahead_)) return true;
    if (!loop_) return false;
    source_->rewind();
    return source_->next(ahead_);
}

Kit::InputStatus ReplayInput::status() const {
    Kit::InputStatus status;
    status.name = name_;
    status.kind = is_scene_ ? "scene" : "replay";
    return status;
}

}  // namespace Service
