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

}  // namespace Tools
