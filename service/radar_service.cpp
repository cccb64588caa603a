#include "service/radar_service.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <thread>

#include "kit/base/errno_text.h"
#include "kit/base/error.h"
#include "log/ilog.h"
#include "service/raw_record.h"

namespace Service {

namespace {

/** How long consumers get for what is queued for them when the service ends. */
constexpr std::chrono::milliseconds kStopGrace(1000);
/** Signals that come within this time are one request to stop. */
constexpr std::chrono::milliseconds kOneRequest(1000);
/** How far apart cycles are at most while a status reader has not taken its document. */
constexpr int kReaderWaitMilliseconds = 50;
/** How long an input that can wait waits before it looks at the recorders again. */
constexpr int kRecorderWaitMilliseconds = 2;
constexpr std::chrono::milliseconds kRecorderLook(2);
/** How long a recorder that hangs is waited for at the end. */
constexpr std::chrono::seconds kRecorderPatience(20);
constexpr long kReportSeconds = 5;
/** The key of the one consumer of the frame buffer, the relay. */
constexpr int kRelayKey = 0;
/** Descriptors that consumers leave for files, status readers and the device. */
constexpr rlim_t kOwnDescriptors = 96;

void arm(Radar::Timeout& timer, std::chrono::nanoseconds delay, bool repeat) {
    constexpr long kNanosecondsInSecond = 1000000000;
    timer.set_timeout(static_cast<long>(delay.count() / kNanosecondsInSecond),
                      static_cast<long>(delay.count() % kNanosecondsInSecond), repeat);
}

/** The frame buffer owns the descriptor that it is given, and so does the socket its own. */
int duplicate(int fd) {
    const int copy = fcntl(fd, F_DUPFD_CLOEXEC, 0);
    if (copy >= 0) return copy;
    throw Kit::Error("Failed to duplicate the radar socket: " + Kit::errno_text(errno));
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

}  // namespace

RadarService::RadarService(Options const& options, StopSignals& signals)
    : signals_(signals),
      settings_(load_settings(options.settings_file)),
      input_(open_input(options)),
      sockets_(choose_socket_paths(options)),
      relay_(relay_options(sockets_.stream)),
      status_server_(block_, sockets_.status),
      recorders_(settings_),
      target_limit_(settings_.value("TargetLimit")),
      buffer_(target_limit_),
      frame_timer_(&block_, "frame"),
      report_timer_(&block_, "report"),
      alive_timer_(&block_, "alive"),
      watchdog_(&block_, settings_.value("WatchdogTimeout")) {
    while (!recorders_.is_started()) std::this_thread::sleep_for(kRecorderLook);
    signals_.watch(block_);
    buffer_.set_fd(kRelayKey, duplicate(radar_socket_.internal()));
    relay_.relay_from(radar_socket_.external());
    arm(report_timer_, std::chrono::seconds(kReportSeconds), true);
    if (const auto interval = Notifier::alive_interval()) arm(alive_timer_, *interval, true);
    register_status_items();
    log_warnings(settings_);
}

RadarService::~RadarService() {
    remove_status_items();
}

void RadarService::run() {
    Petrel::ilog(0) << "Input " << input_->status().name << ", targets at " << sockets_.stream
                    << ", status at " << sockets_.status << std::endl;
    notifier_.ready("waiting for the first frame");
    std::exception_ptr failure;
    try {
        while (run_cycle()) {
        }
    } catch (...) {
        failure = std::current_exception();
    }
    stop();
    if (failure) std::rethrow_exception(failure);
}

/** Returns whether another cycle is to follow. */
bool RadarService::run_cycle() {
    wait();
    if (signals_.is_triggered()) return false;
    // Before a frame of this cycle kicks the watchdog, which takes back that it ran out.
    look_after_input();
    if (!take_due_frame()) return false;
    if (report_timer_.is_triggered()) report();
    if (alive_timer_.is_triggered() && !failures_.is_data_missing()) notifier_.alive();
    status_server_.serve([this] { return Kit::status_document(status()); }, Clock::now());
    return true;
}

void RadarService::wait() {
    const Clock::duration delay = input_->due() - Clock::now();
    const bool held = input_->can_wait() && recorders_.is_behind(Clock::now());
    const bool late = delay <= Clock::duration::zero() && !held;
    int longest = status_server_.has_readers() ? kReaderWaitMilliseconds : -1;
    if (late) longest = 0;
    if (held) longest = kRecorderWaitMilliseconds;
    if (!late && !held) arm(frame_timer_, delay, false);
    block_.poll(longest);  // a wait that a signal interrupts is a cycle without events
    frame_is_due_ = frame_timer_.is_triggered() || late;
}

/** Returns whether the input goes on. */
bool RadarService::take_due_frame() {
    if (!frame_is_due_) return true;
    FrameConditions conditions;
    const Input::Result result = input_->next(frame_, conditions);
    if (result == Input::Result::kFrame) publish(conditions);
    return result != Input::Result::kEnd;
}

void RadarService::publish(FrameConditions conditions) {
    fill_buffer();
    conditions.saturated = conditions.saturated || buffer_.size() >= target_limit_;
    failures_.frame_arrived(conditions);
    watchdog_.kick();

    ++frames_;
    last_timestamp_ = frame_.timestamp();
    const auto sequence = static_cast<uint32_t>(frames_);
    recorders_.record(
        buffer_, [&] { return raw_record(frame_, sequence, conditions); }, failures_.any_active(),
        Clock::now());
    buffer_.send(frame_.timestamp());
}

void RadarService::fill_buffer() {
    buffer_.set_timestamp(frame_.timestamp());
    for (RO::TargetData const& target : frame_.targets()) buffer_.push_back(target);
    const auto kept = static_cast<uint64_t>(buffer_.size());
    targets_ += kept;
    targets_dropped_ += static_cast<uint64_t>(frame_.targets_size()) - kept;
}

void RadarService::look_after_input() {
    if (!watchdog_.is_triggered()) return;
    ++expirations_;
    failures_.data_missing();
}

void RadarService::report() {
    notifier_.status(status_text());
    frames_reported_ = frames_;
}

void RadarService::stop() {
    stopping_ = true;
    notifier_.stopping();
    signals_.let_next_one_kill(kOneRequest);
    recorders_.finish();
    while (!recorders_.is_finished(Clock::now(), kRecorderPatience)) {
        std::this_thread::sleep_for(kRecorderLook);
    }
    relay_.stop(kStopGrace);
    Petrel::ilog(0) << "Stopped after " << frames_ << " frames with " << targets_ << " targets"
                    << std::endl;
}

std::string RadarService::status_text() const {
    const uint64_t rate = (frames_ - frames_reported_ + kReportSeconds / 2) / kReportSeconds;
    std::string text = std::to_string(frames_) + " frames, " + std::to_string(rate) + " a second, ";
    text += std::to_string(relay_.counters().clients.size()) + " consumers";
    Radar::Failure const& failures = failures_.failures();
    for (auto const& [reason, state] : failures) {
        if (state.second) text += ", failure: " + state.first;
    }
    return text;
}

}  // namespace Service
