#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "kit/replay/clock.h"
#include "kit/stream/relay.h"
#include "tools/cli/verb.h"
#include "tools/play/source.h"
#include "tools/screen/keyboard.h"

namespace Tools {

/** How a recording is played. */
struct PlayOptions {
    SourceOptions input;
    std::string socket;
    std::optional<double> rate = 1.0;  // none: as fast as possible
    bool loop = false;
    bool begins_paused = false;
    bool waits_for_client = false;  // the first frame is for the first client
    bool skips_gaps = false;        // of more than a second
};

/**
 * Serves a recording on a socket, as the radar would: a frame at a time when it is due, to all
 * clients that are there. The person steers it with keys where standard input is a terminal, and
 * with SIGUSR1, which pauses and goes on. The console outlives it. One thread at a time.
 */
class Player {
public:
    /**
     * Opens the source, then the socket.
     *
     * @throws Kit::InputError when one of them cannot be opened; Kit::UsageError when options make
     * no sense with this source.
     */
    Player(PlayOptions options, Console& console);
    ~Player();
    Player(Player const&) = delete;
    Player& operator=(Player const&) = delete;

    /** Plays until the end of the source or the user's request. Throws what FrameInput throws. */
    ExitStatus run();

private:
    using Clock = Kit::ReplayClock::Clock;

    bool play_on();
    void advance();
    bool is_due(Clock::time_point now) const;
    bool has_room();
    void publish();
    void wait() const;
    void look_after_person();
    void look_at_suspension();
    void toggle_pause();
    void use_key(int key);
    void step();
    void step_back();
    void seek_by(int64_t us);
    void go_to_begin();
    void at_new_place(bool found);
    void change_rate(std::optional<double> rate);
    void show_status();
    ExitStatus report();

    PlayOptions options_;
    Console& console_;
    std::deque<int> keys_;
    bool quit_ = false;
    bool waiting_;
    Kit::ReplayClock clock_;
    PlaySource source_;
    std::unique_ptr<Kit::Relay> relay_;
    Keyboard keyboard_;
    bool draws_ = false;
    Clock::time_point status_due_;
    uint64_t published_ = 0;
    uint64_t last_number_ = 0;
    uint64_t last_timestamp_ = 0;
    // What may be sent before the clients' queues are looked at again, so that none overflows.
    uint64_t room_frames_ = 0;
    uint64_t room_bytes_ = 0;
};

}  // namespace Tools
