#pragma once

#include <chrono>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include "kit/status/document.h"
#include "radar_objects/radar_objects.pb.h"
#include "service/failure_monitor.h"
#include "service/input.h"

namespace Service {

/** A frame as the input delivered it. */
struct InputFrame {
    RO::RadarObjects frame;
    FrameConditions conditions;
};

/**
 * Opens and reads an input on a thread of its own, so that a bus or a disk that hangs holds up
 * nobody else. A bounded queue of frames stands behind: when it is full the input waits, none is
 * dropped here.
 *
 * Owns the thread, the input and the queue. All calls return at once and belong to one thread. A
 * thread that hangs in a call of the input when this object goes is left to itself, with all that
 * it uses.
 */
class InputThread {
public:
    using Clock = Input::Clock;
    using Open = std::function<std::unique_ptr<Input>()>;

    enum class State {
        kOpening,
        kOpen,
        kEnded,  // no frame any more, but those that wait
        kFailed  // neither, and failure() says why
    };

    /** How many frames wait at most. */
    static constexpr size_t kMostFrames = 64;

    /**
     * Starts the thread.
     *
     * @param open opens the input, and throws when it cannot; called on the thread.
     * @param unopened what the status says until then.
     */
    InputThread(Open open, Kit::InputStatus unopened);
    /** stop(), and waits for the thread unless that hangs. */
    ~InputThread();
    InputThread(InputThread const&) = delete;
    InputThread& operator=(InputThread const&) = delete;

    /** A descriptor that is readable when something has changed since acknowledge(). */
    int fd() const;
    void acknowledge();

    State state() const;
    /** Why the input could not be opened or read further. */
    std::exception_ptr failure() const;

    /** Whether the input is played as fast as possible; false until it is open. */
    bool can_wait() const;

    bool has_frame() const;
    /** The oldest frame that waits; none when none does. */
    std::optional<InputFrame> take();

    /** What the input is and how it is doing, with the frames that were read and that wait. */
    Kit::InputStatus status() const;

    /** Has the thread end after the call that it is in; frames that wait can still be taken. */
    void stop();
    /** Whether it has. */
    bool is_finished() const;

    /** How long the thread has been in one call of the input; 0 when it is in none. */
    Clock::duration stuck_for(Clock::time_point now) const;

private:
    class Work;

    std::shared_ptr<Work> work_;
    std::thread thread_;
};

}  // namespace Service
