#include "service/replay_input.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "kit/detections/scene.h"
#include "kit/input_error.h"

namespace Service {

namespace {

/** Longer than a service runs, and short enough to be added to a point in time. */
constexpr std::chrono::hours kLongestReplay(24 * 3650);
constexpr std::chrono::seconds kLongestDelay(1);

uint64_t system_time_us() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

constexpr char kScene[] = "scene";
constexpr char kSceneWithSeed[] = "scene:";

bool names_scene(std::string const& input) {
    return input == kScene || input.rfind(kSceneWithSeed, 0) == 0;
}

uint32_t seed_of(std::string const& scene) {
    if (scene == kScene) return 1;
    char const* const end = scene.data() + scene.size();
    uint32_t seed = 0;
    const auto read = std::from_chars(scene.data() + sizeof(kSceneWithSeed) - 1, end, seed);
    if (read.ec == std::errc() && read.ptr == end) return seed;
    throw Kit::InputError(scene + ": the seed is not a whole number below 2^32");
}

/** Reading from anything else could wait without end, and the whole service with it. */
void check_kind(std::string const& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) throw Kit::InputError(path + ": " + std::strerror(errno));
    if (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) return;
    throw Kit::InputError(path + ": neither a file nor a directory");
}

std::unique_ptr<Kit::FrameSource> open_source(Options const& options) {
    if (!names_scene(options.input)) {
        check_kind(options.input);
        return Kit::open_frame_source(options.input);
    }
    if (!options.frame_rate) return Kit::open_frame_source(options.input);
    return std::make_unique<Kit::Scene>(seed_of(options.input), *options.frame_rate);
}

}  // namespace

ReplayInput::ReplayInput(Options const& options)
    : name_(options.input),
      is_scene_(names_scene(options.input)),
      loop_(options.loop),
      source_(open_source(options)),
      started_(Clock::now()),
      due_(started_) {
    if (options.rate) pacer_.emplace(*options.rate);
    if (!read_frame()) throw Kit::InputError(name_ + ": no frames");
    plan();
}

Input::Result ReplayInput::next(RO::RadarObjects& frame, FrameConditions& conditions) {
    if (failure_) std::rethrow_exception(failure_);
    if (ended_) return Result::kEnd;
    if (frames_++ == 0) started_ = Clock::now();
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
        plan();
    } catch (Kit::InputError const&) {
        failure_ = std::current_exception();
        due_ = Clock::now();
    }
}

bool ReplayInput::read_frame() {
    if (source_->next(ahead_)) return true;
    if (!loop_) return false;
    source_->rewind();
    return source_->next(ahead_);
}

void ReplayInput::plan() {
    const Clock::time_point now = Clock::now();
    due_ = now;
    if (!pacer_ || ended_) return;
    due_ = started_ + std::min<Clock::duration>(pacer_->due(ahead_.timestamp()), kLongestReplay);
    // After a long stop the frames go on at their pace; they do not come all at once.
    if (now - due_ <= kLongestDelay) return;
    started_ += now - due_;
    due_ = now;
}

Kit::InputStatus ReplayInput::status() const {
    return {name_, is_scene_ ? "scene" : "replay", 0, ""};
}

}  // namespace Service
