#pragma once

#include <memory>
#include <vector>

#include "tools/format/fields.h"
#include "tools/format/text_buffer.h"
#include "tools/input/frame.h"

namespace Tools {

/**
 * A format in which frames are printed; docs/frame-output.md describes each. A frame costs no
 * memory, however many targets it has. One thread at a time.
 */
class FrameFormatter {
public:
    FrameFormatter() = default;
    virtual ~FrameFormatter() = default;
    FrameFormatter(FrameFormatter const&) = delete;
    FrameFormatter& operator=(FrameFormatter const&) = delete;

    /** Adds what stands before the first frame. */
    virtual void begin(TextBuffer& text) = 0;

    /** Adds a frame, under its number. */
    virtual void append(InputFrame const& frame, TextBuffer& text) = 0;
};

// Of each frame only these fields are printed; all of them when there are none.

/** One row a target, in the format of detection logs; without a target's field one row a frame. */
std::unique_ptr<FrameFormatter> make_csv_formatter(std::vector<FrameField> fields);

/** One JSON object a line and frame. */
std::unique_ptr<FrameFormatter> make_ndjson_formatter(std::vector<FrameField> const& fields);

/** Protobuf's debug text. @throws Kit::UsageError when kFrameIndex is wanted, which it does not
 * have. */
std::unique_ptr<FrameFormatter> make_text_formatter(std::vector<FrameField> const& fields);

/** One line a frame, for people. */
std::unique_ptr<FrameFormatter> make_line_formatter();

}  // namespace Tools
