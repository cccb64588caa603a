// What the library's recorders write, as the kit reads it.

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "filewriter/object_file_writer.h"
#include "kit/frames/recording_source.h"
#include "tests/support/private_paths.h"
#include "tests/support/random_frames.h"
#include "tests/support/system_calls.h"

namespace {

constexpr char kDirectory[] = "/tmp/d";

/** Frames that a recorder of the library has written, with a clock that the test moves. */
class RecordedFramesTest : public test_support::PrivatePathsTest {
protected:
    test_support::SystemCalls system_calls;
    int64_t now_ms = 1747301407042;

    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        setenv("TZ", "UTC", 1);
        make_empty_directory();
        system_calls.gettimeofday = [this](timeval* now) {
            ++now_ms;  // two files of one millisecond would have one name
            *now = {static_cast<time_t>(now_ms / 1000),
                    static_cast<suseconds_t>(now_ms % 1000 * 1000)};
            return 0;
        };
        system_calls.time = [this] { return static_cast<time_t>(now_ms / 1000); };
    }

    static void make_empty_directory() {
        std::filesystem::remove_all(kDirectory);
        std::filesystem::create_directory(kDirectory);
    }

    /** Records random frames and returns their encodings. */
    std::vector<std::string> write_frames(test_support::Random& random, uint32_t count) {
        Radar::ObjectFileWriter writer(static_cast<int>(random.below(0x10000)), kDirectory,
                                       1 + random.below(5), true, 40 + random.below(20000));
        std::vector<std::string> encodings;
        const uint32_t most = random.below(100);
        for (uint32_t i = 0; i < count; ++i) {
            Radar::SocketBuffer buffer(1000);
            buffer.set_data(test_support::random_frame(random, most).SerializeAsString());
            encodings.push_back(buffer.data());
            writer.write(buffer);
            now_ms += random.below(400);
        }
        return encodings;
    }

    static std::vector<std::string> read_frames() {
        std::vector<std::string> encodings;
        Kit::RecordingSource source(kDirectory);
        RO::RadarObjects frame;
        while (source.next(frame)) encodings.push_back(frame.SerializeAsString());
        return encodings;
    }
};

TEST_F(RecordedFramesTest, WhatARecorderWroteIsReadBack) {
    for (uint32_t seed = 1; seed <= 40; ++seed) {
        test_support::Random random(seed);
        const auto written = write_frames(random, random.below(200) + 1);
        ASSERT_EQ(read_frames(), written) << "seed " << seed;
        make_empty_directory();
    }
}

TEST_F(RecordedFramesTest, RotationGivesManyFiles) {
    test_support::Random random(3);
    write_frames(random, 200);
    EXPECT_GT(test_support::list_directory(kDirectory).size(), 5u);
}

TEST_F(RecordedFramesTest, FramesAreReadWhileTheyAreRecorded) {
    Radar::ObjectFileWriter writer(7, kDirectory, 900, true, 0);
    Radar::SocketBuffer buffer(1);
    for (uint64_t time = 1; time <= 3; ++time) {
        buffer.set_timestamp(time);
        writer.write(buffer);
    }
    std::vector<uint64_t> timestamps;
    Kit::RecordingSource source(kDirectory);
    RO::RadarObjects frame;
    while (source.next(frame)) timestamps.push_back(frame.timestamp());
    EXPECT_THAT(timestamps, testing::ElementsAre(1, 2, 3));
}

}  // namespace
