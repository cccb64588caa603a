// The verb `export`.

#include "tools/convert/export.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

#include "tests/support/eventually.h"
#include "tests/support/private_paths.h"
#include "tests/support/process.h"
#include "tests/support/recording_bytes.h"
#include "tests/support/shell.h"

namespace {

using test_support::frame;
using test_support::header;
using test_support::Outcome;
using test_support::read_file;
using test_support::record;
using test_support::run;
using test_support::write_file;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr char kRecording[] = "/tmp/radar_150525_093007_042.data";
constexpr uint64_t kTime = 1747301407050000;

class ExportTest : public test_support::PrivatePathsTest {
protected:
    ExportTest() {
        write_file(kRecording, header(2) + record(frame(kTime, 2)) + record(frame(kTime + 50000)));
    }

    static Outcome export_to(std::string const& path, std::vector<std::string> const& options = {},
                             std::string const& source = kRecording) {
        std::vector<std::string> arguments = {"export", source, "-o", path};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run(arguments);
    }

    /** Waits until the program has opened its input, and begun the output beside its place. */
    static void wait_for_file_in_work() {
        ASSERT_TRUE(test_support::eventually([] {
            const auto names = test_support::list_directory("/tmp");
            return std::any_of(names.begin(), names.end(), [](std::string const& name) {
                return name.find(".partial") != std::string::npos;
            });
        }));
    }

    static std::string printed(std::string const& format) {
        return run({"cat", "--format", format, kRecording}).out;
    }
};

TEST_F(ExportTest, CsvIsWhatCatPrints) {
    const Outcome outcome = export_to("/tmp/log.csv");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(read_file("/tmp/log.csv"), printed("csv"));
    EXPECT_THAT(read_file("/tmp/log.csv"), HasSubstr("\n0,1747301407050000,0,2,0,0,0,0\n"));
}

TEST_F(ExportTest, NdjsonIsWhatCatPrints) {
    EXPECT_EQ(export_to("/tmp/log.ndjson").status, 0);
    EXPECT_EQ(read_file("/tmp/log.ndjson"), printed("ndjson"));
    EXPECT_THAT(read_file("/tmp/log.ndjson"), HasSubstr("\"timestamp\":\"1747301407050000\""));
}

TEST_F(ExportTest, ARecordingWithoutFramesGivesTheTablesFirstLine) {
    write_file(kRecording, header(0));
    EXPECT_EQ(export_to("/tmp/log.csv").status, 0);
    EXPECT_EQ(read_file("/tmp/log.csv"), "frame_index,timestamp_us,rcs,r,rdot,theta,options,snr\n");
}

TEST_F(ExportTest, TheFormatIsSaidWhereTheNameDoesNotSayIt) {
    EXPECT_EQ(export_to("/tmp/log", {"--format", "csv"}).status, 0);
    EXPECT_EQ(read_file("/tmp/log"), printed("csv"));
    const Outcome outcome = export_to("/tmp/log.txt");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("/tmp/log.txt: the name does not end with a format's"));
}

TEST_F(ExportTest, OnlyTheSelectedPartIsExported) {
    EXPECT_EQ(export_to("/tmp/log.ndjson", {"--frames", "1-1"}).status, 0);
    EXPECT_THAT(read_file("/tmp/log.ndjson"), testing::StartsWith("{\"magic\":29061378,"
                                                                  "\"timestamp\":\"1747301407100"));
}

TEST_F(ExportTest, AFileThatIsThereIsReplacedOnlyByForce) {
    write_file("/tmp/log.csv", "old");
    EXPECT_EQ(export_to("/tmp/log.csv").status, 1);
    EXPECT_EQ(read_file("/tmp/log.csv"), "old");
    EXPECT_EQ(export_to("/tmp/log.csv", {"--force"}).status, 0);
    EXPECT_EQ(read_file("/tmp/log.csv"), printed("csv"));
}

TEST_F(ExportTest, AnInputIsNotReplacedEvenByForce) {
    const std::string before = read_file(kRecording);
    for (char const* const source : {kRecording, "/tmp"}) {
        const Outcome outcome = export_to(kRecording, {"--force", "--format", "mcap"}, source);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, HasSubstr("is the input, which is never changed"));
    }
    EXPECT_EQ(read_file(kRecording), before);
}

