// The verbs as programs, with the simulated chip and the reference host as programs beside them.

#include <gmock/gmock.h>

#include <csignal>

#include "tests/support/chip_program.h"
#include "tests/support/host_process.h"
#include "tests/support/private_paths.h"
#include "tests/support/process.h"

namespace {

using test_support::Outcome;
using test_support::run;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class RegsProgramTest : public test_support::ChipProgramTest {
protected:
    /** A shell script beside the chip, in which "$P" is the program. */
    static Outcome beside_the_chip(std::string const& script) {
        return test_support::run_process(
            test_support::chip_with({"sh", "-c", "P=" PETRELRADAR_PROGRAM "; " + script}));
    }
};

TEST_F(RegsProgramTest, TheMapOfTheDemoChipIsFoundByItself) {
    const Outcome outcome = beside_the_chip("$P regs read identification version.major");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out, "identification=0x31445250\nversion.major=1\n");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(RegsProgramTest, WhatIsWrittenIsReadBackByAnotherProgram) {
    const Outcome outcome = beside_the_chip(
        "$P regs write control.frame_rate=30 scratch=0xfedcba98 --verify && "
        "$P regs read control.frame_rate scratch");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out, "control.frame_rate=30\nscratch=0xfedcba98\n");
}

TEST_F(RegsProgramTest, ADumpTakenBeforeShowsWhatChanged) {
    const Outcome outcome = beside_the_chip(
        "$P regs dump >/tmp/before 2>/dev/null && $P regs write scratch=5 && "
        "$P regs diff /tmp/before");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "0x0008 scratch 0x00000000 -> 0x00000005\n");
}

TEST_F(RegsProgramTest, WatchPrintsWhatAnotherProgramChanges) {
    const Outcome outcome = beside_the_chip(
        "(sleep 0.3; $P regs write scratch=5) & "
        "$P regs watch scratch --interval 0.01 | head -n 2; wait");
    EXPECT_THAT(outcome.out, ContainsRegex("scratch 0x00000000 -> 0x00000005\n$"));
}

TEST_F(RegsProgramTest, WatchOnATerminalShowsRegistersInPlaceAndEndsWithQ) {
    test_support::Process chip(
        test_support::chip_with({"env", "TERM=xterm", PETRELRADAR_PROGRAM, "regs", "watch",
                                 "scratch", "--interval", "0.02"}),
        test_support::on_terminal());
    ASSERT_TRUE(chip.prints("\x1b[?1049h")) << chip.out();
    ASSERT_TRUE(chip.prints("0x0008 scratch          0x00000000"));
    chip.type("q");
    EXPECT_EQ(chip.finish().status, 0);
    EXPECT_THAT(chip.out(), HasSubstr("\x1b[?1049l"));
}

TEST_F(RegsProgramTest, WatchOfMoreThanAWindowHoldsShowsWhatHasChanged) {
    const std::string script = "export TERM=xterm P=" PETRELRADAR_PROGRAM
                               "; (sleep 0.2; $P regs write scratch=5) & $P regs watch";
    test_support::Process chip(test_support::chip_with({"sh", "-c", script + " --interval 0.02"}),
                               test_support::on_terminal());
    ASSERT_TRUE(chip.prints("204 registers have not changed")) << chip.out();
    ASSERT_TRUE(chip.prints("0x0008 scratch          0x00000005")) << chip.out();
    chip.type("q");
    EXPECT_EQ(chip.finish().status, 0);
}

class MachineTest : public test_support::PrivatePathsTest {};

TEST_F(MachineTest, WithoutAChipRegsSaysWhatIsMissing) {
    const Outcome outcome = run({"regs", "read", "control"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "petrelradar regs read: Could not open SPI device /dev/spidev0.0: No such file or "
              "directory\n");
}

TEST_F(MachineTest, ABrokenSettingsFileIsReportedOnceByTheVerbThatReadsIt) {
    test_support::write_file("/etc/radar/radar.conf", "[Radar]\njunk\n");
    EXPECT_THAT(run({"settings", "list"}).err,
                StartsWith("petrelradar settings list: /etc/radar/radar.conf: "));
    EXPECT_EQ(run({"--version"}).err, "");
}

TEST_F(MachineTest, TheSettingsThatAServiceReadsAreSet) {
    test_support::write_file("/etc/radar/radar.conf", "");
    EXPECT_EQ(run({"settings", "set", "TargetLimit=7"}).status, 0);
    EXPECT_EQ(test_support::read_file("/etc/radar/radar.conf"), "[Radar]\nTargetLimit=7\n");
}

class HostStatusProgramTest : public test_support::PrivatePathsTest {
protected:
    /** Starts a host on a scene, with these settings, and waits until it has frames. */
    test_support::HostProcess& start(std::string const& settings) {
        test_support::write_file("/tmp/settings.conf", "[Radar]\n" + settings);
        host_ = std::make_unique<test_support::HostProcess>(
            std::vector<std::string>{"--input", "scene:1", "--settings", "/tmp/settings.conf"});
        host_->await_ready();
        host_->await_status([](auto const& document) {
            return test_support::number(document["counters"]["frames"]) > 20;
        });
        return *host_;
    }

    Outcome status(std::vector<std::string> options = {}) const {
        options.insert(options.begin(), {"status", "unix:" + host_->status_socket()});
        return run(options);
    }

    std::unique_ptr<test_support::HostProcess> host_;
};

TEST_F(HostStatusProgramTest, AHostOnASceneIsHealthy) {
    start("");
    const Outcome outcome = status();
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_THAT(outcome.out, StartsWith("state        running for "));
    EXPECT_THAT(outcome.out, Not(HasSubstr("?"))) << "everything is in the document";
}

TEST_F(HostStatusProgramTest, AHostWithFullFramesIsNot) {
    start("TargetLimit=1\n");
    const Outcome outcome = status();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.out, HasSubstr("\n\nSaturation\n  means      frames are full"));
}

TEST_F(HostStatusProgramTest, AHostThatHasEndedCannotBeReached) {
    EXPECT_EQ(start("").stop(SIGTERM), 0);
    EXPECT_EQ(status().status, 1);
}

TEST_F(HostStatusProgramTest, TheDefaultsThatAreListedAreThoseOfTheHost) {
    start("");
    const auto document = host_->status();
    EXPECT_EQ(document["watchdog"]["timeout_s"], 2);
    EXPECT_EQ(document["recorders"]["objects"]["enabled"], true);
    EXPECT_EQ(document["recorders"]["raw"]["enabled"], false);
    EXPECT_EQ(document["recorders"]["diagnostics"]["enabled"], true);
}

}  // namespace
