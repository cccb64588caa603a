// The sources of the verb cat.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "kit/stream/relay.h"
#include "tests/support/eventually.h"
#include "tests/support/stream_frames.h"
#include "tests/tools/inspect/cat_fixture.h"

namespace {

using test_support::frame;
using test_support::header;
using test_support::kBegin;
using test_support::Outcome;
using test_support::Program;
using test_support::read_file;
using test_support::record;
using test_support::recording;
using test_support::steady_recording;
using test_support::write_file;
using testing::HasSubstr;
using testing::StartsWith;
using tools_test::CatTest;
using tools_test::kRecording;

TEST_F(CatTest, ADirectoryIsReadInOrderOfTimeUnfinishedFilesIncluded) {
    std::filesystem::create_directory("/tmp/a");
    write_file("/tmp/a/radar_150525_093007_500", recording({frame(kBegin + 3000, {{1, 0, 0}})}));
    write_file("/tmp/a/radar_150525_093007_042.data",
               recording({frame(kBegin + 1000, {{1, 0, 0}})}));
    write_file("/tmp/a/radar_150525_093007_100.data",
               recording({frame(kBegin + 2000, {{1, 0, 0}})}));
    write_file("/tmp/a/notes.txt", "nothing");
    const Outcome outcome = cat({"--format", "csv", "--fields", "timestamp"}, "/tmp/a");
    EXPECT_EQ(milliseconds(outcome.out), "1 2 3");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
}

/** A directory with the files of recorders 7 and 8. */
class CatRecordersTest : public CatTest {
protected:
    void SetUp() override {
        CatTest::SetUp();
        if (IsSkipped()) return;
        write_file("/tmp/radar_150525_093007_042.data",
                   header(1) + record(frame(kBegin, {{1, 0, 0}}), 0xFEED0007));
        write_file("/tmp/other_150525_093007_042.data",
                   header(1) + record(frame(kBegin, {{2, 0, 0}}), 0xFEED0008));
    }
};

TEST_F(CatRecordersTest, WithoutAChoiceTheyAreNamed) {
    const Outcome outcome = cat({}, "/tmp");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("radar 0xFEED0007"));
    EXPECT_THAT(outcome.err, HasSubstr("other 0xFEED0008"));
}

TEST_F(CatRecordersTest, ATagChoosesOne) {
    EXPECT_EQ(cat({"--recorder", "0xFEED0008", "--format", "csv", "--fields", "r"}, "/tmp").out,
              "r\n2\n");
}

TEST_F(CatRecordersTest, APrefixChoosesOne) {
    EXPECT_EQ(cat({"--recorder", "radar", "--format", "csv", "--fields", "r"}, "/tmp").out,
              "r\n1\n");
}

TEST_F(CatTest, StandardInputIsRead) {
    write_file(kRecording, steady_recording(2, 100000));
    const std::string command = std::string("cat ") + kRecording + " | " + PETRELRADAR_PROGRAM +
                                " cat - --format csv --fields timestamp > /tmp/out";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 0);
    EXPECT_EQ(milliseconds(read_file("/tmp/out")), "0 100");
}

TEST_F(CatTest, ATimeBeforeTheLastFrameNeedsAFile) {
    const Outcome outcome = cat({"--start", "-1s"}, "-");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("needs a file or a directory, not standard input"));
}