TEST_F(ExportTest, StandardOutputIsNoFile) {
    EXPECT_EQ(export_to("-", {"--format", "csv"}).status, 2);
}

TEST_F(ExportTest, DamageIsToldAndTheRestIsExported) {
    write_file(kRecording, header(2) + record(frame(kTime, 2)) + "damage!!");
    const Outcome outcome = export_to("/tmp/log.csv");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("offset 76: "));
    EXPECT_EQ(read_file("/tmp/log.csv"), printed("csv"));
}

TEST_F(ExportTest, WhatIsNoRecordingGivesNoFile) {
    write_file("/tmp/other", "something that is no recording, and long enough to be one");
    EXPECT_EQ(export_to("/tmp/log.csv", {}, "/tmp/other").status, 1);
    EXPECT_THAT(test_support::list_directory("/tmp"),
                ElementsAre("other", "radar_150525_093007_042.data"));
}

TEST_F(ExportTest, CtrlCLeavesWhatWasExportedSoFar) {
    ASSERT_EQ(mkfifo("/tmp/pipe", 0600), 0);
    const int pipe = open("/tmp/pipe", O_RDWR | O_CLOEXEC);
    const std::string bytes = header(1) + record(frame(kTime, 2)) + "more";
    ASSERT_EQ(write(pipe, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    test_support::Program program({"export", "/tmp/pipe", "-o", "/tmp/log.csv"});
    wait_for_file_in_work();
    program.send_signal(SIGINT);
    const Outcome outcome = program.finish();
    close(pipe);
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("interrupted after "));
    EXPECT_THAT(read_file("/tmp/log.csv"), testing::StartsWith("frame_index,timestamp_us,"));
}

class McapExportTest : public ExportTest {
protected:
    void SetUp() override {
        ExportTest::SetUp();
        if (IsSkipped()) return;
        const auto outcome = test_support::print_mcap("/dev/null");
        if (outcome.status == 77) GTEST_SKIP() << outcome.out;
    }

    static std::string read_back() {
        const auto outcome = test_support::print_mcap("/tmp/log.mcap");
        EXPECT_EQ(outcome.status, 0) << outcome.out;
        return outcome.out;
    }
};

TEST_F(McapExportTest, MessagesAreThePayloadsAtTheirTimesInNs) {
    write_file(kRecording, header(2) + record("\x08\x82\xe2\xed\x0d\x10\x05") +
                               record("\x08\x82\xe2\xed\x0d\x10\x06\x1a\x02\x28\x01\x78\x01"));
    EXPECT_EQ(export_to("/tmp/log.mcap").status, 0);
    EXPECT_THAT(read_back(), testing::EndsWith("message 1 0 5000 5000 0882e2ed0d1005\n"
                                               "message 1 1 6000 6000 0882e2ed0d10061a0228017801"
                                               "\n"));
}

TEST_F(McapExportTest, HeaderAndRecorderAreInTheFile) {
    EXPECT_EQ(export_to("/tmp/log.mcap").status, 0);
    const std::string text = read_back();
    EXPECT_THAT(text, HasSubstr("channel 1 schema 1 /radar/objects protobuf tag=0xFEED0007\n"));
    EXPECT_THAT(text, HasSubstr("metadata radar_recording daylight_saving=0 height=0 sensitivity=1 "
                                "start=2025-05-15T09:30:07Z start_s=1747301407 tilt=0 version=5"));
}

TEST_F(McapExportTest, ARecordingWithoutFramesIsAFileWithoutMessages) {
    write_file(kRecording, header(0));
    EXPECT_EQ(export_to("/tmp/log.mcap").status, 0);
    EXPECT_THAT(read_back(), HasSubstr("\nstatistics messages 0 schemas 1 channels 1 "));
}

TEST_F(McapExportTest, ATimeThatHasNoNanosecondsIsTold) {
    write_file(kRecording, header(1) + record(frame(UINT64_MAX)));
    const Outcome outcome = export_to("/tmp/log.mcap");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("time in ns has more than 64 bits: 1"));
    EXPECT_THAT(read_back(), HasSubstr("message 1 0 18446744073709551615 "));
}

}  // namespace
