#pragma once

#include <gmock/gmock.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/support/private_paths.h"
#include "tests/support/process.h"
#include "tests/support/recording_bytes.h"

namespace tools_test {

using test_support::kBegin;
using test_support::Outcome;
using test_support::run;
using test_support::steady_recording;

constexpr char kRecording[] = "/tmp/radar_150525_093007_042.data";

/** The verb `cat` on a recording. */
class CatTest : public test_support::PrivatePathsTest {
protected:
    static Outcome cat(std::vector<std::string> const& options,
                       std::string const& source = kRecording) {
        std::vector<std::string> arguments = {"cat", source};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run(arguments);
    }

    /** What is printed of ten frames that are 100 ms apart: the ms of each after the first. */
    static std::string selected(std::vector<std::string> options) {
        test_support::write_file(kRecording, steady_recording(10, 100000));
        options.insert(options.end(), {"--format", "csv", "--fields", "timestamp"});
        const Outcome outcome = cat(options);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return milliseconds(outcome.out);
    }

    /** The times in what "--format csv --fields timestamp" printed. */
    static std::string milliseconds(std::string const& printed) {
        std::istringstream lines(printed);
        std::string line;
        std::getline(lines, line);
        EXPECT_EQ(line, "timestamp_us");
        std::string all;
        while (std::getline(lines, line)) {
            all += (all.empty() ? "" : " ") + std::to_string((std::stoull(line) - kBegin) / 1000);
        }
        return all;
    }
};

}  // namespace tools_test
