// The verb listen on a terminal.

#include <csignal>

#include "tests/tools/listen/fixture.h"

namespace {

using test_support::Outcome;
using test_support::Program;
using test_support::Surroundings;
using testing::HasSubstr;
using testing::Not;

constexpr char kHideCursor[] = "\x1b[?25l";
constexpr char kShowCursor[] = "\x1b[?25h";
constexpr char kSecondScreen[] = "\x1b[?1049h";
constexpr char kFirstScreen[] = "\x1b[?1049l";
constexpr char kApproaching[] = "\x1b[31m    2.50";

class ListenLiveTest : public tools_test::ListenTest {
protected:
    /** Starts the program on a terminal and waits until it shows a frame. */
    std::unique_ptr<Program> start(Surroundings surroundings = {{}, 80, 24}) {
        auto program =
            std::make_unique<Program>(std::vector<std::string>{"listen", kSource}, surroundings);
        wait_for_client();
        publish(1001);
        EXPECT_TRUE(program->prints("2.50"));
        return program;
    }
};

TEST_F(ListenLiveTest, TargetsAreShownInATableInPlace) {
    const auto program = start();
    EXPECT_THAT(program->out(), HasSubstr(kSecondScreen));
    EXPECT_THAT(program->out(), HasSubstr(kHideCursor));
    EXPECT_THAT(program->out(), HasSubstr("range m  speed m/s  bearing deg"));
    EXPECT_THAT(program->out(), Not(HasSubstr("timestamp")));
}

TEST_F(ListenLiveTest, ThePictureFollowsTheStream) {
    const auto program = start();
    publish(1002, 12.25F);
    EXPECT_TRUE(program->prints("12.25"));
}

TEST_F(ListenLiveTest, TargetsAreColouredByTheirMotion) {
    EXPECT_THAT(start()->out(), HasSubstr(kApproaching));
}

TEST_F(ListenLiveTest, WithNoColorNothingIsColoured) {
    EXPECT_THAT(start({{"NO_COLOR=1"}, 80, 24})->out(), Not(HasSubstr("\x1b[31m")));
}

TEST_F(ListenLiveTest, CtrlCRestoresTheTerminal) {
    const auto program = start();
    program->type("\x03");
    const Outcome outcome = program->finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, testing::EndsWith(std::string(kShowCursor) + kFirstScreen));
    EXPECT_THAT(outcome.err, HasSubstr("petrelradar listen: 1 frame, 1 target, "));
}

TEST_F(ListenLiveTest, TheKeyQEndsIt) {
    const auto program = start();
    program->type("xq");
    EXPECT_EQ(program->finish().status, 0);
}

TEST_F(ListenLiveTest, ARequestToEndRestoresTheTerminal) {
    const auto program = start();
    program->send_signal(SIGTERM);
    EXPECT_THAT(program->finish().out, HasSubstr(kShowCursor));
}

TEST_F(ListenLiveTest, CtrlZGivesTheTerminalBackUntilTheProgramGoesOn) {
    const auto program = start();
    program->type("\x1a");
    EXPECT_TRUE(program->prints(std::string(kShowCursor) + kFirstScreen));
    program->wait_until_stopped();
    program->forget_output();
    program->send_signal(SIGCONT);
    EXPECT_TRUE(program->prints(kSecondScreen));
    EXPECT_TRUE(program->prints("2.50"));
}

TEST_F(ListenLiveTest, ThePictureFollowsTheWindowsSize) {
    const auto program = start({{}, 80, 24});
    EXPECT_THAT(program->out(), HasSubstr("rcs dB"));
    program->resize(20, 24);
    program->forget_output();
    ASSERT_TRUE(program->prints("\x1b[J"));
    program->forget_output();
    ASSERT_TRUE(program->prints("\x1b[J"));
    EXPECT_THAT(program->out(), Not(HasSubstr("rcs dB")));
}

TEST_F(ListenLiveTest, ARestartOfTheServiceIsShownAndSaidAtTheEnd) {
    const auto program = start({{}, 80, 24, true});
    stop_service();
    EXPECT_TRUE(program->prints("the stream ended, waiting for the service"));
    start_service();
    wait_for_client();
    publish(1002, 12.25F);
    EXPECT_TRUE(program->prints("1 reconnect"));
    EXPECT_TRUE(program->prints("12.25"));
    program->type("q");
    const std::string out = program->finish().out;
    EXPECT_THAT(out.substr(out.find(kFirstScreen)),
                testing::ContainsRegex("the stream ended after 1 frame; waiting for the service\r\n"
                                       "petrelradar listen: connected again\r\n"
                                       "petrelradar listen: 2 frames, 2 targets, [0-9]+ bytes"));
}

TEST_F(ListenLiveTest, MessagesGoToStandardErrorAtOnceWhereThatIsNoTerminal) {
    const auto program = start();
    stop_service();
    EXPECT_TRUE(program->complains("the stream ended after 1 frame; waiting for the service\n"));
}

TEST_F(ListenLiveTest, WithAFormatFramesArePrintedOnATerminalToo) {
    Program program({"listen", kSource, "--format", "lines", "--frames", "1"}, {{}, 80, 24});
    wait_for_client();
    publish(1001);
    EXPECT_EQ(program.finish().out,
              "frame 0  timestamp 1001  1 target  nearest 2.50 m  fastest -0.75 m/s\r\n");
}

TEST_F(ListenLiveTest, OnATerminalThatCannotDrawFramesAreLines) {
    Program program({"listen", kSource, "--frames", "1"}, {{"TERM=dumb"}, 80, 24});
    wait_for_client();
    publish(1001);
    EXPECT_THAT(program.finish().out, testing::StartsWith("frame 0  timestamp 1001"));
}

}  // namespace
