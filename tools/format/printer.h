#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "radar_objects/radar_objects.pb.h"
#include "tools/cli/output.h"
#include "tools/format/fields.h"
#include "tools/format/formatter.h"
#include "tools/format/text_buffer.h"
#include "tools/format/workers.h"
#include "tools/input/frame.h"

namespace Tools {

/** How frames are printed. docs/frame-output.md describes each. */
enum class FrameFormat {
    kLines,   // one line a frame, for people
    kText,    // protobuf's debug text
    kNdjson,  // one JSON object a line and frame
    kCsv      // one line a target, in the format of detection logs
};

/** The names of the formats on the command line. */
std::vector<std::string> frame_format_names();

/** The format of that name; kLines for every other. */
FrameFormat frame_format(std::string const& name);

/**
 * Prints frames, one after the other, on an output that outlives it. Flushes nothing, and holds the
 * end of what print() was given until hand_over(). Throws what the output throws.
 */
class FramePrinter {
public:
    /**
     * @param fields what is printed of each frame; everything when empty. Lines have no fields.
     * @throws Kit::UsageError when the format does not have one of the fields.
     */
    FramePrinter(FrameFormat format, Output& out, std::vector<FrameField> const& fields = {});
    /** The same, into whatever takes the text. */
    FramePrinter(FrameFormat format, TextBuffer::Write write,
                 std::vector<FrameField> const& fields = {});

    /** From now on has the work done by several threads, where the machine and the format allow. */
    void use_threads();

    /** Prints what stands before the first frame. Called by print() where it was not. */
    void begin();

    /** Prints a frame under its number. */
    void print(InputFrame const& frame);

    /** Prints a frame and hands it over. The frames are numbered from 0 on. */
    void print(RO::RadarObjects const& frame);

    /** Gives the output what it does not have yet. */
    void hand_over();

private:
    FrameFormat format_;
    std::vector<FrameField> fields_;
    TextBuffer::Write write_;
    std::unique_ptr<FrameFormatter> formatter_;
    TextBuffer text_;
    std::unique_ptr<FormatWorkers> workers_;
    bool begun_ = false;
    uint64_t index_ = 0;
};

/** The shortest decimal form that reads back as the same float. */
std::string exact_text(float value);

}  // namespace Tools
