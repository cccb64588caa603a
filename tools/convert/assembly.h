#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "tools/input/damage_report.h"
#include "tools/input/frame_input.h"
#include "tools/output/destination.h"
#include "tools/output/recording.h"

namespace Tools {

/**
 * Makes one complete recording of frames that may come from several: their payloads and tags as
 * they were, under the header of the first frame's recording. One recording has the records of one
 * recorder. The messages outlive it. One thread at a time.
 */
class RecordingAssembly {
public:
    /** @throws Kit::Error when there cannot be a file of that name. */
    RecordingAssembly(OutputOptions const& output, Messages const& messages);

    /**
     * Adds the input's frame, which is its current item or was its last one.
     *
     * @param header of the frame's recording; none where it has none, as in a stream. The
     *        recording's header is then made up.
     * @param report is told when the header says otherwise than the recording's.
     * @throws Kit::InputError when the frame is another recorder's, and what the file throws.
     */
    void add(FrameInput const& input, std::optional<Kit::RecordingHeader> const& header,
             DamageReport& report);

    /** Completes the recording. Without a frame there is none. */
    void finish();

    uint64_t frames() const { return recording_ ? recording_->records() : 0; }

private:
    void begin(FrameInput const& input, std::optional<Kit::RecordingHeader> const& header);
    void compare(std::string const& file, Kit::RecordingHeader const& header, DamageReport& report);

    OutputOptions output_;
    Messages const& messages_;
    std::unique_ptr<RecordingOutput> recording_;
    Kit::RecordingHeader begun_with_;
    std::set<std::string> told_;  // headers that are lost
    uint32_t tag_ = 0;
};

/** The header that an input's frames come under, as far as it was read. */
class CurrentHeader {
public:
    /** Takes the input's item. */
    void add(FrameInput const& input);

    std::optional<Kit::RecordingHeader> const& get() const { return header_; }

private:
    std::optional<Kit::RecordingHeader> header_;
};

}  // namespace Tools
