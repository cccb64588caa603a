// The script that shows a radar service at work.

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

#include "tests/support/chip_process.h"
#include "tests/support/private_paths.h"
#include "tests/support/recordings.h"

namespace {

using chip_test::Process;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kLog[] = "/tmp/walk.csv";

class RunTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        setenv("XDG_STATE_HOME", "/tmp/state", 1);
        setenv("TERM", "xterm", 1);
        // Where the project itself lies in /tmp, nothing of it is to be seen.
        if (access(PETRELRADAR_SOURCE_DIR "/run", X_OK) != 0) GTEST_SKIP() << "no script";
    }

    Process& start(std::vector<std::string> const& arguments, bool terminal = false) {
        std::vector<std::string> all = {PETRELRADAR_SOURCE_DIR "/run", "--build",
                                        PETRELRADAR_BINARY_DIR};
        all.insert(all.end(), arguments.begin(), arguments.end());
        chip_test::Surroundings surroundings;
        surroundings.terminal = terminal;
        process_ = std::make_unique<Process>(all, surroundings);
        return *process_;
    }

    /** Runs the script to its end and returns its exit status. */
    int run(std::vector<std::string> const& arguments) {
        start(arguments).await_silence();
        return process_->wait();
    }

    static void write_log(int frames, std::string const& more = "") {
        test_support::write_file(
            kLog, service_test::log_of(service_test::frames_of(frames, 20000)) + more);
    }

    /** What there is in /tmp that begins so. */
    static std::vector<std::string> left(std::string const& beginning) {
        std::vector<std::string> names;
        for (std::string const& name : test_support::list_directory("/tmp")) {
            if (name.rfind(beginning, 0) == 0) names.push_back(name);
        }
        return names;
    }

    std::unique_ptr<Process> process_;
};

TEST_F(RunTest, WithTheEndOfALogItEndsAndSaysWhatWasRecorded) {
    write_log(30);
    EXPECT_EQ(run({kLog}), 0);
    EXPECT_THAT(process_->output(), ContainsRegex("Recorded:\n  /tmp/radar_[0-9_]+\\.data  "));
    EXPECT_THAT(process_->output(), ContainsRegex("Stopped after [1-9][0-9]* frames"));
    EXPECT_EQ(left("radar_").size(), 1U);
}

TEST_F(RunTest, ADamagedLogIsPlayedUpToItsPlaceAndIsTheStatus) {
    write_log(30, "x,y\n");
    EXPECT_EQ(run({kLog}), 1);
    EXPECT_THAT(process_->output(), HasSubstr("/tmp/walk.csv:62:"));
    EXPECT_THAT(process_->output(), ContainsRegex("Stopped after [1-9][0-9]* frames"));
}

TEST_F(RunTest, ALogThatIsNotThereIsNamed) {
    EXPECT_EQ(run({"/tmp/nowhere.csv"}), 1);
    EXPECT_EQ(process_->errors(), "run: /tmp/nowhere.csv: cannot be read\n");
}

TEST_F(RunTest, AnUnknownOptionIsAnsweredWithTheUsage) {
    EXPECT_EQ(run({"--bogus"}), 2);
    EXPECT_THAT(process_->errors(), StartsWith("  ./run "));
}

TEST_F(RunTest, AfterItsSecondsItEndsAndLeavesNothingButTheRecording) {
    EXPECT_EQ(run({"--seconds", "1"}), 0);
    EXPECT_THAT(process_->output(), HasSubstr("Recorded:\n"));
    EXPECT_EQ(left("petrelradar-run-").size(), 0U);
}

TEST_F(RunTest, WhereNobodyReadsItsOutputItEndsAndLeavesNothing) {
    const std::string command = PETRELRADAR_SOURCE_DIR "/run --build " PETRELRADAR_BINARY_DIR
                                                       " 2>/tmp/errors | head -n 1 >/dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(left("petrelradar-run-").size(), 0U);
    EXPECT_EQ(left("radar_").size(), 1U);
}

TEST_F(RunTest, WithoutAPlaceForAChipItSaysSoAndPlaysTheInput) {
    write_log(30);
    std::filesystem::remove("/dev/fuse");
    EXPECT_EQ(run({kLog}), 0);
    EXPECT_EQ(process_->errors().substr(0, process_->errors().find('\n')),
              "run: petrelradar-chip: cannot open /dev/fuse: No such file or directory; the "
              "service reads the input itself");
    EXPECT_THAT(process_->output(), HasSubstr("Stopped after 30 frames with 60 targets"));
}

TEST_F(RunTest, CtrlCOnATerminalEndsItAndSaysWhatWasRecorded) {
    start({}, true);
    ASSERT_TRUE(process_->await_output("motion"));
    process_->type("\x03");
    process_->await_silence();
    EXPECT_EQ(process_->wait(), 0);
    EXPECT_THAT(process_->output(), HasSubstr("Recorded:\r\n  /tmp/radar_"));
}

}  // namespace
