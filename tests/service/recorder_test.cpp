#include "service/recorder.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "filewriter/timeval_printer.h"
#include "tests/service/recorder_fixture.h"
#include "tests/support/captured_log.h"

namespace {

namespace fs = std::filesystem;
using service_test::kSdCard;
using service_test::RecorderTest;
using test_support::recordings_in;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(RecorderTest, EveryFrameIsInACompletedFile) {
    start();
    push(50);
    const auto status = finish();
    EXPECT_EQ(completed_in("/tmp"), numbers(0, 50));
    EXPECT_EQ(status.frames_written, 50U);
    EXPECT_EQ(status.files_completed, 1U);
}

TEST_F(RecorderTest, NoFileIsBegunWithoutAFrame) {
    start();
    finish();
    EXPECT_THAT(recordings_in("/tmp", "raw"), IsEmpty());
}

TEST_F(RecorderTest, AFileEndsWithTheFrameThatTakesItPastItsSize) {
    options_.file_size = 100;
    start();
    push(3);
    EXPECT_EQ(finish().files_completed, 3U);
    EXPECT_EQ(completed_in("/tmp"), numbers(0, 3));
}

TEST_F(RecorderTest, NoTwoFilesAreBegunInOneMillisecond) {
    options_.file_size = 1;
    start();
    push(200);
    EXPECT_EQ(finish().files_completed, 200U);
    EXPECT_EQ(completed_in("/tmp"), numbers(0, 200));
}

TEST_F(RecorderTest, AFileEndsWhenItsTimeIsUpAlsoWithoutAFrame) {
    options_.file_time = std::chrono::seconds(0);
    start();
    push();
    EXPECT_TRUE(await([](auto const& status) { return status.files_completed == 1; }));
}

TEST_F(RecorderTest, TheTimeOfAFileIsThatOfAClockThatNobodySets) {
    // The library asks these; both go back a day after each question.
    std::atomic<time_t> now{1000000000};
    system_calls_.time = [&] { return now -= 86400; };
    system_calls_.gettimeofday = [&](timeval* time) {
        *time = {now -= 86400, 0};
        return 0;
    };
    options_.file_time = std::chrono::seconds(0);
    start();
    push(1, 0);
    EXPECT_TRUE(await([](auto const& status) { return status.files_completed == 1; }));
    push(1, 1);
    EXPECT_TRUE(await([](auto const& status) { return status.files_completed == 2; }));
    EXPECT_EQ(finish().files_flushed, 2U);
}

TEST_F(RecorderTest, TheFileBeingWrittenAndTheLastCompletedAreTold) {
    start();
    push();
    ASSERT_TRUE(await_written(1));
    const std::string file = status().file;
    EXPECT_EQ(file, "/tmp/" + recordings_in("/tmp", "raw").at(0));
    EXPECT_EQ(finish().last_completed, file + ".data");
    EXPECT_EQ(status().file, "");
}

TEST_F(RecorderTest, ACopiedRecordingInTheDirectoryIsNotItsOwn) {
    start();
    push(2);
    ASSERT_TRUE(await_written(2));
    fs::copy_file(status().file, "/tmp/raw_010125_000000_000.data");
    const auto status = finish();
    EXPECT_EQ(status.frames_written, 2U);
    EXPECT_EQ(status.files_completed, 1U);
}

TEST_F(RecorderTest, TwoRecordersInOneDirectoryAreIndependent) {
    start();
    auto first = std::move(recorder_);
    start();
    for (int i = 0; i < 100; ++i) {
        push(1, i);
        first->push("7" + std::string(kRecordSize - 1, ' '));
    }
    EXPECT_EQ(finish().frames_written, 100U);
    first->finish();
    EXPECT_TRUE(test_support::eventually([&] { return first->is_finished(); }));
    EXPECT_EQ(first->status(Clock::now()).frames_written, 100U);
    EXPECT_EQ(completed_in("/tmp").size(), 200U);
}

TEST_F(RecorderTest, WhatHasARecordersNameIsNotTouched) {
    ASSERT_EQ(mkfifo("/tmp/raw_010125_000000_000", 0666), 0);
    fs::create_symlink("/etc/passwd", "/tmp/raw_010125_000000_001");
    fs::create_directory("/tmp/raw_010125_000000_002.data");
    ASSERT_EQ(mkfifo("/tmp/raw_010125_000000_003.data", 0666), 0);
    start();
    push(10);
    const auto status = finish();
    EXPECT_EQ(status.frames_written, 10U);
    EXPECT_EQ(status.errors, 0U);
    EXPECT_TRUE(fs::is_fifo("/tmp/raw_010125_000000_000"));
}

TEST_F(RecorderTest, ANameThatSomebodyHasTakenIsWaitedOut) {
    // The clock stands still on a FIFO's name for a while.
    std::atomic<int> asked{0};
    system_calls_.gettimeofday = [&](timeval* time) {
        *time = {1735689600, ++asked < 5 ? 0 : 500000};
        return 0;
    };
    std::ostringstream name;
    using Radar::operator<<;
    name << "/tmp/raw_" << timeval{1735689600, 1000};
    ASSERT_EQ(mkfifo(name.str().c_str(), 0666), 0);
    start();
    push();
    EXPECT_TRUE(await_written(1));
}

TEST_F(RecorderTest, ACompletedFileIsFlushedBeforeAndAfterItsRenameAndThenItsDirectory) {
    std::vector<std::string> calls;
    system_calls_.fsync = [&](int fd) {
        calls.push_back(fs::read_symlink("/proc/self/fd/" + std::to_string(fd)));
        return test_support::real_fsync(fd);
    };
    start();
    push();
    const std::string completed = finish().last_completed;
    ASSERT_GE(calls.size(), 3U);
    EXPECT_EQ(calls.front() + ".data", completed);
    EXPECT_EQ(calls[calls.size() - 2], completed);
    EXPECT_EQ(calls.back(), "/tmp");
}

TEST_F(RecorderTest, AFlushThatFailsOnceIsNotForgotten) {
    int calls = 0;
    system_calls_.fsync = [&](int fd) {
        if (++calls > 1) return test_support::real_fsync(fd);
        errno = EIO;
        return -1;
    };
    start();
    push();
    const auto status = finish();
    EXPECT_EQ(status.flush_failures, 1U);
    EXPECT_EQ(status.files_flushed, 0U);
    EXPECT_THAT(status.last_error, HasSubstr("failed to flush: Input/output error"));
}

TEST_F(RecorderTest, ARenameThatFailsIsNoCompletedFile) {
    system_calls_.rename = test_support::fails_with(EACCES);
    start();
    push();
    const auto status = finish();
    EXPECT_EQ(status.files_completed, 0U);
    EXPECT_THAT(status.last_error, HasSubstr("not completed: "));
}

TEST_F(RecorderTest, ADeletedFileIsFollowedByANewOneAndItsFramesAreCounted) {
    start();
    push(3, 0);
    ASSERT_TRUE(await_written(3));
    fs::remove(status().file);
    push(2, 3);
    const auto status = finish();
    EXPECT_EQ(status.frames_written, 2U);
    EXPECT_EQ(status.frames_failed, 3U);
    EXPECT_THAT(status.last_error, EndsWith(": was deleted; it held 3 frames"));
    EXPECT_EQ(completed_in("/tmp"), numbers(3, 5));
    expect_sum(status);
}

TEST_F(RecorderTest, ADeletedFileIsReportedWithoutAFrame) {
    start();
    push();
    ASSERT_TRUE(await_written(1));
    fs::remove(status().file);
    EXPECT_TRUE(await([](auto const& status) { return status.frames_failed == 1; }));
}

TEST_F(RecorderTest, AMovedFileKeepsItsFramesAndIsReported) {
    start();
    push(3, 0);
    ASSERT_TRUE(await_written(3));
    fs::rename(status().file, "/tmp/mine");
    push(2, 3);
    const auto status = finish();
    EXPECT_EQ(status.frames_written, 5U);
    EXPECT_THAT(status.last_error, HasSubstr("not where it was"));
    EXPECT_EQ(records_of("/tmp/mine"), numbers(0, 3));
    EXPECT_EQ(completed_in("/tmp"), numbers(3, 5));
    expect_sum(status);
}

TEST_F(RecorderTest, AFileThatSomebodyHasPutInPlaceIsNotTakenForItsOwn) {
    start();
    push(1, 0);
    ASSERT_TRUE(await_written(1));
    const std::string path = status().file;
    fs::rename(path, "/tmp/mine");
    test_support::write_file(path, "theirs");
    push(1, 1);
    ASSERT_TRUE(await_written(2));
    EXPECT_EQ(test_support::read_file(path), "theirs");
}

TEST_F(RecorderTest, OneErrorOnACounterLosesNoFrame) {
    bool failed = false;
    system_calls_.write = [&](int fd, void const* bytes, size_t size) {
        if (size == 4 && !failed) {
            failed = true;
            errno = EIO;
            return ssize_t{-1};
        }
        return test_support::real_write(fd, bytes, size);
    };
    start();
    push(5);
    const auto status = finish();
    EXPECT_EQ(status.frames_written, 5U);
    EXPECT_EQ(completed_in("/tmp"), numbers(0, 5));
    EXPECT_THAT(status.last_error, HasSubstr("Input/output error"));
}

TEST_F(RecorderTest, AFileSizeLimitIsOneMoreEndOfAFile) {
    const auto limited = [](size_t size) {
        errno = EFBIG;
        return size > 64 ? -1 : 0;
    };
    std::atomic<int> records{0};
    system_calls_.write = [&](int fd, void const* bytes, size_t size) {
        if (size >= kRecordSize && ++records == 3) return ssize_t{limited(size)};
        return test_support::real_write(fd, bytes, size);
    };
    start();
    push(5);
    EXPECT_TRUE(await_written(5));
    finish();
    EXPECT_EQ(completed_in("/tmp"), numbers(0, 5));
}

}  // namespace
