// The sources of the verb info.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "kit/stream/relay.h"
#include "tests/support/eventually.h"
#include "tests/support/stream_frames.h"
#include "tests/tools/inspect/info_fixture.h"

namespace {

using Json = nlohmann::json;
using test_support::frame;
using test_support::kBegin;
using test_support::Outcome;
using test_support::read_file;
using test_support::steady_recording;
using test_support::write_file;
using testing::HasSubstr;
using tools_test::InfoTest;
using tools_test::kRecording;

constexpr char kUnfinished[] = "/tmp/radar_150525_093007_042";

TEST_F(InfoTest, ACompleteFileIsCalledSo) {
    write_file(kRecording, steady_recording(1, 0));
    EXPECT_EQ(json()["files"][0]["state"], "complete");
}

TEST_F(InfoTest, AFileThatARecorderLeftBehindIsUnfinished) {
    write_file(kUnfinished, steady_recording(1, 0));
    EXPECT_EQ(json(kUnfinished)["files"][0]["state"], "unfinished");
}

TEST_F(InfoTest, AFileThatARecorderHasOpenIsBeingWritten) {
    write_file(kUnfinished, steady_recording(2, 1000) + "\x07");
    const int recorder = open(kUnfinished, O_WRONLY | O_CLOEXEC);
    const Json file = json(kUnfinished)["files"][0];
    close(recorder);
    EXPECT_EQ(file["state"], "being-written");
    EXPECT_EQ(file["frame_count_agrees"], nullptr);
    EXPECT_EQ(file["records"], "2");
}

TEST_F(InfoTest, AFileWithAnotherNameIsUnknown) {
    write_file("/tmp/copy.bin", steady_recording(1, 0));
    EXPECT_EQ(json("/tmp/copy.bin")["files"][0]["state"], "unknown");
    EXPECT_THAT(info("/tmp/copy.bin").out, HasSubstr("condition     no recorder's name\n"));
}

TEST_F(InfoTest, ADirectoryIsOneRecordingOfSeveralFiles) {
    write_file("/tmp/radar_150525_093007_042.data", steady_recording(2, 1000));
    write_file("/tmp/radar_150525_093007_900", steady_recording(3, 1000));
    const Json all = json("/tmp");
    EXPECT_EQ(all["kind"], "directory");
    EXPECT_EQ(all["records"], "5");
    ASSERT_EQ(all["files"].size(), 2U);
    EXPECT_EQ(all["files"][0]["path"], "/tmp/radar_150525_093007_042.data");
    EXPECT_EQ(all["files"][1]["records"], "3");
    EXPECT_THAT(info("/tmp").out,
                HasSubstr("file          /tmp/radar_150525_093007_900: 3 records, unfinished\n"));
}

TEST_F(InfoTest, StandardInputIsRead) {
    write_file(kRecording, steady_recording(2, 1000));
    const std::string command = std::string("cat ") + kRecording + " | " + PETRELRADAR_PROGRAM +
                                " info --format json - > /tmp/out";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 0);
    const Json all = Json::parse(read_file("/tmp/out"));
    EXPECT_EQ(all["kind"], "standard-input");
    EXPECT_EQ(all["records"], "2");
}

TEST_F(InfoTest, ALiveStreamIsToldAboutAtItsEnd) {
    Kit::Relay relay(Kit::RelayOptions{"/tmp/radar.sock"});
    test_support::Program program({"info", "--format", "json", "unix:/tmp/radar.sock"});
    ASSERT_TRUE(test_support::eventually([&] { return !relay.counters().clients.empty(); }));
    relay.publish(Kit::stream_frame(frame(kBegin, {{1, 0, 0}})));
    relay.stop(std::chrono::seconds(30));
    const Json all = Json::parse(program.finish().out);
    EXPECT_EQ(all["kind"], "stream");
    EXPECT_EQ(all["records"], "1");
    EXPECT_EQ(all["tags"], Json::array());
}

TEST_F(InfoTest, AnEmptyFileIsAFailure) {
    write_file(kRecording, "");
    const Outcome outcome = info();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
}

TEST_F(InfoTest, AMissingFileIsAFailure) {
    EXPECT_EQ(info().status, 1);
}

}  // namespace
