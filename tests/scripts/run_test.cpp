// The script that shows a radar service at work.

#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <thread>

#include "tests/scripts/script_fixture.h"
#include "tests/support/chip_program.h"
#include "tests/support/eventually.h"
#include "tests/support/private_paths.h"
#include "tests/support/recordings.h"

namespace {

using test_support::Process;
using testing::AnyOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr char kLog[] = "/tmp/walk.csv";

class RunTest : public scripts_test::ScriptTest {
protected:
    void SetUp() override {
        ScriptTest::SetUp();
        if (IsSkipped()) return;
        // Where the project itself lies in /tmp, nothing of it is to be seen.
        if (access(PETRELRADAR_SOURCE_DIR "/run", X_OK) != 0) GTEST_SKIP() << "no script";
    }

    Process& start(std::vector<std::string> const& arguments,
                   test_support::Surroundings const& surroundings = {}) {
        std::vector<std::string> all = {PETRELRADAR_SOURCE_DIR "/run", "--build",
                                        PETRELRADAR_BINARY_DIR};
        all.insert(all.end(), arguments.begin(), arguments.end());
        process_ = std::make_unique<Process>(all, surroundings);
        return *process_;
    }

    /** Runs the script to its end and returns its exit status. */
    int run(std::vector<std::string> const& arguments) {
        start(arguments).read_to_end();
        return process_->finish().status;
    }

    static void write_log(int frames, std::string const& more = "") {
        test_support::write_file(
            kLog, test_support::log_of(test_support::frames_of(frames, 20000)) + more);
    }

    static void expect_nothing_left() {
        EXPECT_FALSE(any_process_is_left());
        EXPECT_THAT(left("petrelradar-run-"), IsEmpty());
    }

    /** Sends a signal to the script alone, after it has shown frames. */
    void expect_end_by(int signal) {
        start({});
        ASSERT_TRUE(process_->prints("frame 5 "));
        process_->send_signal(signal);
        EXPECT_EQ(process_->finish().status, 0);
        EXPECT_THAT(process_->out(), HasSubstr("Recorded:\n  /tmp/radar_"));
        EXPECT_EQ(process_->err(), "");
        expect_nothing_left();
    }

