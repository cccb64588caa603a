// Programs that are interrupted, and standard output with readers that take their time, or leave.

#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/chip_program.h"
#include "tests/support/private_paths.h"
#include "tests/support/recording_bytes.h"

namespace {

using test_support::Outcome;
using test_support::write_file;
using testing::HasSubstr;

/** With a recording of which more is to be printed than a pipe holds. */
class SlowReaderTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        write_file("/tmp/large.data", test_support::steady_recording(20000, 50000));
    }

    /**
     * Begins to print into a pipe that is open for reading, and goes on with `script`, in which
     * "$P" is the program's process.
     */
    static Outcome print_to_a_pipe(std::string const& arguments, std::string const& script) {
        return test_support::run_process(
            {"sh", "-c",
             "rm -f /tmp/pipe; mkfifo /tmp/pipe; exec 3<>/tmp/pipe; " PETRELRADAR_PROGRAM " " +
                 arguments +
                 " > /tmp/pipe 3>&- & P=$!; "
                 "dd bs=1 count=1 <&3 >/dev/null 2>&1; " +
                 script});
    }
};

TEST_F(SlowReaderTest, AnInterruptedProgramEndsAlthoughNobodyReads) {
    for (char const* const format : {"text", "csv"}) {
        const Outcome outcome = print_to_a_pipe(
            std::string("cat --format ") + format + " /tmp/large.data", "kill -TERM $P; wait $P");
        EXPECT_EQ(outcome.status, 3) << format;
        EXPECT_EQ(outcome.err,
                  "petrelradar cat: interrupted; nobody took what was left for standard output\n");
    }
}

/** Recovers a card while whoever was to read the report has left. */
class GoneReaderTest : public test_support::PrivatePathsTest {
protected:
    static Outcome recover(std::string const& second_file) {
        std::filesystem::create_directory("/tmp/card");
        write_file("/tmp/card/radar_150525_093007_042.data",
                   test_support::steady_recording(2, 50000));
        write_file("/tmp/card/radar_150525_093007_142.data", second_file);
        return test_support::run_process({"sh", "-c",
                                          "mkfifo /tmp/pipe; exec 3<>/tmp/pipe 4>/tmp/pipe "
                                          "3>&-; " PETRELRADAR_PROGRAM
                                          " recover /tmp/card -o /tmp/saved >&4"});
    }
};

TEST_F(GoneReaderTest, ARecoveryGoesOn) {
    const Outcome outcome = recover(test_support::steady_recording(2, 50000));
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(test_support::list_directory("/tmp/saved").size(), 2U);
}

TEST_F(GoneReaderTest, TheStatusStillTellsOfDamage) {
    const std::string whole = test_support::steady_recording(2, 50000);
    EXPECT_EQ(recover(whole.substr(0, whole.size() - 3)).status, 3);
}

class EndlessDamageTest : public test_support::PrivatePathsTest {};

TEST_F(EndlessDamageTest, IsLeftWhenTheProgramIsInterrupted) {
    write_file("/tmp/large.data", test_support::steady_recording(3, 50000));
    ASSERT_EQ(truncate("/tmp/large.data", off_t{1} << 42), 0);  // an hour of zeros
    for (char const* const arguments : {"info", "doctor", "cat --start -1s"}) {
        const Outcome outcome = test_support::run_process(
            {"sh", "-c",
             std::string(PETRELRADAR_PROGRAM " ") + arguments +
                 " /tmp/large.data & P=$!; until cat /proc/$P/fdinfo/* 2>/dev/null | "
                 "awk '/^pos/ && $2 > 10000000 { far = 1 } END { exit !far }'; do :; done; "
                 "kill -TERM $P; wait $P"});
        EXPECT_EQ(outcome.status, 3) << arguments;
        EXPECT_THAT(outcome.err, HasSubstr(": interrupted after "));
    }
}

}  // namespace
