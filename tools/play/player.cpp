#include "tools/play/player.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <ctime>
#include <utility>

#include "kit/base/text.h"
#include "kit/base/usage_error.h"
#include "kit/stream/format.h"
#include "tools/cli/signals.h"
#include "tools/play/status.h"
#include "tools/screen/terminal.h"

namespace Tools {

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

/** How soon Ctrl-C, a signal and a new client are noticed. */
constexpr milliseconds kLongestWait{20};
/** How soon, as fast as possible, room in a full queue is noticed. */
constexpr milliseconds kRoomTick{1};
constexpr milliseconds kStatusInterval{100};
/** How long clients get for what is queued for them at the end. */
constexpr milliseconds kStopGrace{1000};

constexpr uint64_t kQueueFrames = 64;
/** So many bytes go to the queues at once when nobody sets the pace; larger frames one by one. */
constexpr uint64_t kQueueBytes = 4 * 1024 * 1024;

constexpr int64_t kShortSeek = 10000000;  // us
constexpr int64_t kLongSeek = 60000000;
constexpr double kFastest = 1024;
constexpr double kSlowest = 1.0 / 1024;

/** The person wants the end while the input has nothing to read. */
struct PlayEnded {};

std::atomic<bool> pause_toggled{false};

void on_pause_signal(int) {
    pause_toggled = true;
}

void check(PlayOptions const& options, PlaySource const& source) {
    if (options.loop && !source.can_rewind()) {
        throw Kit::UsageError("--loop needs a file or a directory, not " + options.input.source);
    }
}

}  // namespace

Player::Player(PlayOptions options, Console& console)
    : options_(std::move(options)),
      console_(console),
      waiting_(options_.waits_for_client),
      clock_(options_.rate, options_.skips_gaps ? Kit::kSkipGaps : Kit::kKeepGaps),
      source_(
          [this] {
              SourceOptions input = options_.input;
              input.idle = [this] {
                  look_after_person();
                  if (std::count(keys_.begin(), keys_.end(), 'q') > 0) throw PlayEnded();
              };
              return input;
          }(),
          console.messages) {
    check(options_, source_);
    Kit::RelayOptions relay_options;
    relay_options.socket_path = options_.socket;
    relay_options.queue_frames = kQueueFrames;
    relay_options.queue_bytes = 2 * kQueueBytes;
    relay_ = std::make_unique<Kit::Relay>(relay_options);
    draws_ = takes_pictures(STDERR_FILENO) && keyboard_.is_active();
    if (draws_) watch_terminal_signals();
    struct sigaction action = {};
    action.sa_handler = on_pause_signal;
    sigaction(SIGUSR1, &action, nullptr);
    // A live stream has the radar's own pace.
    if (source_.is_live()) clock_.set_rate(std::nullopt, Clock::now());
    if (options_.begins_paused) clock_.pause(Clock::now());
}

Player::~Player() {
    Messages::show_line("");
}

ExitStatus Player::run() {
    try {
        advance();
        if (source_.has_frame()) last_timestamp_ = source_.first_timestamp();
        while (play_on()) {
        }
    } catch (PlayEnded const&) {
        // As at the end of the input.
    }
    return report();
}

/** One turn: sends the frame that is due, or waits. False at the end. */
bool Player::play_on() {
    look_after_person();
    while (!keys_.empty() && !quit_) {
        const int key = keys_.front();
        keys_.pop_front();
        use_key(key);
    }
    if (quit_ || was_interrupted() || !source_.has_frame()) return false;
    if (is_due(Clock::now()) && has_room()) {
        publish();
        advance();
    } else {
        wait();
    }
    return true;
}

/** Goes on to the next frame, which is the first one where the recording is played again. */
void Player::advance() {
    if (!source_.next() && options_.loop && published_ > 0 && !was_interrupted()) source_.rewind();
    if (source_.has_frame()) clock_.plan(source_.frame().timestamp, Clock::now());
}

bool Player::is_due(Clock::time_point now) const {
    return !waiting_ && clock_.due() <= now;
}

/**
 * As fast as possible nothing sets the pace but the clients: no queue of theirs overflows. A frame
 * of many megabytes always waits for them, so that no more than one is kept.
 */
bool Player::has_room() {
    const uint64_t size = source_.frame().payload.size();
    if (size <= kQueueBytes && (clock_.rate() || source_.is_live())) return true;
    if (room_frames_ > 0 && room_bytes_ >= size) return true;
    uint64_t queued = 0;
    for (auto const& client : relay_->counters().clients) queued = std::max(queued, client.queued);
    room_frames_ = kQueueFrames - std::min(queued, kQueueFrames);
    room_bytes_ = queued == 0 ? std::max(kQueueBytes, size) : 0;
    return room_frames_ > 0 && room_bytes_ > 0;
}

void Player::publish() {
    InputFrame const& frame = source_.frame();
    relay_->publish(Kit::stream_frame(frame.payload));
    ++published_;
    last_number_ = frame.number;
    last_timestamp_ = frame.timestamp;
    room_frames_ -= std::min<uint64_t>(room_frames_, 1);
    room_bytes_ -= std::min<uint64_t>(room_bytes_, frame.payload.size());
}

