// The verb play.

#include <csignal>
#include <filesystem>
#include <thread>

#include "tests/support/eventually.h"
#include "tests/tools/play/fixture.h"

namespace {

using Kit::StreamClient;
using test_support::kBegin;
using test_support::Outcome;
using test_support::Program;
using test_support::run;
using test_support::steady_recording;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using tools_test::kRecording;
using tools_test::kSocket;

class PlayTest : public tools_test::PlayTest {};

TEST_F(PlayTest, AClientGetsThePayloadsByteForByte) {
    // Not as this project encodes frames: an unknown field, and the timestamp in front.
    const std::string odd = "\x10\x05\x08\x82\xe2\xed\x0d\x78\x07";
    test_support::write_file(kRecording, test_support::header(2) +
                                             test_support::record(test_support::frame(1, 2)) +
                                             test_support::record("\x08\x82\xe2\xed\x0d" + odd));
    const auto program = start({"--rate", "max", "--wait"});
    const auto client = connect();
    Kit::StreamFrame frame;
    ASSERT_EQ(client->next(frame, std::chrono::seconds(30)), StreamClient::Result::kFrame);
    EXPECT_EQ(frame.payload, test_support::frame(1, 2));
    ASSERT_EQ(client->next(frame, std::chrono::seconds(30)), StreamClient::Result::kFrame);
    EXPECT_EQ(frame.payload, "\x08\x82\xe2\xed\x0d" + odd);
    EXPECT_EQ(client->next(frame, std::chrono::seconds(30)), StreamClient::Result::kEnd);
    EXPECT_EQ(program->finish().status, 0);
}

TEST_F(PlayTest, TheEndOfTheRecordingIsTheEndOfTheProgramAndItsSocket) {
    test_support::write_file(kRecording, steady_recording(3, 1000));
    const Outcome outcome = run(with_defaults({}));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(test_support::list_directory("/tmp"),
                ElementsAre(testing::EndsWith("093007_042.data")));
}

TEST_F(PlayTest, WithoutAClientItPlaysOn) {
    test_support::write_file(kRecording, steady_recording(4, 100000));
    const auto program = start({"--rate", "2"});
    const auto client = connect();
    const auto times = next(*client, 100);
    EXPECT_THAT(times, testing::Not(IsEmpty()));
    EXPECT_EQ(times.back(), 300000U);
}

TEST_F(PlayTest, FramesComeNotFasterThanTheyWereRecorded) {
    test_support::write_file(kRecording, steady_recording(3, 30000));
    const auto program = start({"--wait"});
    const auto client = connect();
    next(*client);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(next(*client, 2), ElementsAre(30000, 60000));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(50));
}

TEST_F(PlayTest, AGapOfTheRecordingIsKept) {
    test_support::write_file(kRecording, steady_recording(2, 4000000));
    const auto program = start({"--wait", "--rate", "100"});
    const auto client = connect();
    next(*client);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(next(*client), ElementsAre(4000000));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(30));
}

TEST_F(PlayTest, AGapThatIsToBeSkippedIsLeftOut) {
    test_support::write_file(kRecording, steady_recording(2, 3600000000));
    const auto program = start({"--wait", "--skip-gaps"});
    const auto client = connect();
    EXPECT_THAT(next(*client, 2), ElementsAre(0, 3600000000));
}

TEST_F(PlayTest, AFastReaderGetsEveryFrameAsFastAsPossible) {
    test_support::write_file(kRecording, steady_recording(5000, 33333, 20));
    EXPECT_EQ(played({}).size(), 5000U);
}

TEST_F(PlayTest, AsFastAsPossibleASlowReaderIsWaitedFor) {
    test_support::write_file(kRecording, steady_recording(2000, 33333, 60));
    const auto program = start({"--rate", "max", "--wait"});
    const auto client = connect();
    next(*client, 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(40));
    EXPECT_EQ(next(*client, 5000).size(), 1999U);
    EXPECT_EQ(program->finish().status, 0);
}

TEST_F(PlayTest, ALoopBeginsAgainAtTheEnd) {
    test_support::write_file(kRecording, steady_recording(2, 1000));
    const auto program = start({"--loop", "--wait"});
    const auto client = connect();
    EXPECT_THAT(next(*client, 5), ElementsAre(0, 1000, 0, 1000, 0));
}

TEST_F(PlayTest, ALoopWithoutFramesEnds) {
    test_support::write_file(kRecording, test_support::header(0));
    EXPECT_EQ(run(with_defaults({"--loop"})).status, 0);
}

TEST_F(PlayTest, OnlyTheSelectedPartIsPlayed) {
    test_support::write_file(kRecording, steady_recording(10, 100000));
    EXPECT_THAT(played({"--start", "+250ms", "--end", "-200ms"}),
                ElementsAre(300000, 400000, 500000, 600000));
}

TEST_F(PlayTest, ALoopRepeatsTheSelectedPart) {
    test_support::write_file(kRecording, steady_recording(10, 1000));
    const auto program = start({"--loop", "--wait", "--frames", "4-5"});
    const auto client = connect();
    EXPECT_THAT(next(*client, 4), ElementsAre(4000, 5000, 4000, 5000));
}

TEST_F(PlayTest, ADirectoryIsOneRecording) {
    std::filesystem::create_directory("/tmp/a");
    test_support::write_file("/tmp/a/radar_150525_093007_042.data", steady_recording(2, 1000));
    test_support::write_file("/tmp/a/radar_150525_093007_999", steady_recording(1, 1000));
    Program program({"play", "/tmp/a", "--socket", kSocket, "--rate", "max", "--wait"});
    const auto client = connect();
    EXPECT_THAT(next(*client, 10), ElementsAre(0, 1000, 0));
}

