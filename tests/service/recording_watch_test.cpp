#include "service/recording_watch.h"

#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <mutex>

#include "filewriter/data_file_writer.h"
#include "kit/base/error.h"
#include "kit/recording/format.h"
#include "service/log_tap.h"
#include "tests/support/captured_log.h"
#include "tests/support/eventually.h"
#include "tests/support/private_paths.h"
#include "tests/support/system_calls.h"

namespace {

namespace fs = std::filesystem;
using Service::RecordedFiles;
using Service::RecordingWatch;
using test_support::write_file;

constexpr char kDirectory[] = "/tmp/recordings";
constexpr char kName[] = "/tmp/recordings/raw_010125_120000_000";
constexpr char kCompletedName[] = "/tmp/recordings/raw_010125_120000_000.data";

class RecordingWatchTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (!IsSkipped()) fs::create_directory(kDirectory);
    }

    void watch() {
        watch_ = std::make_unique<RecordingWatch>(
            std::vector<Service::RecordingPlace>{{kDirectory, "raw"}});
    }

    /** Everything that has happened to the files so far. */
    RecordedFiles all_files() {
        watch_->stop();
        return watch_->files(0);
    }

    static void complete(std::string const& name, uint32_t frames = 0) {
        Kit::RecordingHeader header;
        header.frame_count = frames;
        write_file(name, Kit::encode_header(header));
        fs::rename(name, name + ".data");
    }

    /** Has every flush recorded as the path that was flushed. */
    void record_flushes() {
        system_calls_.fsync = [this](int fd) {
            const std::lock_guard<std::mutex> lock(mutex_);
            flushed_.push_back(fs::read_symlink("/proc/self/fd/" + std::to_string(fd)));
            return 0;
        };
    }

    test_support::SystemCalls system_calls_;
    std::mutex mutex_;
    std::vector<std::string> flushed_;
    std::unique_ptr<RecordingWatch> watch_;
};

TEST_F(RecordingWatchTest, ACompletedFileIsFlushedOnceMoreAndThenItsDirectory) {
    record_flushes();
    watch();
    complete(kName);
    all_files();
    EXPECT_THAT(flushed_, testing::ElementsAre(kCompletedName, kDirectory));
}

TEST_F(RecordingWatchTest, AFileOfTheLibrarysRecorderIsFlushedAfterItsRename) {
    watch();
    record_flushes();
    Radar::DataFileWriter writer(kDirectory, 10, true, "raw", 0);
    writer.write("frame");
    writer.setEnabled(false);
    const RecordedFiles files = all_files();
    EXPECT_THAT(flushed_, testing::ElementsAre(testing::Not(testing::EndsWith(".data")),
                                               files.last_completed, kDirectory));
}

TEST_F(RecordingWatchTest, ACompletedFileIsCounted) {
    watch();
    complete(kName);
    const RecordedFiles files = all_files();
    EXPECT_EQ(files.completed, 1U);
    EXPECT_EQ(files.flushed, 1U);
    EXPECT_EQ(files.flush_failures, 0U);
    EXPECT_EQ(files.last_completed, kCompletedName);
}

TEST_F(RecordingWatchTest, FilesFromBeforeDoNotCount) {
    complete(kName);
    watch();
    EXPECT_EQ(all_files().completed, 0U);
}

TEST_F(RecordingWatchTest, FilesOfOtherProgramsAreLeftAlone) {
    record_flushes();
    watch();
    complete("/tmp/recordings/rawhide_010125_120000_000");
    complete("/tmp/recordings/raw_notes");
    all_files();
    EXPECT_THAT(flushed_, testing::IsEmpty());
}

TEST_F(RecordingWatchTest, TheFileBeingWrittenIsTold) {
    watch();
    write_file(kName, "");
    EXPECT_EQ(all_files().current, kName);
}

TEST_F(RecordingWatchTest, ACompletedFileIsNoLongerTheOneBeingWritten) {
    watch();
    complete(kName);
    EXPECT_EQ(all_files().current, "");
}

TEST_F(RecordingWatchTest, AFileThatIsDeletedIsNoLongerTheOneBeingWritten) {
    watch();
    write_file(kName, "");
    fs::remove(kName);
    EXPECT_EQ(all_files().current, "");
}

TEST_F(RecordingWatchTest, FramesOfCompletedAndOpenFilesAreCounted) {
    watch();
    complete(kName, 3);
    complete("/tmp/recordings/raw_010125_120001_000", 4);
    std::string header(40, '\0');
    header[36] = 5;
    write_file("/tmp/recordings/raw_010125_120002_000", header);
    EXPECT_EQ(all_files().frames, 12U);
}

TEST_F(RecordingWatchTest, AFlushThatFailsIsLoggedAndCounted) {
    system_calls_.fsync = test_support::fails_with(EIO);
    test_support::clear_log();
    watch();
    complete(kName);
    EXPECT_EQ(all_files().flush_failures, 1U);
    EXPECT_THAT(
        test_support::captured_log(),
        testing::ElementsAre(test_support::LogLine{
            2, "Failed to fsync " + std::string(kCompletedName) + ": Input/output error\n"}));
}

TEST_F(RecordingWatchTest, AFlushOfTheDirectoryThatFailsIsLoggedAndCounted) {
    system_calls_.fsync = [calls = 0](int) mutable {
        errno = EIO;
        return ++calls == 2 ? -1 : 0;
    };
    test_support::clear_log();
    watch();
    complete(kName);
    EXPECT_EQ(all_files().flush_failures, 1U);
    EXPECT_EQ(test_support::captured_log().size(), 1U);
}

TEST_F(RecordingWatchTest, AFileThatTheRecorderCouldNotFlushDoesNotCountAsFlushed) {
    watch();
    Service::LogTap::instance().note(2, "Failed to sync data file " + std::string(kName) + "!\n");
    complete(kName);
    const RecordedFiles files = all_files();
    EXPECT_EQ(files.flushed, 0U);
    EXPECT_EQ(files.flush_failures, 1U);
}

TEST_F(RecordingWatchTest, AFileThatWasDeletedAgainIsNoFailure) {
    // The flush of the first file holds the watch up until the second is gone.
    std::atomic<bool> deleted{false};
    system_calls_.fsync = [&](int) {
        while (!deleted) std::this_thread::yield();
        return 0;
    };
    watch();
    complete(kName);
    complete("/tmp/recordings/raw_010125_120001_000");
    fs::remove("/tmp/recordings/raw_010125_120001_000.data");
    deleted = true;
    const RecordedFiles files = all_files();
    EXPECT_EQ(files.completed, 2U);
    EXPECT_EQ(files.flushed, 1U);
    EXPECT_EQ(files.flush_failures, 0U);
}

TEST_F(RecordingWatchTest, ADirectoryThatCannotBeWatchedIsRefused) {
    try {
        const RecordingWatch none(std::vector<Service::RecordingPlace>{{"/tmp/none", "raw"}});
        FAIL() << "watches nothing";
    } catch (Kit::Error const& error) {
        EXPECT_STREQ(error.what(), "/tmp/none: cannot be watched: No such file or directory");
    }
}

TEST_F(RecordingWatchTest, AnotherMediumInPlaceOfTheDirectoryIsNoticed) {
    watch();
    ASSERT_EQ(mount("tmpfs", kDirectory, "tmpfs", 0, nullptr), 0);
    complete(kName);
    ASSERT_TRUE(test_support::eventually([this] { return watch_->files(0).completed > 0; }));
    EXPECT_EQ(watch_->files(0).flushed, 1U);
}

}  // namespace
