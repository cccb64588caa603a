#include "service/recorders.h"

#include <gmock/gmock.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>

#include "tests/service/recorders_fixture.h"

namespace {

namespace fs = std::filesystem;
using Service::Recorders;
using service_test::RecordersTest;
using test_support::recordings_in;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

const std::string kDiagnostics = "/tmp/radar-diagnostics";
constexpr char kCard[] = "/var/spool/storage/SD_DISK";

TEST_F(RecordersTest, FramesAreRecordedByDefault) {
    start();
    record(1);
    record(2);
    finish();
    EXPECT_THAT(recorded("/tmp"), ElementsAre(1, 2));
}

TEST_F(RecordersTest, FinishingStoresEveryFrameThatWasHandedOver) {
    start();
    std::vector<uint64_t> expected;
    for (uint64_t i = 1; i <= 500; ++i) {
        record(i);
        expected.push_back(i);
    }
    finish();
    EXPECT_EQ(recorded("/tmp"), expected);
}

TEST_F(RecordersTest, FinishingCompletesEveryFile) {
    start({{"DataFileWriterEnabled", 1}});
    record(1);
    finish();
    EXPECT_THAT(recordings_in("/tmp", "radar"), ElementsAre(EndsWith(".data")));
    EXPECT_THAT(recordings_in("/tmp", "raw"), ElementsAre(EndsWith(".data")));
    EXPECT_THAT(recordings_in(kDiagnostics, "radar"), ElementsAre(EndsWith(".data")));
}

TEST_F(RecordersTest, FinishingFlushesEveryFile) {
    start({{"DataFileWriterEnabled", 1}});
    record(1);
    finish();
    for (auto const& [name, status] : recorders_->status(Recorders::Clock::now())) {
        EXPECT_EQ(status.files_flushed, 1U) << name;
        EXPECT_EQ(status.flush_failures, 0U) << name;
    }
}

TEST_F(RecordersTest, FramesAreNotRecordedWhenTheSettingsSaySo) {
    start({{"FileWriterEnabled", 0}});
    record(1);
    finish();
    EXPECT_THAT(recordings_in("/tmp", "radar"), IsEmpty());
}

TEST_F(RecordersTest, RawRecordsAreMadeOnlyWhenTheyAreAskedFor) {
    start();
    record(1);
    EXPECT_EQ(raw_records_, 0);
    EXPECT_THAT(recordings_in("/tmp", "raw"), IsEmpty());
}

TEST_F(RecordersTest, RawRecordsGoToTheirOwnFile) {
    start({{"DataFileWriterEnabled", 1}});
    record(1);
    record(2);
    finish();
    const auto names = recordings_in("/tmp", "raw");
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(test_support::read_file("/tmp/" + names[0]).substr(40), "rawraw");
}

TEST_F(RecordersTest, TheSettingsSayWhereFilesGo) {
    start({{"FileWriterLocation", 1}, {"DataFileWriterLocation", 1}, {"DataFileWriterEnabled", 1}});
    record(1);
    finish();
    EXPECT_EQ(recordings_in(kCard, "radar").size(), 1U);
    EXPECT_EQ(recordings_in(kCard, "raw").size(), 1U);
    EXPECT_THAT(recordings_in("/tmp", "radar"), IsEmpty());
}

TEST_F(RecordersTest, TheSettingsSayHowLargeFilesGet) {
    start({{"FileWriterMaxFileSize", 41}});
    for (uint64_t i = 1; i <= 3; ++i) record(i);
    finish();
    EXPECT_EQ(status("objects").files_completed, 3U);
    EXPECT_THAT(recorded("/tmp"), ElementsAre(1, 2, 3));
}

TEST_F(RecordersTest, DiagnosticsGetOneFrameASecond) {
    start();
    for (int i = 0; i < 30; ++i) record(static_cast<uint64_t>(i), i * 100);
    finish();
    EXPECT_THAT(recorded(kDiagnostics), ElementsAre(0, 10, 20));
}

TEST_F(RecordersTest, DiagnosticsGetEveryFrameWhileAFailureIsActive) {
    start();
    for (int i = 0; i < 5; ++i) record(static_cast<uint64_t>(i), i * 100, i >= 3);
    finish();
    EXPECT_THAT(recorded(kDiagnostics), ElementsAre(0, 3, 4));
}

TEST_F(RecordersTest, DiagnosticsThatAreOffLeaveNoFile) {
    start({{"DiagnosticFileWriterEnabled", 0}});
    record(1);
    finish();
    EXPECT_THAT(recordings_in(kDiagnostics, "radar"), IsEmpty());
}

TEST_F(RecordersTest, TheDirectoryOfDiagnosticsIsMade) {
    start();
    EXPECT_TRUE(fs::is_directory(kDiagnostics));
}

TEST_F(RecordersTest, ADirectoryThatIsMissingIsRefused) {
    fs::remove(kCard);
    EXPECT_EQ(refusal({{"FileWriterLocation", 1}}),
              std::string(kCard) + ": cannot be written to: No such file or directory");
}

TEST_F(RecordersTest, ADirectoryOfARecorderThatIsOffMayBeMissing) {
    fs::remove(kCard);
    EXPECT_EQ(refusal({{"DataFileWriterLocation", 1}}), "");
}

TEST_F(RecordersTest, AReadOnlyMediumIsRefused) {
    ASSERT_EQ(mount("tmpfs", kCard, "tmpfs", MS_RDONLY, nullptr), 0);
    EXPECT_EQ(refusal({{"FileWriterLocation", 1}}),
              std::string(kCard) + ": cannot be written to: Read-only file system");
}

/** What somebody else has put in place of the directory of diagnostics. */
class ForeignDiagnosticsTest : public RecordersTest {
protected:
    void expect_off(std::string const& reason) {
        start();
        record(1);
        finish();
        const Kit::RecorderStatus diagnostics = status("diagnostics");
        EXPECT_FALSE(diagnostics.enabled);
        EXPECT_EQ(diagnostics.last_error, kDiagnostics + reason + "; diagnostics are off");
        EXPECT_THAT(recorded("/tmp"), ElementsAre(1));
    }
};

TEST_F(ForeignDiagnosticsTest, AFileIsKeptAndDiagnosticsAreOff) {
    test_support::write_file(kDiagnostics, "mine");
    expect_off(": not a directory");
    EXPECT_EQ(test_support::read_file(kDiagnostics), "mine");
}

TEST_F(ForeignDiagnosticsTest, ALinkIsNotFollowed) {
    fs::create_directory("/tmp/elsewhere");
    fs::create_symlink("/tmp/elsewhere", kDiagnostics);
    expect_off(": not a directory");
    EXPECT_TRUE(fs::is_empty("/tmp/elsewhere"));
}

TEST_F(ForeignDiagnosticsTest, ADirectoryThatOthersCanWriteToIsNotUsed) {
    fs::create_directory(kDiagnostics);
    fs::permissions(kDiagnostics, fs::perms::all);
    expect_off(": other users can write to it (chmod go-w mends that)");
}

TEST_F(ForeignDiagnosticsTest, ADirectoryOfAnotherUserIsNotUsed) {
    fs::create_directory(kDiagnostics);
    if (chown(kDiagnostics.c_str(), 65534, 65534) != 0) GTEST_SKIP() << "one user only";
    expect_off(": belongs to another user");
}

TEST_F(RecordersTest, ARefusalBeginsNoFile) {
    fs::remove(kCard);
    refusal({{"DataFileWriterEnabled", 1}, {"DataFileWriterLocation", 1}});
    EXPECT_THAT(recordings_in("/tmp", "radar"), IsEmpty());
    EXPECT_THAT(recordings_in(kDiagnostics, "radar"), IsEmpty());
}

TEST_F(RecordersTest, TryingADirectoryOutLeavesNothing) {
    start({{"FileWriterEnabled", 0}, {"DataFileWriterEnabled", 1}});
    EXPECT_THAT(test_support::list_directory("/tmp"), ElementsAre("radar-diagnostics"));
}

TEST_F(RecordersTest, NoFileIsBegunBeforeTheFirstFrame) {
    start({{"DataFileWriterEnabled", 1}});
    finish();
    EXPECT_THAT(recordings_in("/tmp", "radar"), IsEmpty());
    EXPECT_THAT(recordings_in("/tmp", "raw"), IsEmpty());
    EXPECT_THAT(recordings_in(kDiagnostics, "radar"), IsEmpty());
}

TEST_F(RecordersTest, TheStatusNamesTheFileBeingWritten) {
    start();
    record(1);
    ASSERT_TRUE(await("objects", [](auto const& status) { return status.frames_written == 1; }));
    EXPECT_EQ(status("objects").file, "/tmp/" + recordings_in("/tmp", "radar").at(0));
    EXPECT_EQ(status("objects").frames, 1U);
}

TEST_F(RecordersTest, TheStatusTellsWhatIsOn) {
    start({{"DiagnosticFileWriterEnabled", 0}});
    EXPECT_TRUE(status("objects").enabled);
    EXPECT_FALSE(status("raw").enabled);
    EXPECT_FALSE(status("diagnostics").enabled);
}

}  // namespace
