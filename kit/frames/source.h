#pragma once

#include "radar_objects/radar_objects.pb.h"

namespace Kit {

/**
 * A source of frames: a synthetic scene, a detection log or a recording. Frames have the magic
 * of every radar frame, timestamps in microseconds, ranges in m, speeds in m/s (positive is
 * receding), angles in rad (0 is boresight, positive is right), rcs and snr in dB. One thread at a
 * time.
 */
class FrameSource {
public:
    FrameSource() = default;
    virtual ~FrameSource() = default;
    FrameSource(FrameSource const&) = delete;
    FrameSource& operator=(FrameSource const&) = delete;

    /**
     * Replaces `frame` by the next one. Returns false at the end, which leaves `frame` undefined.
     *
     * @throws InputError when the input is damaged, with the place: "log.csv:12:3: not a number".
     */
    virtual bool next(RO::RadarObjects& frame) = 0;

    /**
     * Returns to before the first frame.
     *
     * @throws InputError when the input cannot be read again.
     */
    virtual void rewind() = 0;
};

}  // namespace Kit
