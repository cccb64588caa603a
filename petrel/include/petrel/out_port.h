#pragma once

namespace Petrel {

/**
 * A typed output of a block: holds the last value written to it, and whether that value was
 * acknowledged since. Owns its value. One thread at a time. Neither copied nor moved.
 */
template <typename T>
class OutPort {
public:
    OutPort() = default;
    OutPort(OutPort const&) = delete;
    OutPort& operator=(OutPort const&) = delete;

    /** Stores a copy of `value`, makes it the current value and marks the port as updated. */
    OutPort& operator=(T const& value) {
        slot_ = value;
        current_ = &slot_;
        updated_ = true;
        return *this;
    }

    /** The last value written, valid until the next one; null before the first. */
    T const* current() const { return current_; }

    /** Whether a value was written since the last acknowledge(). */
    bool updated() const { return updated_; }

    /** Clears the mark that updated() answers; the value stays. */
    void acknowledge() { updated_ = false; }

private:
    T slot_{};
    T const* current_ = nullptr;
    bool updated_ = false;
};

}  // namespace Petrel