    std::unique_ptr<Process> process_;
};

TEST_F(RunTest, WithTheEndOfALogItEndsAndSaysWhatWasRecorded) {
    write_log(30);
    EXPECT_EQ(run({kLog}), 0);
    EXPECT_THAT(process_->out(), ContainsRegex("Recorded:\n  /tmp/radar_[0-9_]+\\.data  "));
    EXPECT_THAT(process_->out(), ContainsRegex("Stopped after [1-9][0-9]* frames"));
    EXPECT_EQ(left("radar_").size(), 1U);
}

TEST_F(RunTest, ADamagedLogIsPlayedUpToItsPlaceAndIsTheStatus) {
    write_log(30, "x,y\n");
    EXPECT_EQ(run({kLog}), 1);
    EXPECT_THAT(process_->out(), HasSubstr("/tmp/walk.csv:62:"));
    EXPECT_THAT(process_->out(), ContainsRegex("Stopped after [1-9][0-9]* frames"));
}

TEST_F(RunTest, ALogThatIsNotThereIsNamed) {
    EXPECT_EQ(run({"/tmp/nowhere.csv"}), 1);
    EXPECT_EQ(process_->err(), "run: /tmp/nowhere.csv: cannot be read\n");
}

TEST_F(RunTest, AnUnknownOptionIsAnsweredWithTheUsage) {
    EXPECT_EQ(run({"--bogus"}), 2);
    EXPECT_THAT(process_->err(), StartsWith("run: unknown option '--bogus'\n  ./run "));
}

TEST_F(RunTest, NoTimeAtAllIsRefused) {
    EXPECT_EQ(run({"--seconds", "0"}), 2);
    EXPECT_THAT(process_->err(),
                StartsWith("run: --seconds: '0' is not a whole number from 1 to 9999999\n"));
}

TEST_F(RunTest, TheSampleOfAWalkIsShown) {
    EXPECT_EQ(run({PETRELRADAR_SOURCE_DIR "/samples/walk.csv", "--seconds", "1"}), 0);
    EXPECT_THAT(process_->out(),
                ContainsRegex("frame 0  timestamp 15616820[0-9]+  2[0-9] targets  nearest 0.04 m"));
    EXPECT_EQ(process_->err(), "");
}

TEST_F(RunTest, AfterItsSecondsItEndsAndLeavesNothingButTheRecording) {
    EXPECT_EQ(run({"--seconds", "1"}), 0);
    EXPECT_THAT(process_->out(), HasSubstr("Recorded:\n"));
    EXPECT_EQ(left("radar_").size(), 1U);
    expect_nothing_left();
}

TEST_F(RunTest, WhereNobodyReadsItsOutputItEndsQuietlyAndLeavesNothing) {
    const std::string command = "'" PETRELRADAR_SOURCE_DIR "/run' --build '" PETRELRADAR_BINARY_DIR
                                "' 2>/tmp/errors | head -n 1 >/dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(test_support::read_file("/tmp/errors"), "");
    EXPECT_EQ(left("radar_").size(), 1U);
    expect_nothing_left();
}

TEST_F(RunTest, SigtermToTheScriptAloneEndsIt) {
    expect_end_by(SIGTERM);
}

TEST_F(RunTest, SigintToTheScriptAloneEndsIt) {
    expect_end_by(SIGINT);
}

TEST_F(RunTest, WheneverASignalComesNothingIsLeft) {
    constexpr std::chrono::milliseconds kStep(15);
    for (int steps = 0; steps < 16; ++steps) {
        start({});
        for (int i = 0; i < steps; ++i) std::this_thread::sleep_for(kStep);
        process_->send_signal(SIGTERM);
        // At the very beginning there is nothing yet that would have to end in another way.
        EXPECT_THAT(process_->finish().status, AnyOf(0, 128 + SIGTERM)) << process_->err();
        expect_nothing_left();
    }
}

TEST_F(RunTest, WhereItIsKilledTheServiceEndsToo) {
    start({});
    ASSERT_TRUE(process_->prints("frame 5 "));
    process_->send_signal(SIGKILL);
    EXPECT_TRUE(test_support::eventually([] { return !any_process_is_left(); }));
}

TEST_F(RunTest, WithoutAHomeItsSettingsAreThoseOfOneRun) {
    unsetenv("HOME");
    unsetenv("XDG_STATE_HOME");
    EXPECT_EQ(run({"--seconds", "1"}), 0);
    EXPECT_THAT(process_->out(),
                ContainsRegex("Settings: /tmp/petrelradar-run-[A-Za-z0-9]+/radar.conf \\(of this"));
    EXPECT_EQ(process_->err(), "");
}

TEST_F(RunTest, SettingsAreKeptAndSayWhereItRecords) {
    std::filesystem::create_directories("/tmp/state/petrelradar");
    test_support::write_file(
        "/tmp/state/petrelradar/radar.conf",
        "[Radar]\nFileWriterLocation=1\nStorageIsMount=0\nDiagnosticFileWriterEnabled=0\n");
    EXPECT_EQ(run({"--seconds", "1"}), 0);
    EXPECT_THAT(process_->out(), StartsWith("Recording objects to /var/spool/storage/SD_DISK\n"));
    EXPECT_THAT(process_->out(),
                ContainsRegex("Recorded:\n  /var/spool/storage/SD_DISK/radar_[0-9_]+\\.data  "));
}

TEST_F(RunTest, ItRunsBesideAServiceAndReportsItsOwnFilesOnly) {
    Process service({PETRELRADARD_PROGRAM, "--input", "scene", "--socket", "/tmp/other.sock",
                     "--status-socket", "/tmp/other-status.sock"});
    const std::vector<std::string> frames = {PETRELRADAR_PROGRAM, "listen", "--frames", "1",
                                             "unix:/tmp/other.sock"};
    ASSERT_TRUE(
        test_support::eventually([&] { return test_support::run_process(frames).status == 0; }));
    EXPECT_EQ(run({"--seconds", "1"}), 0);
    EXPECT_EQ(test_support::run_process(frames).status, 0);
    service.send_signal(SIGTERM);
    EXPECT_EQ(service.finish().status, 0);
    EXPECT_EQ(left("radar_").size(), 2U);
    EXPECT_THAT(process_->out(), ContainsRegex("Recorded:\n  /tmp/radar_[^\n]*\n"
                                               "  /tmp/radar-diagnostics/radar_[^\n]*\nThe"));
}

TEST_F(RunTest, AnOrdinaryUserRunsItBesideRoot) {
    if (!can_become_another_user()) GTEST_SKIP() << "only root can become another user";
    test_support::Surroundings ordinary;
    ordinary.user = scripts_test::kOrdinaryUser;
    if (test_support::run_process({PETRELRADAR_PROGRAM, "--version"}, ordinary).status != 0) {
        GTEST_SKIP() << "the build folder is not open to other users";
    }
    Process root({PETRELRADAR_SOURCE_DIR "/run", "--build", PETRELRADAR_BINARY_DIR});
    ASSERT_TRUE(root.prints("frame 5 "));
    setenv("XDG_STATE_HOME", "/root/nowhere", 1);
    start({"--seconds", "1"}, ordinary);
    EXPECT_EQ(process_->finish().status, 0);
    EXPECT_THAT(process_->err(), HasSubstr("run: /tmp/radar-diagnostics: not a folder of "));
    EXPECT_THAT(process_->out(), StartsWith("Recording objects to /tmp\n"));
    EXPECT_THAT(process_->out(), HasSubstr("Recorded:\n  /tmp/radar_"));
    root.send_signal(SIGTERM);
    EXPECT_EQ(root.finish().status, 0) << root.out() << root.err();
    expect_nothing_left();
}

TEST_F(RunTest, WithoutAPlaceForAChipItSaysSoAndPlaysTheInput) {
    write_log(30);
    std::filesystem::remove("/dev/fuse");
    EXPECT_EQ(run({kLog}), 0);
    EXPECT_THAT(process_->err(),
                StartsWith("run: petrelradar-chip: cannot open /dev/fuse: No such file or "
                           "directory; the service reads the input itself\n"));
    EXPECT_THAT(process_->out(), HasSubstr("Stopped after 30 frames with 60 targets"));
}

TEST_F(RunTest, CtrlCOnATerminalEndsItAndSaysWhatWasRecorded) {
    start({}, test_support::on_terminal());
    ASSERT_TRUE(process_->prints("motion"));
    process_->type("\x03");
    process_->read_to_end();
    EXPECT_EQ(process_->finish().status, 0);
    EXPECT_THAT(process_->out(), HasSubstr("Recorded:\r\n  /tmp/radar_"));
}

}  // namespace
