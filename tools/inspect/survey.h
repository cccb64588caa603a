#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kit/recording/files.h"
#include "tools/input/file_state.h"
#include "tools/input/frame_input.h"
#include "tools/input/timing.h"

namespace Tools {

/** What there is to know of one file of a source. */
struct FileSurvey {
    Kit::RecordingFile file;
    FileState state = FileState::kUnknown;
    uint64_t bytes = 0;                          // that were read
    std::optional<Kit::RecordingHeader> header;  // the first one
    uint64_t headers = 0;
    uint64_t records = 0;
    uint64_t damaged_places = 0;
    uint64_t skipped_bytes = 0;
    /** Where it is cut off, in bytes. */
    std::optional<uint64_t> cut_offset;
    /** Whether the headers count what was found; none when that cannot be told. */
    std::optional<bool> frame_count_agrees;
};

/**
 * Collects what there is to know of a source while it is read. Holds a few hundred bytes for each
 * file, and nothing for a frame. One thread at a time.
 */
class SourceSurvey : public InputHandler {
public:
    /** @param input the source's, whose items it takes; outlives it. */
    explicit SourceSurvey(FrameInput const& input) : input_(input) {}

    void on_file(Kit::RecordingFile const& file, FileState state) override;
    void on_header(Kit::RecordingHeader const& header) override;
    void on_frame(InputFrame const& frame) override;
    void on_finding(Kit::Finding const& finding) override;
    void on_note(std::string const&) override {}

    /** The input has ended. */
    void finish();

    std::vector<FileSurvey> const& files() const { return surveys_; }
    FrameTiming const& timing() const { return frame_timing_; }
    /** The number of records of each tag. */
    std::map<uint32_t, uint64_t> const& tags() const { return tag_counts_; }

    uint64_t bytes() const { return byte_count_; }
    uint64_t records() const { return frame_timing_.frames(); }
    uint64_t targets() const { return target_count_; }
    uint32_t fewest_targets() const { return fewest_; }
    uint32_t most_targets() const { return most_; }
    uint64_t skipped_bytes() const;

private:
    void end_file();

    FrameInput const& input_;
    std::vector<FileSurvey> surveys_;
    FrameTiming frame_timing_;
    std::map<uint32_t, uint64_t> tag_counts_;
    uint64_t* tag_count_ = nullptr;  // of the last tag
    uint32_t tag_ = 0;
    uint64_t byte_count_ = 0;
    uint64_t file_begin_ = 0;
    uint64_t target_count_ = 0;
    uint32_t fewest_ = 0;
    uint32_t most_ = 0;
};

}  // namespace Tools