/** Waits until the frame is due, a key is typed, a signal comes, or it is time to look around. */
void Player::wait() const {
    nanoseconds longest = kLongestWait;
    const auto now = Clock::now();
    if (is_due(now)) longest = kRoomTick;
    if (!waiting_ && clock_.due() > now)
        longest = std::min<nanoseconds>(longest, clock_.due() - now);
    pollfd typed = {keyboard_.is_active() ? STDIN_FILENO : -1, POLLIN, 0};
    const timespec timeout = {0, static_cast<long>(longest.count())};
    ppoll(&typed, 1, &timeout, nullptr);  // a wait that a signal interrupts has ended, too
}

void Player::look_after_person() {
    if (waiting_ && !relay_->counters().clients.empty()) {
        waiting_ = false;
        clock_.jump();
        if (source_.has_frame()) clock_.plan(source_.frame().timestamp, Clock::now());
    }
    if (pause_toggled.exchange(false)) toggle_pause();
    look_at_suspension();
    for (const int key : keyboard_.typed()) keys_.push_back(key);
    show_status();
}

void Player::look_at_suspension() {
    if (!draws_ || !wants_suspension()) return;
    Messages::show_line("");
    keyboard_.leave();
    suspend();
    keyboard_.enter();
    status_due_ = {};
}

void Player::toggle_pause() {
    if (clock_.is_paused()) {
        clock_.resume(Clock::now());
    } else {
        clock_.pause(Clock::now());
    }
}

void Player::use_key(int key) {
    switch (key) {
        case ' ':
            return toggle_pause();
        case '.':
            return step();
        case ',':
            return step_back();
        case kKeyRight:
            return seek_by(kShortSeek);
        case kKeyLeft:
            return seek_by(-kShortSeek);
        case kKeyUp:
            return seek_by(kLongSeek);
        case kKeyDown:
            return seek_by(-kLongSeek);
        case kKeyHome:
            return go_to_begin();
        case '+':
            if (!clock_.rate()) return;
            return change_rate(std::min(*clock_.rate() * 2, kFastest));
        case '-':
            return change_rate(clock_.rate() ? std::max(*clock_.rate() / 2, kSlowest) : kFastest);
        case '1':
            return change_rate(1.0);
        case 'm':
            return change_rate(std::nullopt);
        case 'q':
            quit_ = true;
            return;
        default:
            return;
    }
}

/** Sends the next frame at once and pauses there. */
void Player::step() {
    clock_.pause(Clock::now());
    waiting_ = false;
    if (!source_.has_frame()) return;
    publish();
    clock_.jump();
    advance();
}

void Player::step_back() {
    if (!source_.can_rewind()) return;
    clock_.pause(Clock::now());
    waiting_ = false;
    at_new_place(source_.seek_number(last_number_ - std::min<uint64_t>(last_number_, 1)));
    step();
}

void Player::seek_by(int64_t us) {
    if (us < 0 && !source_.can_rewind()) return;
    const auto length = static_cast<uint64_t>(us < 0 ? -us : us);
    const uint64_t to =
        us < 0 ? last_timestamp_ - std::min(last_timestamp_, length) : last_timestamp_ + length;
    const bool found = source_.seek(to);
    at_new_place(found || (options_.loop && source_.rewind()));
}

void Player::go_to_begin() {
    if (source_.can_rewind()) at_new_place(source_.rewind());
}

void Player::at_new_place(bool found) {
    if (!found) return;  // behind the last frame: the end
    last_number_ = source_.frame().number;
    last_timestamp_ = source_.frame().timestamp;
    clock_.jump();
    clock_.plan(source_.frame().timestamp, Clock::now());
}

void Player::change_rate(std::optional<double> rate) {
    if (!source_.is_live()) clock_.set_rate(rate, Clock::now());
}

void Player::show_status() {
    if (!draws_ || Clock::now() < status_due_) return;
    status_due_ = Clock::now() + kStatusInterval;
    const Kit::RelayCounters counters = relay_->counters();
    PlayStatus status;
    if (waiting_) status.state = PlayStatus::State::kWaiting;
    if (clock_.is_paused()) status.state = PlayStatus::State::kPaused;
    status.rate = clock_.rate();
    status.frame = last_number_;
    if (last_timestamp_ > source_.first_timestamp()) {
        status.position_us = last_timestamp_ - source_.first_timestamp();
    }
    status.share = source_.share_done();
    status.clients = counters.clients.size();
    status.dropped = counters.frames_dropped;
    Messages::show_line(play_status_text(status, window_size(STDERR_FILENO).columns));
}

ExitStatus Player::report() {
    Messages::show_line("");
    relay_->stop(kStopGrace);
    const Kit::RelayCounters counters = relay_->counters();
    if (draws_) {
        console_.messages.note(Kit::count_text(published_, "frame") + " to " +
                               Kit::count_text(counters.clients_accepted, "client"));
    }
    const ExitStatus status = source_.finish();
    if (counters.frames_dropped == 0 && counters.clients_dropped_stuck == 0) return status;
    console_.messages.warn(Kit::count_text(counters.frames_dropped, "frame") +
                           " not delivered to clients that were too slow, " +
                           Kit::count_text(counters.clients_dropped_stuck, "client") +
                           " disconnected that took none");
    return ExitStatus::kDamaged;
}

}  // namespace Tools