TEST_F(CatTest, ACutFileIsPrintedAsFarAsItGoesAndReported) {
    const std::string whole = steady_recording(3, 100000);
    write_file(kRecording, whole.substr(0, whole.size() - 5));
    const Outcome outcome = cat({"--format", "csv", "--fields", "timestamp"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(milliseconds(outcome.out), "0 100");
    EXPECT_THAT(outcome.err, StartsWith(std::string("petrelradar cat: ") + kRecording +
                                        ": offset 98: cut off inside a record"));
}

TEST_F(CatTest, BehindDamageItGoesOn) {
    std::string bytes = steady_recording(3, 100000);
    bytes.insert(69, "damage");
    write_file(kRecording, bytes);
    const Outcome outcome = cat({"--format", "csv", "--fields", "timestamp"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(milliseconds(outcome.out), "0 100 200");
    EXPECT_THAT(outcome.err, HasSubstr("offset 69: no record"));
    EXPECT_THAT(outcome.err, HasSubstr("6 bytes skipped"));
}

TEST_F(CatTest, WhatIsNoRecordingIsAFailure) {
    write_file(kRecording, "Dear diary, today the radar stood still and so did everything else.");
    const Outcome outcome = cat({});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, StartsWith(std::string("petrelradar cat: ") + kRecording + ": "));
}

TEST_F(CatTest, AnEmptyFileIsAFailure) {
    write_file(kRecording, "");
    EXPECT_EQ(cat({}).status, 1);
}

TEST_F(CatTest, AMissingFileIsAFailure) {
    const Outcome outcome = cat({});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              std::string("petrelradar cat: ") + kRecording + ": No such file or directory\n");
}

TEST_F(CatTest, TheInputIsNotChanged) {
    const std::string bytes = steady_recording(3, 100000);
    write_file(kRecording, bytes);
    const auto time = std::filesystem::last_write_time(kRecording);
    cat({});
    EXPECT_EQ(read_file(kRecording), bytes);
    EXPECT_EQ(std::filesystem::last_write_time(kRecording), time);
}

TEST_F(CatTest, AReaderThatHasEnoughEndsItQuietly) {
    write_file(kRecording, steady_recording(50000, 1000));
    const std::string command = std::string("( ") + PETRELRADAR_PROGRAM + " cat " + kRecording +
                                " 2> /tmp/err; echo $? > /tmp/status ) | head -n 1 > /tmp/out";
    EXPECT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(read_file("/tmp/out"), "magic: 29061378\n");
    EXPECT_EQ(read_file("/tmp/err"), "");
    EXPECT_EQ(read_file("/tmp/status"), "0\n");
}

TEST_F(CatTest, ALiveStreamIsPrinted) {
    Kit::Relay relay(Kit::RelayOptions{"/tmp/radar.sock"});
    Program program({"cat", "unix:/tmp/radar.sock", "--format", "csv", "--fields", "timestamp"});
    ASSERT_TRUE(test_support::eventually([&] { return !relay.counters().clients.empty(); }));
    relay.publish(Kit::stream_frame(frame(kBegin + 7000, {{1, 0, 0}})));
    EXPECT_TRUE(program.prints("1747301407007000\n"));
    relay.stop(std::chrono::seconds(30));
    EXPECT_EQ(program.finish().status, 0);
}

TEST_F(CatTest, APayloadOfALiveStreamThatDoesNotDecodeIsReported) {
    Kit::Relay relay(Kit::RelayOptions{"/tmp/radar.sock"});
    Program program({"cat", "unix:/tmp/radar.sock"});
    ASSERT_TRUE(test_support::eventually([&] { return !relay.counters().clients.empty(); }));
    relay.publish(Kit::stream_frame(frame(kBegin, {})));
    relay.publish(Kit::stream_frame("\x1A\x7F"));
    relay.stop(std::chrono::seconds(30));
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("does not decode"));
}

TEST_F(CatTest, CtrlCEndsALiveStreamWell) {
    Kit::Relay relay(Kit::RelayOptions{"/tmp/radar.sock"});
    Program program({"cat", "unix:/tmp/radar.sock"});
    ASSERT_TRUE(test_support::eventually([&] { return !relay.counters().clients.empty(); }));
    program.send_signal(SIGINT);
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
}

TEST_F(CatTest, CtrlCBeforeTheEndOfAPipeIsReported) {
    ASSERT_EQ(mkfifo("/tmp/pipe", 0600), 0);
    Program program({"cat", "/tmp/pipe"});
    const int pipe = open("/tmp/pipe", O_WRONLY | O_CLOEXEC);
    const std::string bytes = steady_recording(2, 1000);
    ASSERT_EQ(write(pipe, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    ASSERT_TRUE(program.prints("timestamp: 1747301407000000"));
    program.send_signal(SIGINT);
    const Outcome outcome = program.finish();
    close(pipe);
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("interrupted after "));
}

}  // namespace
