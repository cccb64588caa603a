#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "radar_objects/radar_objects.pb.h"
#include "tools/output.h"

namespace Tools {

/** How frames are printed. docs/frame-output.md describes each. */
enum class FrameFormat {
    kLines,   // one line a frame, for people
    kText,    // protobuf's debug text
    kNdjson,  // one JSON object a line and frame
    kCsv      // one line a target, in the form of detection logs
};

/** The names of the formats on the command line. */
std::vector<std::string> frame_format_names();

/** The format of that name; kLines for every other. */
FrameFormat frame_format(std::string const& name);

/**
 * Prints frames, one after the other, on an output that outlives it. Flushes nothing. Throws what
 * the output throws.
 */
class FramePrinter {
public:
    FramePrinter(FrameFormat format, Output& out);

    /** Prints what stands before the first frame. Called by print() where it was not. */
    void begin();

    /** Prints a frame. The frames are numbered from 0 on. */
    void print(RO::RadarObjects const& frame);

private:
    void print_line(RO::RadarObjects const& frame);
    void print_json(RO::RadarObjects const& frame);
    void print_rows(RO::RadarObjects const& frame);

    FrameFormat format;
    Output& out;
    bool begun = false;
    uint64_t index = 0;
};

/** The shortest decimal form that reads back as the same float. */
std::string exact_text(float value);

}  // namespace Tools
