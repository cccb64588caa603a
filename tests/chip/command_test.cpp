// The command beside the chip: how it is started, told of signals, and ended.

#include "chip/command.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "chip/keeper.h"
#include "tests/support/chip_program.h"
#include "tests/support/eventually.h"
#include "tests/support/private_paths.h"

namespace {

using test_support::chip_with;
using test_support::chip_with_script;
using test_support::Outcome;
using test_support::Process;
using test_support::run_process;

constexpr char kDamagedLog[] =
    "frame_index,timestamp_us,rcs,r,rdot,theta,options,snr\n"
    "0,1000,1,x,3,4,0,5\n";

class CommandTest : public test_support::ChipProgramTest {
protected:
    /** How often `text` stands in what the process has printed. */
    static int count(Process const& process, std::string const& text) {
        int found = 0;
        for (size_t at = process.out().find(text); at != std::string::npos;
             at = process.out().find(text, at + text.size())) {
            ++found;
        }
        return found;
    }
};

TEST_F(CommandTest, ItsStatusIsThePrograms) {
    EXPECT_EQ(run_process(chip_with_script("exit 7")).status, 7);
    EXPECT_EQ(run_process(chip_with({"true"})).status, 0);
}

TEST_F(CommandTest, ASignalThatEndsItShowsInTheStatus) {
    EXPECT_EQ(run_process(chip_with_script("kill -9 $$")).status, 128 + SIGKILL);
}

TEST_F(CommandTest, ACommandThatIsNotFoundIsNamed) {
    const Outcome outcome = run_process(chip_with({"/no-such-program"}));
    EXPECT_EQ(outcome.status, Chip::kNotFound);
    EXPECT_EQ(outcome.err,
              "petrelradar-chip: cannot run /no-such-program: No such file or directory\n");
}

TEST_F(CommandTest, ACommandThatCannotBeRunIsNamed) {
    const Outcome outcome = run_process(chip_with({"/etc/passwd"}));
    EXPECT_EQ(outcome.status, Chip::kCannotRun);
    EXPECT_EQ(outcome.err, "petrelradar-chip: cannot run /etc/passwd: Permission denied\n");
}

TEST_F(CommandTest, ItGetsItsArgumentsAndTheStreamsAsTheyAre) {
    const Outcome outcome =
        run_process(chip_with({"sh", "-c", "echo \"$1\"; echo \"$2\" >&2", "sh", "a b", ""}));
    EXPECT_EQ(outcome.out, "a b\n");
    EXPECT_EQ(outcome.err, "\n");
}

TEST_F(CommandTest, ItStartsWithoutBlockedOrIgnoredSignals) {
    const Outcome outcome =
        run_process(chip_with_script("grep -E 'Sig(Blk|Ign)' /proc/self/status"));
    EXPECT_EQ(outcome.out, "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST_F(CommandTest, ItHoldsNoDescriptorOfTheChip) {
    EXPECT_EQ(run_process(chip_with_script("for fd in /proc/$$/fd/*; do readlink $fd; done | "
                                           "grep -c -e fuse -e signalfd"))
                  .out,
              "0\n");
}

TEST_F(CommandTest, ASignalToTheChipIsPassedOn) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        Process chip(
            chip_with_script("trap 'exit 5' INT TERM HUP QUIT; echo ready; "
                             "while :; do sleep 0.01; done"));
        ASSERT_TRUE(chip.prints("ready"));
        chip.send_signal(signal);
        EXPECT_EQ(chip.finish().status, 5) << signal;
    }
}

TEST_F(CommandTest, AKeyOfTheTerminalReachesItOnce) {
    Process chip(chip_with(test_support::client({"interrupts"})), test_support::on_terminal());
    ASSERT_TRUE(chip.prints("ready"));
    chip.type("\x03");
    EXPECT_EQ(chip.finish().status, 0);
    EXPECT_EQ(count(chip, "interrupt"), 1);
}

