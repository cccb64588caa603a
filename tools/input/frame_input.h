#pragma once

#include <cstdint>

#include "tools/input/handler.h"
#include "tools/input/selection.h"

namespace Tools {

/**
 * Reads a SOURCE from front to back: a file, a directory with the rotated files of one recorder in
 * order of time, standard input, or a live stream. Continues after damage, which it reports as
 * findings. Opened by open_frame_input() in open.h.
 *
 * Memory is bounded by the largest record, whatever the size of the source. One thread at a time.
 */
class FrameInput {
public:
    virtual ~FrameInput() = default;
    FrameInput(FrameInput const&) = delete;
    FrameInput& operator=(FrameInput const&) = delete;

    /**
     * Delivers the next item, exactly one. Returns false without one at the end, which is that of
     * the source or the selection, or the user's Ctrl-C: is_interrupted().
     *
     * @throws Kit::InputError when a file cannot be read that is all of the source; in a directory,
     *         and after its first frame, that is a finding. And what the handler throws.
     */
    bool next(InputHandler& handler);

    /** Whether the user's Ctrl-C ended the input. */
    bool is_interrupted() const { return interrupted_; }

    /** Whether Ctrl-C is how it usually ends: a live stream, or files that are followed. */
    virtual bool is_endless() const = 0;

    /** Bytes that were read, and that there are to read; 0 when that is not known. */
    virtual uint64_t bytes_done() const = 0;
    virtual uint64_t bytes_total() const = 0;

protected:
    explicit FrameInput(Selection selection) : selection_(std::move(selection)) {}

    /** Delivers the next item, every frame without its number; false at the end. */
    virtual bool read(InputHandler& items) = 0;

    /** Ctrl-C came during read(), which returns false then. */
    void interrupt() { interrupted_ = true; }

private:
    class SelectedItems;

    Selection selection_;
    uint64_t frame_count_ = 0;
    bool over_ = false;
    bool interrupted_ = false;
};

/** Delivers every item up to the end. Throws what FrameInput::next() throws. */
void read_all(FrameInput& input, InputHandler& handler);

}  // namespace Tools
