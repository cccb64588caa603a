#include "service/radar_service.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>

#include "kit/base/error.h"
#include "kit/frames/scene_name.h"
#include "log/ilog.h"
#include "service/open_input.h"
#include "service/raw_record.h"

namespace Service {

namespace {

/** How long consumers get for what is queued for them when the service ends. */
constexpr std::chrono::milliseconds kStopGrace(1000);
/** Signals that come within this time are one request to stop. */
constexpr std::chrono::milliseconds kOneRequest(1000);
/** How far apart cycles are at most while a status reader has not taken its document. */
constexpr int kReaderWaitMilliseconds = 50;
/** The same while the service starts or stops. */
constexpr int kPhaseWaitMilliseconds = 5;
/** How long an input that can wait waits before it looks at the recorders again. */
constexpr int kRecorderWaitMilliseconds = 2;
/** How often the recorders are checked. */
constexpr std::chrono::milliseconds kCheckEvery(500);
/** How long an input, and a recorder, that hangs is waited for at the end. */
constexpr std::chrono::milliseconds kInputPatience(1000);
constexpr std::chrono::seconds kRecorderPatience(30);
/** From when on a call that takes long is told of. */
constexpr std::chrono::seconds kTellStuckAfter(3);
constexpr long kReportSeconds = 5;
/** The key of the one consumer of the frame buffer, the relay. */
constexpr int kRelayKey = 0;
/** Descriptors that consumers leave for files, status readers and the device. */
constexpr rlim_t kOwnDescriptors = 96;
constexpr uint16_t kReadable = 1;

void arm(Radar::Timeout& timer, std::chrono::nanoseconds delay, bool repeat) {
    constexpr long kNanosecondsInSecond = 1000000000;
    timer.set_timeout(static_cast<long>(delay.count() / kNanosecondsInSecond),
                      static_cast<long>(delay.count() % kNanosecondsInSecond), repeat);
}

/** The frame buffer owns the descriptor that it is given, and so does the socket its own. */
int duplicate(int fd) {
    const int copy = fcntl(fd, F_DUPFD_CLOEXEC, 0);
    if (copy >= 0) return copy;
    throw std::system_error(errno, std::system_category(), "Failed to duplicate the radar socket");
}

/** As many as leave the service the descriptors for its own work; at the least half of them all. */
size_t most_consumers() {
    constexpr rlim_t kMost = 65536;
    rlimit descriptors = {kMost, kMost};
    getrlimit(RLIMIT_NOFILE, &descriptors);  // fails for no reason that applies
    const rlim_t all = std::min(descriptors.rlim_cur, kMost);
    return static_cast<size_t>(std::max(all - std::min(all, kOwnDescriptors), all / 2));
}

Kit::RelayOptions relay_options(std::string const& path) {
    Kit::RelayOptions options;
    options.socket_path = path;
    options.most_clients = most_consumers();
    return options;
}

void log_warnings(Settings const& settings) {
    for (std::string const& warning : settings.warnings()) {
        Petrel::ilog(1) << warning << std::endl;
    }
}

/** What is known of the input before it is open. */
Kit::InputStatus unopened(Options const& options) {
    Kit::InputStatus status;
    status.name = options.input;
    const bool is_scene = Kit::names_scene(options.input);
    status.kind = options.input == "chip" ? "chip" : is_scene ? "scene" : "replay";
    return status;
}

}  // namespace

RadarService::RadarService(Options const& options, StopSignals& signals)
    : signals_(signals),
      settings_(load_settings(options.settings_file)),
      sockets_(choose_socket_paths(options)),
      relay_(relay_options(sockets_.stream)),
      status_server_(block_, sockets_.status),
      recorders_(settings_, options.keep_unfinished),
      input_([options] { return open_input(options); }, unopened(options)),
      input_port_(block_.make_fdport("input", input_.fd(), kReadable)),
      target_limit_(settings_.value("TargetLimit")),
      buffer_(target_limit_),
      report_timer_(&block_, "report"),
      alive_timer_(&block_, "alive"),
      check_timer_(&block_, "check"),
      watchdog_(&block_, settings_.value("WatchdogTimeout")) {
    signals_.watch(block_);
    buffer_.set_fd(kRelayKey, duplicate(radar_socket_.internal()));
    relay_.relay_from(radar_socket_.external());
    arm(report_timer_, std::chrono::seconds(kReportSeconds), true);
    arm(check_timer_, kCheckEvery, true);
    if (const auto interval = Notifier::alive_interval()) arm(alive_timer_, *interval, true);
    register_status_items();
    log_warnings(settings_);
}

RadarService::~RadarService() {
    if (relay_stop_.joinable()) relay_stop_.join();
    remove_status_items();
}

void RadarService::run() {
    while (!has_ended_) run_cycle();
    Petrel::ilog(0) << "Stopped after " << frames_ << " frames with " << targets_ << " targets"
                    << std::endl;
    if (failure_) std::rethrow_exception(failure_);
}

void RadarService::run_cycle() {
    wait();
    if (phase_ != Phase::kStopping && signals_.is_triggered()) begin_stop();
    // Before a frame of this cycle kicks the watchdog, which takes back that it ran out.
    check_input();
    go_on();
    if (check_timer_.is_triggered()) {
        check_recording();
        if (now_and_then_) now_and_then_();
    }
    if (report_timer_.is_triggered()) report();
    if (alive_timer_.is_triggered() && !failures_.is_data_missing()) notifier_.alive();
    status_server_.serve([this] { return Kit::status_document(status()); }, Clock::now());
}

void RadarService::wait() {
    int longest = status_server_.has_readers() ? kReaderWaitMilliseconds : -1;
    if (phase_ != Phase::kRunning) longest = kPhaseWaitMilliseconds;
    if (phase_ != Phase::kStarting && input_.has_frame()) {
        longest = is_held() ? kRecorderWaitMilliseconds : 0;
    }
    block_.poll(longest);  // a wait that a signal interrupts is a cycle without events
    if (input_port_->triggered() != 0) input_.acknowledge();
}

/** Whether frames wait for the recorders. */
bool RadarService::is_held() const {
    return input_.can_wait() && recorders_.is_behind(Clock::now());
}

void RadarService::go_on() {
    try {
        if (phase_ == Phase::kStarting) return start_when_ready();
        take_frame();
    } catch (...) {
        fail(std::current_exception());
    }
    if (phase_ == Phase::kStopping) go_on_stopping();
}

void RadarService::start_when_ready() {
    const bool is_started = recorders_.is_started();
    const InputThread::State input = input_.state();
    // One that is damaged further on is played up to there.
    if (input == InputThread::State::kFailed && !input_.has_frame()) return fail(input_.failure());
    if (!is_started || input == InputThread::State::kOpening) return;
    phase_ = Phase::kRunning;
    check_recording();
    Petrel::ilog(0) << "Input " << input_.status().name << ", targets at " << sockets_.stream
                    << ", status at " << sockets_.status << std::endl;
    notifier_.ready("waiting for the first frame");
}

/** Ends the service with the input, when its last frame was taken. */
void RadarService::take_frame() {
    // Asked for first: what it says of the end holds for the frames that wait now.
    const InputThread::State state = input_.state();
    if (is_held()) return;
    if (const auto next = input_.take()) {
        if (!is_refused_) publish(*next);
        return;
    }
    if (phase_ == Phase::kStopping) return;
    if (state == InputThread::State::kFailed) fail(input_.failure());
    if (state == InputThread::State::kEnded) begin_stop();
}

void RadarService::publish(InputFrame const& next) {
    RO::RadarObjects const& frame = next.frame;
    // The watchdog may have run out since this cycle's poll; kicking it would hide that.
    if (!has_run_out_ && Clock::now() - kicked_at_ > watchdog_time_) input_is_late();
    FrameConditions conditions = next.conditions;
    fill_buffer(frame);
    conditions.saturated = conditions.saturated || buffer_.size() >= target_limit_;
    failures_.frame_arrived(conditions);
    watchdog_.kick();
    kicked_at_ = Clock::now();
    has_run_out_ = false;

    ++frames_;
    last_timestamp_ = frame.timestamp();
    const auto sequence = static_cast<uint32_t>(frames_);
    recorders_.record(
        buffer_, [&] { return raw_record(frame, sequence, conditions); }, failures_.any_active(),
        Clock::now());
    buffer_.send(frame.timestamp());
}

void RadarService::fill_buffer(RO::RadarObjects const& frame) {
    buffer_.set_timestamp(frame.timestamp());
    for (RO::TargetData const& target : frame.targets()) buffer_.push_back(target);
    const auto kept = static_cast<uint64_t>(buffer_.size());
    targets_ += kept;
    targets_dropped_ += static_cast<uint64_t>(frame.targets_size()) - kept;
}

void RadarService::check_input() {
    if (watchdog_.is_triggered() && phase_ != Phase::kStopping) input_is_late();
}

void RadarService::input_is_late() {
    has_run_out_ = true;
    ++expirations_;
    failures_.data_missing();
}

void RadarService::check_recording() {
    RecordingConditions conditions;
    const auto append = [](std::string& all, std::string const& text) {
        all += (all.empty() ? "" : "; ") + text;
    };
    for (RecorderHealth const& health : recorders_.health(Clock::now())) {
        if (health.failing_since) {
            append(conditions.storage, health.text);
        } else if (health.is_behind) {
            append(conditions.behind, health.text);
        }
    }
    failures_.recording_checked(conditions);
}

void RadarService::report() {
    notifier_.status(status_text());
    frames_reported_ = frames_;
}

void RadarService::fail(std::exception_ptr failure) {
    if (!failure_) failure_ = std::move(failure);
    is_refused_ = is_refused_ || phase_ == Phase::kStarting;
    if (phase_ != Phase::kStopping) begin_stop();
}

void RadarService::begin_stop() {
    phase_ = Phase::kStopping;
    notifier_.stopping("completing files");
    signals_.let_next_one_kill(kOneRequest);
    input_.stop();
}

/** First what was read is passed on, then the recorders and the relay end. */
void RadarService::go_on_stopping() {
    const Clock::time_point now = Clock::now();
    if (!recorders_finish_) {
        const bool gives_up = input_.stuck_for(now) > kInputPatience;
        if (input_.has_frame() || !(input_.is_finished() || gives_up)) return;
        left_threads_ = left_threads_ || gives_up;
        recorders_finish_ = true;
        recorders_.finish();
        relay_stop_ = std::thread([this] {
            relay_.stop(kStopGrace);
            relay_has_stopped_ = true;
        });
    }
    if (!relay_has_stopped_ || !recorders_.is_finished(now, kRecorderPatience)) return;
    const auto [name, stuck] = recorders_.most_stuck(now);
    if (stuck > kRecorderPatience) {
        left_threads_ = true;
        fail(std::make_exception_ptr(
            Kit::Error("recorder " + name + ": storage hangs; what is queued is lost")));
    }
    has_ended_ = true;
}

std::string RadarService::status_text() const {
    const uint64_t rate = (frames_ - frames_reported_ + kReportSeconds / 2) / kReportSeconds;
    std::string text = phase_ == Phase::kStarting ? "starting, " : "";
    if (phase_ == Phase::kStopping) text = "stopping, ";
    text += std::to_string(frames_) + " frames, " + std::to_string(rate) + " a second, ";
    text += std::to_string(relay_.counters().clients.size()) + " consumers";
    for (Kit::FailureStatus const& failure : failures_.all()) {
        if (failure.active) text += ", failure: " + failure.text;
    }
    return text + stuck_text();
}

/** What does not move, and for how long. */
std::string RadarService::stuck_text() const {
    const Clock::time_point now = Clock::now();
    const auto tell = [](std::string const& what, Clock::duration stuck) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(stuck);
        if (seconds < kTellStuckAfter) return std::string();
        return ", the " + what + " has not moved for " + std::to_string(seconds.count()) + " s";
    };
    const auto [name, stuck] = recorders_.most_stuck(now);
    return tell("input", input_.stuck_for(now)) + tell("recorder " + name, stuck);
}

}  // namespace Service
