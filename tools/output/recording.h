#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kit/recording/files.h"
#include "kit/recording/format.h"
#include "tools/output/file.h"

namespace Tools {

/**
 * A complete recording that is written: a header, and records, whose count the header has in the
 * end. It appears under its name whole, or not at all: see OutputFile. One thread at a time.
 *
 *     RecordingOutput output(directory + "/" + complete_name(file, header), force, header);
 *     output.add(tag, payload);
 *     output.finish();
 *
 * All throws Kit::Error "path: reason" when the system refuses.
 */
class RecordingOutput {
public:
    /**
     * @param path of the file; a recorder's name ends with ".data".
     * @param force whether it may replace a file that is there.
     * @param header what the header says but for magic, version and count, which are made right.
     */
    RecordingOutput(std::string const& path, bool force, Kit::RecordingHeader header);

    /** Adds a record. The payload is a frame's encoding, at most Kit::kLargestPayload bytes. */
    void add(uint32_t tag, std::string_view payload);

    /** Completes the file and gives it its name. */
    void finish();

    std::string const& path() const { return file_.path(); }
    uint64_t records() const { return count_; }
    uint64_t size() const { return file_.size(); }

private:
    OutputFile file_;
    uint64_t count_ = 0;
};

/**
 * The name, without a directory, that a complete copy of `file` has: its own, with ".data". A file
 * that has no recorder's name gets one of the time in `header` and the prefix "radar", that of
 * frames.
 */
std::string complete_name(Kit::RecordingFile const& file, Kit::RecordingHeader const& header);

}  // namespace Tools
