#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/input/handler.h"
#include "tools/output/file.h"

namespace Tools {

/** The names of the formats that frames are exported in. docs/export.md describes each. */
std::vector<std::string> export_format_names();

/** The format that the end of a file's name says; empty when it says none. */
std::string export_format_of(std::string const& path);

/**
 * A file in which the frames of an input are exported, and the headers where the format has room
 * for them. The file outlives it, and is finished by its owner. One thread at a time. Throws what
 * the file throws.
 */
class FrameExport : public InputHandler {
public:
    // No format has room for these.
    void on_file(Kit::RecordingFile const&, FileState) final {}
    void on_finding(Kit::Finding const&) final {}
    void on_note(std::string const&) final {}

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
