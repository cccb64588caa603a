// petrelradar settings set

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "config/configuration.h"
#include "tests/support/captured_log.h"
#include "tests/support/system_calls.h"
#include "tests/tools/settings/fixture.h"

namespace {

namespace fs = std::filesystem;
using test_support::fails_with;
using test_support::list_directory;
using test_support::Outcome;
using test_support::read_file;
using test_support::write_file;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using tools_test::kFile;
using tools_test::SettingsTest;

using SettingsSetTest = SettingsTest;

TEST_F(SettingsSetTest, ChangesTheValueAndNothingElse) {
    const Outcome outcome =
        run("# c\n[X]\nn=a\n[Radar]\nTargetLimit=5\n", {"set", "TargetLimit=6"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "TargetLimit: 5 -> 6\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(read_file(kFile), "# c\n[X]\nn=a\n[Radar]\nTargetLimit=6\n");
    EXPECT_THAT(list_directory("/tmp/etc"), ElementsAre("radar.conf"));
}

TEST_F(SettingsSetTest, AZeroForAnAbsentSettingIsWritten) {
    EXPECT_EQ(run("", {"set", "FileWriterMaxFileSize=0"}).out,
              "FileWriterMaxFileSize: not set -> 0\n");
    EXPECT_EQ(Radar::Configuration(kFile).conf.at("FileWriterMaxFileSize"), 0);
}

TEST_F(SettingsSetTest, AValueThatIsThereAlreadyTouchesNothing) {
    const std::string text = "[Radar]\nTargetLimit = 0005\n";
    const Outcome outcome = run(text, {"set", "TargetLimit=5"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "petrelradar settings set: TargetLimit is 5 already\n");
    EXPECT_EQ(read_file(kFile), text);
}

TEST_F(SettingsSetTest, SeveralAreSetInTheirOrder) {
    EXPECT_EQ(run("", {"set", "TargetLimit=5", "WatchdogTimeout=9", "TargetLimit=6"}).out,
              "TargetLimit: not set -> 5\nWatchdogTimeout: not set -> 9\nTargetLimit: 5 -> 6\n");
    EXPECT_EQ(read_file(kFile), "[Radar]\nTargetLimit=6\nWatchdogTimeout=9\n");
}

TEST_F(SettingsSetTest, AFileThatIsMissingIsMade) {
    const Outcome outcome = run_on(kFile, {"set", "TargetLimit=5"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "petrelradar settings set: /tmp/etc/radar.conf is new\n");
    EXPECT_EQ(read_file(kFile), "[Radar]\nTargetLimit=5\n");
    EXPECT_EQ(mode_of(kFile), 0644U);
}

TEST_F(SettingsSetTest, ModeAndOwnerStay) {
    write_file(kFile, "");
    ASSERT_EQ(chmod(kFile, 0640), 0);
    if (chown(kFile, 12, 34) != 0) GTEST_SKIP() << "this user cannot give files away";
    EXPECT_EQ(run_on(kFile, {"set", "TargetLimit=5"}).status, 0);
    EXPECT_EQ(mode_of(kFile), 0640U);
    EXPECT_EQ(owner_of(kFile), 12U);
}

TEST_F(SettingsSetTest, ASymbolicLinkStaysOne) {
    write_file(kFile, "");
    fs::create_symlink(kFile, "/tmp/link");
    EXPECT_EQ(run_on("/tmp/link", {"set", "TargetLimit=5"}).status, 0);
    EXPECT_TRUE(fs::is_symlink("/tmp/link"));
    EXPECT_EQ(read_file(kFile), "[Radar]\nTargetLimit=5\n");
}

TEST_F(SettingsSetTest, AWrongValueElsewhereIsRefusedAndMendedByItsOwn) {
    const std::string text = "[Radar]\nTargetLimit=x\nWatchdogTimeout=3\n";
    EXPECT_EQ(run(text, {"set", "WatchdogTimeout=4"}).err,
              "petrelradar settings set: /tmp/etc/radar.conf: line 2: TargetLimit is 'x', which is "
              "not a 32-bit integer\n");
    EXPECT_EQ(read_file(kFile), text);
    EXPECT_EQ(run(text, {"set", "TargetLimit=4"}).status, 0);
}

TEST_F(SettingsSetTest, ForcedWhatNobodyUnderstandsIsSet) {
    EXPECT_EQ(run("", {"set", "My-own.key_1=-2147483648", "--force"}).status, 0);
    EXPECT_EQ(read_file(kFile), "[Radar]\nMy-own.key_1=-2147483648\n");
}

/** Saving, made to fail: the file is what it was, and nothing is left beside it. */
class SettingsFailureTest : public SettingsTest {
protected:
    void expect_failure(std::string const& problem) {
        const Outcome outcome = run_on(kFile, {"set", "TargetLimit=6"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "petrelradar settings set: /tmp/etc/radar.conf: " + problem + "\n");
        EXPECT_EQ(read_file(kFile), "[Radar]\nTargetLimit=5\n");
        EXPECT_THAT(list_directory("/tmp/etc"), ElementsAre("radar.conf"));
    }

    void SetUp() override {
        SettingsTest::SetUp();
        if (!IsSkipped()) write_file(kFile, "[Radar]\nTargetLimit=5\n");
    }

    test_support::SystemCalls calls_;
};

TEST_F(SettingsFailureTest, ACardThatIsFull) {
    calls_.pwrite = fails_with(ENOSPC);
    expect_failure("No space left on device");
}

TEST_F(SettingsFailureTest, AFlushThatFails) {
    calls_.fsync = fails_with(EIO);
    expect_failure("Input/output error");
}

TEST_F(SettingsFailureTest, ARenameThatFails) {
    calls_.rename = fails_with(EBUSY);
    expect_failure("Device or resource busy");
}

TEST_F(SettingsFailureTest, ATextThatDoesNotReadBack) {
    calls_.fsync = [](int fd) { return ftruncate(fd, 0); };
    expect_failure("would not read back as it is meant, so nothing was changed");
}

TEST_F(SettingsFailureTest, AChangeBySomebodyElseMeanwhile) {
    calls_.fsync = [](int) {
        write_file(kFile, "[Radar]\nTargetLimit=77\n");
        return 0;
    };
    const Outcome outcome = run_on(kFile, {"set", "TargetLimit=6"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("was changed by somebody else meanwhile; nothing was "
                                       "written"));
    EXPECT_EQ(read_file(kFile), "[Radar]\nTargetLimit=77\n");
}

TEST_F(SettingsFailureTest, AWriteInPiecesIsStillWhole) {
    calls_.pwrite = [](int fd, void const* bytes, size_t size, off64_t offset) {
        return test_support::real_pwrite(fd, bytes, std::min<size_t>(size, 3), offset);
    };
    EXPECT_EQ(run_on(kFile, {"set", "TargetLimit=6"}).status, 0);
    EXPECT_EQ(read_file(kFile), "[Radar]\nTargetLimit=6\n");
}

TEST_F(SettingsFailureTest, ADirectoryThatIsMissing) {
    EXPECT_EQ(run_on("/tmp/no/radar.conf", {"set", "TargetLimit=6"}).err,
              "petrelradar settings set: /tmp/no/radar.conf: No such file or directory\n");
}

TEST_F(SettingsFailureTest, TheLibraryLogsNothingOfItsOwn) {
    test_support::clear_log();
    run_on(kFile, {"set", "TargetLimit=6"});
    EXPECT_THAT(test_support::captured_log(), IsEmpty());
}

}  // namespace
