#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "kit/base/block_reader.h"
#include "kit/frames/source.h"
#include "kit/recording/scanner.h"

namespace Kit {

/**
 * The frames of a recording: of one file, or of a directory with the files of one recorder, in
 * order of the time at which they were begun. Files of a directory that hold raw data are skipped
 * with a message in the log, and files that are no recordings without one.
 *
 * A file that the recorder has not completed, by its name, ends with its last whole
 * record. All other damage is an InputError, "radar_150525_093007_042.data: offset 40: reason";
 * the header's count is not compared. After an InputError only rewind() and destruction are
 * meaningful.
 *
 * Owns the file that is open. One thread at a time.
 */
class RecordingSource : public FrameSource {
public:
    /**
     * Opens a file, "-" being standard input, or the first file of a directory.
     *
     * @throws InputError also when a directory holds no recordings or those of several recorders.
     */
    explicit RecordingSource(std::string const& path);
    /** Takes an input that is at its front. */
    explicit RecordingSource(std::unique_ptr<BlockReader> input);

    bool next(RO::RadarObjects& frame) override;
    void rewind() override;

private:
    /** The files, unless there is only the one that is open. */
    std::vector<std::string> files_;
    size_t next_file_ = 0;
    std::unique_ptr<RecordingScanner> scanner_;

    void open_next_file();
    bool ends_with(Finding const& finding);
    [[noreturn]] void fail(Finding const& finding) const;
};

}  // namespace Kit
