#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "kit/stream/client.h"
#include "tests/support/eventually.h"
#include "tests/support/private_paths.h"
#include "tests/support/process.h"
#include "tests/support/recording_bytes.h"
#include "tests/support/stream_frames.h"

namespace tools_test {

using Kit::StreamClient;
using test_support::kBegin;
using test_support::Program;
using test_support::steady_recording;
using test_support::Surroundings;

constexpr char kRecording[] = "/tmp/radar_150525_093007_042.data";
constexpr char kSocket[] = "/tmp/play.sock";

/** A recording that is played. */
class PlayTest : public test_support::PrivatePathsTest {
protected:
    static std::vector<std::string> with_defaults(std::vector<std::string> const& options) {
        std::vector<std::string> arguments = {"play", kRecording, "--socket", kSocket};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return arguments;
    }

    std::unique_ptr<Program> start(std::vector<std::string> const& options,
                                   Surroundings const& surroundings = {}) const {
        return std::make_unique<Program>(with_defaults(options), surroundings);
    }

    /** Connects as soon as the program serves. */
    static std::unique_ptr<StreamClient> connect() {
        std::unique_ptr<StreamClient> client;
        EXPECT_TRUE(test_support::eventually([&] {
            try {
                client = std::make_unique<StreamClient>(kSocket);
            } catch (std::exception const&) {
                return false;
            }
            return true;
        }));
        return client;
    }

    /** The next frame's time after the recording's begin, in us; none at the end of the stream. */
    static std::vector<uint64_t> next(StreamClient& client, size_t count = 1) {
        std::vector<uint64_t> times;
        Kit::StreamFrame frame;
        while (times.size() < count &&
               client.next(frame, std::chrono::seconds(30)) == StreamClient::Result::kFrame) {
            times.push_back(frame.objects.timestamp() - kBegin);
        }
        return times;
    }

    /** Plays to the end for one client and gives the times of its frames. */
    static std::vector<uint64_t> played(std::vector<std::string> options) {
        options.insert(options.end(), {"--rate", "max", "--wait"});
        Program program(with_defaults(options));
        const auto client = connect();
        auto times = next(*client, 100000);
        EXPECT_EQ(program.finish().status, 0);
        return times;
    }
};

}  // namespace tools_test
