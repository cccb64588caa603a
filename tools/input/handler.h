#pragma once

#include <string>

#include "kit/recording/files.h"
#include "kit/recording/finding.h"
#include "kit/recording/format.h"
#include "tools/input/file_state.h"
#include "tools/input/frame.h"

namespace Tools {

/**
 * Takes the items of a FrameInput, one function for each kind: a kind that a verb does not consider
 * does not compile. What the arguments refer to holds until the input's next item. What a function
 * throws ends FrameInput::next() with it.
 */
class InputHandler {
public:
    InputHandler() = default;
    virtual ~InputHandler() = default;
    InputHandler(InputHandler const&) = delete;
    InputHandler& operator=(InputHandler const&) = delete;

    /** A file, standard input or a stream begins; the items that follow are in it. */
    virtual void on_file(Kit::RecordingFile const& file, FileState state) = 0;

    /** The header of a recording, of which most files have one. */
    virtual void on_header(Kit::RecordingHeader const& header) = 0;

    /** A selected frame. */
    virtual void on_frame(InputFrame const& frame) = 0;

    /** A defect of the file. */
    virtual void on_finding(Kit::Finding const& finding) = 0;

    /** A line for the user about the source; nothing is lost. */
    virtual void on_note(std::string const& note) = 0;
};

}  // namespace Tools
