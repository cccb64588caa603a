#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/input/frame_input.h"
#include "tools/output/file.h"

namespace Tools {

/** The names of the formats that frames are exported in. docs/export.md describes each. */
std::vector<std::string> export_format_names();

/** The format that the end of a file's name says; empty when it says none. */
std::string export_format_of(std::string const& path);

/**
 * A file in which frames of a source are exported. The file outlives it, and is finished by its
 * owner. One thread at a time. Throws what the file throws.
 */
class FrameExport {
public:
    FrameExport() = default;
    virtual ~FrameExport() = default;
    FrameExport(FrameExport const&) = delete;
    FrameExport& operator=(FrameExport const&) = delete;

    /** Takes the header of a recording, where the format has room for it. */
    virtual void add_header(Kit::RecordingHeader const& header) = 0;

    virtual void add_frame(InputFrame const& frame) = 0;

    /** Writes what is still to be written. */
    virtual void finish() = 0;

    /** What the format could not say, as part of a line; empty when it said everything. */
    virtual std::string loss() const { return ""; }
};

/** @param format one of export_format_names(). */
std::unique_ptr<FrameExport> make_frame_export(std::string const& format, OutputFile& file);

/** The format "mcap". */
std::unique_ptr<FrameExport> make_mcap_export(OutputFile& file);

}  // namespace Tools
