#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "tools/input/damage_report.h"
#include "tools/input/frame.h"
#include "tools/output/destination.h"
#include "tools/output/recording.h"

namespace Tools {

/** Where a frame comes from. */
struct FrameOrigin {
    std::string file;  // as messages name it
    /** In front of the frame in the file; none where it has none, as in a stream. */
    std::optional<Kit::RecordingHeader> header;
};

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
     * Adds a frame. The first one's header becomes the recording's; without one it is made up.
     *
     * @param report takes the loss of a header that says otherwise than the recording's.
     * @throws Kit::InputError when the frame is another recorder's, and what the file throws.
     */
    void add(InputFrame const& frame, FrameOrigin const& origin, DamageReport& report);

    /** Completes the recording. Without a frame there is none. */
    void finish();

    uint64_t frames() const { return recording_ ? recording_->records() : 0; }

private:
    void begin(InputFrame const& frame, FrameOrigin const& origin);
    void compare(std::string const& file, Kit::RecordingHeader const& header, DamageReport& report);

    OutputOptions output_;
    Messages const& messages_;
    std::unique_ptr<RecordingOutput> recording_;
    Kit::RecordingHeader begun_with_;
    std::set<std::string> told_;  // headers that are lost
    uint32_t tag_ = 0;
};

}  // namespace Tools