TEST_F(PlayTest, DamageIsToldOnceAndPlayedOver) {
    std::string bytes = steady_recording(3, 1000);
    bytes.insert(bytes.size() - steady_recording(1, 0).size() + 40,
                 "damage");  // before the last record
    test_support::write_file(kRecording, bytes);
    const auto program = start({"--loop", "--rate", "max", "--wait"});
    const auto client = connect();
    EXPECT_THAT(next(*client, 6), ElementsAre(0, 1000, 2000, 0, 1000, 2000));
    program->send_signal(SIGTERM);
    const Outcome outcome = program->finish();
    EXPECT_EQ(outcome.status, 3);
    const size_t told = outcome.err.find("offset ");
    ASSERT_NE(told, std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.err.find("offset ", told + 1), std::string::npos) << outcome.err;
}

class PlaySignalTest : public PlayTest, public testing::WithParamInterface<int> {};

TEST_P(PlaySignalTest, ARequestToEndEndsItWellAndRemovesTheSocket) {
    test_support::write_file(kRecording, steady_recording(2, 1000));
    const auto program = start({"--loop", "--wait"});
    const auto client = connect();
    next(*client);
    program->send_signal(GetParam());
    next(*client, 100000);  // to the end of the stream
    const Outcome outcome = program->finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_FALSE(std::filesystem::exists(kSocket));
}

INSTANTIATE_TEST_SUITE_P(, PlaySignalTest, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](auto const& tested) {
                             return std::string("Signal") + std::to_string(tested.param);
                         });

TEST_F(PlayTest, ASecondOneOnTheSameSocketIsRefused) {
    test_support::write_file(kRecording, steady_recording(2, 1000));
    const auto program = start({"--loop"});
    connect();
    const Outcome second = run(with_defaults({}));
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(second.err,
              "petrelradar play: /tmp/play.sock: already in use by a running service\n");
}

TEST_F(PlayTest, WhatIsNoSocketIsLeftAlone) {
    test_support::write_file(kRecording, steady_recording(2, 1000));
    const Outcome outcome = run({"play", kRecording, "--socket", kRecording});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(test_support::read_file(kRecording), steady_recording(2, 1000));
}

TEST_F(PlayTest, PausedNothingIsSentUntilTheSignal) {
    test_support::write_file(kRecording, steady_recording(3, 1000));
    const auto program = start({"--paused", "--wait"});
    const auto client = connect();
    Kit::StreamFrame frame;
    EXPECT_EQ(client->next(frame, std::chrono::milliseconds(40)), StreamClient::Result::kTimeout);
    program->send_signal(SIGUSR1);
    EXPECT_THAT(next(*client, 10), ElementsAre(0, 1000, 2000));
}

TEST_F(PlayTest, StandardInputIsPlayed) {
    test_support::write_file(kRecording, steady_recording(3, 1000));
    const std::string command = std::string(PETRELRADAR_PROGRAM) + " play - --socket " + kSocket +
                                " --wait --rate max < " + kRecording;
    std::thread program([&] { EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 0); });
    const auto client = connect();
    EXPECT_THAT(next(*client, 10), ElementsAre(0, 1000, 2000));
    program.join();
}

TEST_F(PlayTest, ALiveStreamIsPassedOn) {
    test_support::write_file(kRecording, steady_recording(3, 1000));
    const auto first = start({"--wait", "--rate", "max"});
    ASSERT_TRUE(test_support::eventually([] { return std::filesystem::exists(kSocket); }));
    Program second(
        {"play", std::string("unix:") + kSocket, "--socket", "/tmp/second.sock", "--wait"});
    std::unique_ptr<StreamClient> client;
    ASSERT_TRUE(test_support::eventually([&] {
        try {
            client = std::make_unique<StreamClient>("/tmp/second.sock");
        } catch (std::exception const&) {
            return false;
        }
        return true;
    }));
    EXPECT_THAT(next(*client, 10), ElementsAre(0, 1000, 2000));
    EXPECT_EQ(second.finish().status, 0);
}

struct UsageCase {
    char const* name;
    std::vector<std::string> arguments;
    char const* err_begins;
};

std::ostream& operator<<(std::ostream& os, UsageCase const& tested) {
    return os << tested.name;
}

class PlayUsageTest : public PlayTest, public testing::WithParamInterface<UsageCase> {};

TEST_P(PlayUsageTest, IsRefused) {
    const Outcome outcome = run(GetParam().arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, StartsWith(GetParam().err_begins));
}

INSTANTIATE_TEST_SUITE_P(
    , PlayUsageTest,
    testing::Values(
        UsageCase{"NoSocket", {"play", "x.data"}, "petrelradar play: --socket is required"},
        UsageCase{"RateZero",
                  {"play", "x.data", "--socket", "/tmp/s", "--rate", "0"},
                  "petrelradar play: --rate: '0' is neither a number above 0 nor max\n"},
        UsageCase{"RateOfLetters",
                  {"play", "x.data", "--socket", "/tmp/s", "--rate", "fast"},
                  "petrelradar play: --rate: 'fast' is neither a number above 0 nor max\n"},
        UsageCase{"LoopOfStandardInput",
                  {"play", "-", "--socket", "/tmp/s", "--loop"},
                  "petrelradar play: --loop needs a file or a directory, not -\n"}),
    [](auto const& tested) { return tested.param.name; });

TEST_F(PlayTest, AMissingFileIsAFailure) {
    const Outcome outcome = run(with_defaults({}));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              std::string("petrelradar play: ") + kRecording + ": No such file or directory\n");
}

}  // namespace
