#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace Tools {

/**
 * A bar on standard error that shows how far the work has come. Drawn when standard error is a
 * terminal that can do it and the work has taken more than a second; gone when the object is. One
 * thread at a time.
 */
class ProgressBar {
public:
    enum class Use {
        kWherePossible,
        /** Not when standard output is a terminal, too: data would be printed into the bar. */
        kNotBesideData,
        /** Not at all: the work takes as long as the user wants. */
        kNever
    };

    explicit ProgressBar(Use use);
    ~ProgressBar();
    ProgressBar(ProgressBar const&) = delete;
    ProgressBar& operator=(ProgressBar const&) = delete;

    /**
     * How many of `total` bytes are done; 0 when the total is not known. Cheap enough for every
     * frame.
     */
    void update(uint64_t done, uint64_t total) {
        if (enabled_ && ++calls_ % kCallsPerLook == 0) look(done, total);
    }

    /** Removes the bar, so that a message can be printed. It comes back with the next update(). */
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    static constexpr unsigned kCallsPerLook = 64;

    void look(uint64_t done, uint64_t total);

    bool enabled_;
    bool drawn_ = false;
    unsigned calls_ = 0;
    Clock::time_point begin_ = Clock::now();
    Clock::time_point next_ = begin_ + std::chrono::seconds(1);
};

/** The bar's text for a window of `columns` characters. */
std::string progress_text(uint64_t done, uint64_t total, double seconds, int columns);

}  // namespace Tools