TEST_F(CommandTest, WhatItLeavesBehindIsEnded) {
    const Outcome outcome = run_process(chip_with_script("sleep 60 >/dev/null 2>&1 & echo $!"));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(kill(std::stoi(outcome.out), 0), 0);
}

TEST_F(CommandTest, ItIsToldToEndWhenTheChipIsKilled) {
    Process chip(
        chip_with_script("trap 'echo told; exit' TERM; echo ready; "
                         "while :; do sleep 0.01; done"));
    ASSERT_TRUE(chip.prints("ready"));
    chip.send_signal(SIGKILL);
    chip.read_to_end();
    EXPECT_EQ(count(chip, "told"), 1);
}

TEST_F(CommandTest, WhatItHasStartedEndsWhenTheChipIsKilled) {
    Process chip(chip_with_script("sleep 60 & echo $!; wait"));
    ASSERT_TRUE(chip.prints("\n"));
    const pid_t sleeper = std::stoi(chip.out());
    chip.send_signal(SIGKILL);
    EXPECT_TRUE(
        test_support::eventually([sleeper] { return kill(sleeper, 0) != 0 && errno == ESRCH; }));
}

TEST_F(CommandTest, AnUnmountedDeviceLeavesTheCommandAlone) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can unmount";
    const Outcome outcome =
        run_process(chip_with_script("umount /dev/spidev0.0 && sleep 0.02; exit 4"));
    EXPECT_EQ(outcome.status, 4);
}

TEST_F(CommandTest, AnInputThatCannotBeReadStartsNoCommand) {
    const Outcome outcome =
        run_process(chip_with({"echo", "started"}, {"--input", "/tmp/no-such-log.csv"}));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err.find("/tmp/no-such-log.csv: "), std::string::npos);
}

TEST_F(CommandTest, AnInputThatIsDamagedFurtherOnShowsInTheStatus) {
    test_support::write_file("/tmp/walk.csv", kDamagedLog);
    // Measures, and waits for the end of the input.
    const std::vector<std::string> steps = {"write:0x0010=1", "await:0x0020=0x0a"};
    const std::vector<std::string> input = {"--input", "/tmp/walk.csv"};
    const Outcome outcome = run_process(chip_with(test_support::client(steps), input));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "petrelradar-chip: /tmp/walk.csv:2:10: r is not a number: 'x'\n");
}

TEST_F(CommandTest, ADamagedInputLeavesTheStatusOfACommandThatFailed) {
    test_support::write_file("/tmp/walk.csv", kDamagedLog);
    EXPECT_EQ(run_process(chip_with({"sh", "-c", "exit 7"}, {"--input", "/tmp/walk.csv"})).status,
              7);
}

TEST_F(CommandTest, AnUnknownOptionStartsNoCommand) {
    const Outcome outcome = run_process(chip_with({"echo", "started"}, {"--no-such-option"}));
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
}

TEST_F(CommandTest, WithoutFuseItSaysSoAndStartsNoCommand) {
    std::filesystem::rename("/dev/fuse", "/dev/fuse.away");
    const Outcome outcome = run_process(chip_with({"echo", "started"}));
    std::filesystem::rename("/dev/fuse.away", "/dev/fuse");
    EXPECT_EQ(outcome.status, 69);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "petrelradar-chip: cannot open /dev/fuse: No such file or directory\n");
}

TEST_F(CommandTest, WithoutNamespacesItSaysSoAndStartsNoCommand) {
    const std::string script = "echo 0 >/proc/sys/user/max_mnt_namespaces && exec \"$@\"";
    std::vector<std::string> arguments = {"unshare", "-r", "sh", "-c", script, "sh"};
    if (run_process({"unshare", "-r", "true"}).status != 0) GTEST_SKIP() << "no user namespaces";
    for (std::string const& argument : chip_with({"echo", "started"}))
        arguments.push_back(argument);
    const Outcome outcome = run_process(arguments);
    EXPECT_EQ(outcome.status, 69);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "petrelradar-chip: no mount namespace: No space left on device\n");
}

}  // namespace
