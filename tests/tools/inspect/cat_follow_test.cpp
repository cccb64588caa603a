// petrelradar cat --follow.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <thread>

#include "tests/tools/inspect/cat_fixture.h"

namespace {

using test_support::frame;
using test_support::header;
using test_support::kBegin;
using test_support::Outcome;
using test_support::Program;
using test_support::record;
using testing::HasSubstr;
using tools_test::CatTest;

constexpr char kGrowing[] = "/tmp/radar_150525_093007_042";

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
