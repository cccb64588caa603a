#pragma once

#include <memory>
#include <vector>

#include "tools/format/fields.h"
#include "tools/format/text_buffer.h"
#include "tools/input/frame.h"

namespace Tools {

/**
 * A form in which frames are printed; docs/frame-output.md describes each. A frame costs no memory,
 * however many targets it has. One thread at a time.
 */
class FrameForm {
public:
    FrameForm() = default;
    virtual ~FrameForm() = default;
    FrameForm(FrameForm const&) = delete;
    FrameForm& operator=(FrameForm const&) = delete;

    /** Adds what stands before the first frame. */
    virtual void begin(TextBuffer& text) = 0;

    /** Adds a frame, under its number. */
    virtual void append(InputFrame const& frame, TextBuffer& text) = 0;
};

// Of each frame only these fields are printed; all of them when there are none.

/** One row a target, in the form of detection logs; without a target's field one row a frame. */
std::unique_ptr<FrameForm> make_csv_form(std::vector<FrameField> fields);

/** One JSON object a line and frame. */
std::unique_ptr<FrameForm> make_ndjson_form(std::vector<FrameField> const& fields);

/** Protobuf's debug text. @throws UsageError when kFrameIndex is wanted, which it does not have. */
std::unique_ptr<FrameForm> make_text_form(std::vector<FrameField> const& fields);

/** One line a frame, for people. */
std::unique_ptr<FrameForm> make_line_form();

}  // namespace Tools
