// What a person does to a recording that is played.

#include <algorithm>

#include "tools/play/player.h"

namespace Tools {

namespace {

constexpr int64_t kShortSeek = 10000000;  // us
constexpr int64_t kLongSeek = 60000000;
constexpr double kFastest = 1024;
constexpr double kSlowest = 1.0 / 1024;

}  // namespace

void Player::toggle_pause() {
    if (clock.is_paused()) {
        clock.resume(Clock::now());
    } else {
        clock.pause(Clock::now());
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
            if (!clock.rate()) return;
            return change_rate(std::min(*clock.rate() * 2, kFastest));
        case '-':
            return change_rate(clock.rate() ? std::max(*clock.rate() / 2, kSlowest) : kFastest);
        case '1':
            return change_rate(1.0);
        case 'm':
            return change_rate(std::nullopt);
        case 'q':
            quit = true;
            return;
        default:
            return;
    }
}

/** Sends the next frame at once and pauses there. */
void Player::step() {
    clock.pause(Clock::now());
    waiting = false;
    if (!source.has_frame()) return;
    publish();
    clock.jump();
    advance();
}

void Player::step_back() {
    if (!source.can_rewind()) return;
    clock.pause(Clock::now());
    waiting = false;
    at_new_place(source.seek_number(last_number - std::min<uint64_t>(last_number, 1)));
    step();
}

void Player::seek_by(int64_t us) {
    if (us < 0 && !source.can_rewind()) return;
    const auto length = static_cast<uint64_t>(us < 0 ? -us : us);
    const uint64_t to =
        us < 0 ? last_timestamp - std::min(last_timestamp, length) : last_timestamp + length;
    const bool found = source.seek(to);
    at_new_place(found || (options.loop && source.rewind()));
}

void Player::go_to_begin() {
    if (source.can_rewind()) at_new_place(source.rewind());
}

void Player::at_new_place(bool found) {
    if (!found) return;  // behind the last frame: the end
    last_number = source.frame().number;
    last_timestamp = source.frame().timestamp;
    clock.jump();
    clock.plan(source.frame().timestamp, Clock::now());
}

void Player::change_rate(std::optional<double> rate) {
    if (!source.is_live()) clock.set_rate(rate, Clock::now());
}

}  // namespace Tools
