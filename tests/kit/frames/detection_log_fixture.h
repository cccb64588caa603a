#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "kit/base/input_error.h"
#include "kit/frames/detection_log.h"
#include "tests/support/private_paths.h"

namespace detections_test {

constexpr char kHeader[] = "frame_index,timestamp_us,rcs,r,rdot,theta,options,snr\n";
constexpr char kPath[] = "/tmp/log.csv";

/** Detection logs at a private path. */
class DetectionLogTest : public test_support::PrivatePathsTest {
protected:
    /** The frames of a log with this content. */
    static std::vector<RO::RadarObjects> frames(std::string const& content) {
        test_support::write_file(kPath, content);
        Kit::DetectionLog log(kPath);
        return frames(log);
    }

    static std::vector<RO::RadarObjects> frames(Kit::FrameSource& source) {
        std::vector<RO::RadarObjects> result;
        RO::RadarObjects frame;
        while (source.next(frame)) result.push_back(frame);
        return result;
    }

    /** What is the matter with a log of this content. */
    static std::string problem(std::string const& content) {
        try {
            frames(content);
        } catch (Kit::InputError const& error) {
            return error.what();
        }
        return "no problem";
    }

    /** What is the matter with a line of a log that is right otherwise. */
    static std::string row_problem(std::string const& row) { return problem(kHeader + row); }
};

}  // namespace detections_test
