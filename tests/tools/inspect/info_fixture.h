#pragma once

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/private_paths.h"
#include "tests/support/process.h"
#include "tests/support/recording_bytes.h"

namespace tools_test {

using test_support::Outcome;
using test_support::run;

constexpr char kRecording[] = "/tmp/radar_150525_093007_042.data";

/** The verb `info` on a recording. */
class InfoTest : public test_support::PrivatePathsTest {
protected:
    static Outcome info(std::string const& source = kRecording) { return run({"info", source}); }

    static nlohmann::json json(std::string const& source = kRecording, int status = 0) {
        const Outcome outcome = run({"info", "--format", "json", source});
        EXPECT_EQ(outcome.status, status) << outcome.err;
        return nlohmann::json::parse(outcome.out, nullptr, false);
    }

    /** Three frames with no, two and one target. */
    static std::string golden() {
        return test_support::read_file(PETRELRADAR_SOURCE_DIR "/tests/data/object_recording.data");
    }
};

}  // namespace tools_test
