// The verb play with a person at a terminal.

#include <csignal>

#include "tests/tools/play/fixture.h"

namespace {

using Kit::StreamClient;
using test_support::Outcome;
using test_support::Program;
using test_support::steady_recording;
using testing::ElementsAre;
using testing::HasSubstr;
using tools_test::kRecording;

class PlayKeysTest : public tools_test::PlayTest {
protected:
    void SetUp() override {
        PlayTest::SetUp();
        if (IsSkipped()) return;
        test_support::write_file(kRecording, steady_recording(4000, 50000));
        program = start({"--paused"}, {{}, 120, 24, true});
        client = connect();
        EXPECT_TRUE(program->prints("1 client "));
    }

    std::unique_ptr<Program> program;
    std::unique_ptr<StreamClient> client;
};

TEST_F(PlayKeysTest, TheStatusLineTellsStateRateAndClients) {
    EXPECT_THAT(program->out(), HasSubstr("paused  x1  0:00.0"));
}

TEST_F(PlayKeysTest, SpaceGoesOn) {
    program->type(" ");
    EXPECT_THAT(next(*client, 2), ElementsAre(0, 50000));
    EXPECT_TRUE(program->prints("playing x1"));
}

TEST_F(PlayKeysTest, APointSendsOneFrame) {
    program->type("..");
    EXPECT_THAT(next(*client, 2), ElementsAre(0, 50000));
    Kit::StreamFrame frame;
    EXPECT_EQ(client->next(frame, std::chrono::milliseconds(40)), StreamClient::Result::kTimeout);
}

TEST_F(PlayKeysTest, ACommaSendsTheFrameBefore) {
    program->type("...,");
    EXPECT_THAT(next(*client, 4), ElementsAre(0, 50000, 100000, 50000));
}

TEST_F(PlayKeysTest, ArrowsGoToAnotherTime) {
    program->type("\x1b[C.");
    EXPECT_THAT(next(*client), ElementsAre(10000000));
    program->type("\x1b[A.");
    EXPECT_THAT(next(*client), ElementsAre(70000000));
    program->type("\x1b[D.");
    EXPECT_THAT(next(*client), ElementsAre(60000000));
    program->type("\x1b[B.");
    EXPECT_THAT(next(*client), ElementsAre(0));
}

TEST_F(PlayKeysTest, HomeGoesToTheFirstFrame) {
    program->type("...\x1b[H.");
    EXPECT_THAT(next(*client, 4), ElementsAre(0, 50000, 100000, 0));
}

TEST_F(PlayKeysTest, BehindTheLastFrameItEnds) {
    program->type("\x1b[A\x1b[A\x1b[A\x1b[A");
    EXPECT_EQ(program->finish().status, 0);
}

TEST_F(PlayKeysTest, TheRateIsChanged) {
    program->type("++");
    EXPECT_TRUE(program->prints("x4 "));
    program->type("---");
    EXPECT_TRUE(program->prints("x0.5 "));
    program->type("m");
    EXPECT_TRUE(program->prints("max "));
    program->type("1");
    program->forget_output();
    EXPECT_TRUE(program->prints("x1 "));
}

TEST_F(PlayKeysTest, QEndsItAndTheLineGoes) {
    program->type(".q");
    const Outcome outcome = program->finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out,
                testing::EndsWith("\r\x1b[Kpetrelradar play: 1 frame to 1 client\r\n"));
}

TEST_F(PlayKeysTest, CtrlZGivesTheTerminalBackUntilItGoesOn) {
    program->type("\x1a");
    program->wait_until_stopped();
    program->forget_output();
    program->send_signal(SIGCONT);
    EXPECT_TRUE(program->prints("paused  x1"));
    program->type(".");
    EXPECT_THAT(next(*client), ElementsAre(0));
}

}  // namespace
