// The verb cat.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <sstream>
#include <thread>

#include "kit/stream/frames.h"
#include "kit/stream/relay.h"
#include "program.h"
#include "recorded_frames.h"
#include "support/private_paths.h"

namespace {

using test_support::header;
using test_support::read_file;
using test_support::record;
using test_support::write_file;
using testing::HasSubstr;
using testing::StartsWith;
using tools_test::frame;
using tools_test::kBegin;
using tools_test::Outcome;
using tools_test::Program;
using tools_test::recording;
using tools_test::run;
using tools_test::steady_recording;

constexpr char kRecording[] = "/tmp/radar_150525_093007_042.data";
constexpr char kGrowing[] = "/tmp/radar_150525_093007_042";

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
        write_file(kRecording, steady_recording(10, 100000));
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

TEST_F(CatTest, TextIsTheDebugText) {
    write_file(kRecording, recording({frame(kBegin, {{2.5F, -0.5F, 0}}), frame(kBegin + 1, {})}));
    const Outcome outcome = cat({});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out,
              "magic: 29061378\ntimestamp: 1747301407000000\ntargets {\n  r: 2.5\n  rdot: -0.5\n}\n"
              "\nmagic: 29061378\ntimestamp: 1747301407000001\n");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(CatTest, NdjsonIsAnObjectAFrame) {
    write_file(kRecording, recording({frame(kBegin, {{2.5F, -0.5F, 0}}), frame(kBegin + 1, {})}));
    EXPECT_EQ(cat({"--format", "ndjson"}).out,
              "{\"magic\":29061378,\"timestamp\":\"1747301407000000\",\"targets\":[{\"rcs\":0,"
              "\"r\":2.5,\"rdot\":-0.5,\"theta\":0,\"options\":0,\"snr\":0}]}\n"
              "{\"magic\":29061378,\"timestamp\":\"1747301407000001\",\"targets\":[]}\n");
}

TEST_F(CatTest, CsvIsARowATargetAndNumbersFramesWithoutOne) {
    write_file(kRecording, recording({frame(kBegin, {{2.5F, -0.5F, 0}, {3, 0, 0}}),
                                      frame(kBegin + 1, {}), frame(kBegin + 2, {{4, 0, 0}})}));
    EXPECT_EQ(cat({"--format", "csv"}).out,
              "frame_index,timestamp_us,rcs,r,rdot,theta,options,snr\n"
              "0,1747301407000000,0,2.5,-0.5,0,0,0\n"
              "0,1747301407000000,0,3,0,0,0,0\n"
              "2,1747301407000002,0,4,0,0,0,0\n");
}

TEST_F(CatTest, ARecordingWithoutFramesIsNoText) {
    write_file(kRecording, header(0));
    const Outcome outcome = cat({});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
}

TEST_F(CatTest, ARecordingWithoutFramesIsTheHeaderOfACsv) {
    write_file(kRecording, header(0));
    EXPECT_EQ(cat({"--format", "csv", "--fields", "r"}).out, "r\n");
}

TEST_F(CatTest, FieldsAreThoseThatWereAskedFor) {
    write_file(kRecording, recording({frame(kBegin, {{2.5F, -0.5F, 0}})}));
    EXPECT_EQ(cat({"--format", "csv", "--fields", "r,rdot"}).out, "r,rdot\n2.5,-0.5\n");
    EXPECT_EQ(cat({"--format", "ndjson", "--fields", "timestamp,r"}).out,
              "{\"timestamp\":\"1747301407000000\",\"targets\":[{\"r\":2.5}]}\n");
}

TEST_F(CatTest, AnUnknownFieldIsRefused) {
    write_file(kRecording, header(0));
    const Outcome outcome = cat({"--fields", "speed"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("speed"));
}

TEST_F(CatTest, AStartIsIncludedAndAnEndIsNot) {
    EXPECT_EQ(selected({"--start", "+200ms", "--end", "+500ms"}), "200 300 400");
}

TEST_F(CatTest, TimesCountFromTheFirstAndFromTheLastFrame) {
    EXPECT_EQ(selected({"--start", "-200ms"}), "700 800 900");
    EXPECT_EQ(selected({"--end", "-700ms"}), "0 100");
    EXPECT_EQ(selected({"--start", "+0.1s", "--end", "-0.7s"}), "100");
}

TEST_F(CatTest, TimesAreDatesToo) {
    EXPECT_EQ(selected({"--start", "2025-05-15T09:30:07.75Z"}), "800 900");
    EXPECT_EQ(selected({"--end", "2025-05-15T11:30:07.2+02:00"}), "0 100");
}

TEST_F(CatTest, TimesAreSecondsAndMicrosecondsToo) {
    EXPECT_EQ(selected({"--start", "1747301407.8"}), "800 900");
    EXPECT_EQ(selected({"--start", "1747301407800001"}), "900");
}

TEST_F(CatTest, FramesAreCountedFromZero) {
    EXPECT_EQ(selected({"--frames", "2-4"}), "200 300 400");
    EXPECT_EQ(selected({"--frames", "8-"}), "800 900");
    EXPECT_EQ(selected({"--frames=-1"}), "0 100");
    EXPECT_EQ(selected({"--frames", "3"}), "300");
}

TEST_F(CatTest, FramesAndTimesAreBothToHold) {
    EXPECT_EQ(selected({"--frames", "2-4", "--start", "+350ms"}), "400");
}

TEST_F(CatTest, NothingSelectedIsNothingPrinted) {
    EXPECT_EQ(selected({"--start", "2030-01-01T00:00:00Z"}), "");
}

TEST_F(CatTest, WhatIsNoTimeIsRefused) {
    write_file(kRecording, header(0));
    const Outcome outcome = cat({"--start", "yesterday"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, StartsWith("petrelradar cat: --start yesterday: no time"));
}

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
    ASSERT_TRUE(stream_test::eventually([&] { return !relay.counters().clients.empty(); }));
    relay.publish(Kit::stream_frame(frame(kBegin + 7000, {{1, 0, 0}})));
    EXPECT_TRUE(program.prints("1747301407007000\n"));
    relay.stop(std::chrono::seconds(30));
    EXPECT_EQ(program.finish().status, 0);
}

TEST_F(CatTest, APayloadOfALiveStreamThatDoesNotDecodeIsReported) {
    Kit::Relay relay(Kit::RelayOptions{"/tmp/radar.sock"});
    Program program({"cat", "unix:/tmp/radar.sock"});
    ASSERT_TRUE(stream_test::eventually([&] { return !relay.counters().clients.empty(); }));
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
    ASSERT_TRUE(stream_test::eventually([&] { return !relay.counters().clients.empty(); }));
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

/** A recorder that writes while the program follows. */
class CatFollowTest : public CatTest {
protected:
    void SetUp() override {
        CatTest::SetUp();
        if (!IsSkipped()) begin_file(kGrowing);
    }
    void TearDown() override {
        if (recorder >= 0) close(recorder);
    }

    void begin_file(std::string const& path) {
        recorder = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        put(header(0));
    }

    void put(std::string const& bytes) const {
        ASSERT_EQ(write(recorder, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    void put_frame(uint64_t milliseconds) const {
        put(record(frame(kBegin + milliseconds * 1000, {{1, 0, 0}})));
    }

    void complete_file(std::string const& path) {
        close(recorder);
        recorder = -1;
        std::filesystem::rename(path, path + ".data");
    }

    static std::vector<std::string> follow(std::string const& source) {
        return {"cat", "--follow", "--format", "csv", "--fields", "timestamp", source};
    }

    int recorder = -1;
};

TEST_F(CatFollowTest, WhatIsAppendedIsPrintedAtOnce) {
    put_frame(0);
    Program program(follow(kGrowing));
    ASSERT_TRUE(program.prints("1747301407000000\n"));
    put_frame(1);
    EXPECT_TRUE(program.prints("1747301407001000\n"));
}

TEST_F(CatFollowTest, HalfARecordIsWaitedFor) {
    put_frame(0);
    Program program(follow(kGrowing));
    ASSERT_TRUE(program.prints("1747301407000000\n"));
    const std::string bytes = record(frame(kBegin + 1000, {{1, 0, 0}}));
    put(bytes.substr(0, 11));
    std::this_thread::sleep_for(std::chrono::milliseconds(40));
    put(bytes.substr(11));
    EXPECT_TRUE(program.prints("1747301407001000\n"));
    program.send_signal(SIGINT);
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
}

TEST_F(CatFollowTest, ItGoesOnWithTheFilesThatTheRecorderBegins) {
    put_frame(0);
    Program program(follow("/tmp"));
    ASSERT_TRUE(program.prints("1747301407000000\n"));
    put_frame(1);
    complete_file(kGrowing);
    begin_file("/tmp/radar_150525_093007_900");
    put_frame(2);
    EXPECT_TRUE(program.prints("1747301407002000\n"));
    program.send_signal(SIGTERM);
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(milliseconds(outcome.out), "0 1 2");
}

TEST_F(CatFollowTest, AFileThatEndsInsideARecordIsReportedWhenTheNextBegins) {
    put_frame(0);
    put("\x07");
    Program program(follow("/tmp"));
    ASSERT_TRUE(program.prints("1747301407000000\n"));
    close(recorder);
    begin_file("/tmp/radar_150525_093007_900");
    put_frame(2);
    EXPECT_TRUE(program.prints("1747301407002000\n"));
    program.send_signal(SIGINT);
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr(kGrowing));
}

TEST_F(CatFollowTest, AReaderThatHasGoneEndsItQuietlyAlthoughNothingComes) {
    put_frame(0);
    Program program(follow(kGrowing));
    ASSERT_TRUE(program.prints("1747301407000000\n"));
    program.stop_reading();
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
}

}  // namespace
