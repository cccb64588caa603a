#include <sys/mount.h>

#include <filesystem>
#include <fstream>

#include "tests/service/recorder_fixture.h"
#include "tests/support/captured_log.h"

/** A recorder on storage that fails and recovers. */
namespace {

namespace fs = std::filesystem;
using service_test::kSdCard;
using service_test::RecorderTest;
using test_support::recordings_in;
using testing::HasSubstr;
using testing::IsEmpty;

/** A card with room for a few pages. */
class RecorderFullCardTest : public RecorderTest {
protected:
    void SetUp() override {
        RecorderTest::SetUp();
        if (IsSkipped()) return;
        ASSERT_EQ(mount("tmpfs", kSdCard, "tmpfs", 0, "size=16k"), 0);
        options_.storage.is_mount = true;
        options_.queue_frames = 50;
        start(kSdCard);
    }

    /** Pushes more than there is room for. */
    void fill() {
        push(40, 0);
        ASSERT_TRUE(await_written(40));
        for (int i = 40; i < 400 && status().storage.empty(); ++i) {
            push(1, i);
            pushed_ = i + 1;
            const uint64_t all = static_cast<uint64_t>(i) + 1;
            await(
                [&](auto const& now) { return now.frames_written == all || !now.storage.empty(); });
        }
        ASSERT_TRUE(await_failure());
    }

    int pushed_ = 0;
};

TEST_F(RecorderFullCardTest, TheFileIsCompletedWithItsWholeRecords) {
    fill();
    const auto status = this->status();
    EXPECT_EQ(completed_in(kSdCard), numbers(0, static_cast<int>(status.frames_written)));
    EXPECT_EQ(status.files_completed, 1U);
    expect_sum(status);
}

TEST_F(RecorderFullCardTest, TheReasonIsTheSystems) {
    fill();
    EXPECT_THAT(status().storage, HasSubstr("No space left on device"));
    EXPECT_THAT(status().last_error, HasSubstr("No space left on device"));
    EXPECT_NE(status().last_failed_us, 0U);
}

TEST_F(RecorderFullCardTest, WhatDoesNotFitInTheQueueIsDroppedAndCounted) {
    fill();
    push(200, pushed_);
    const auto status = this->status();
    EXPECT_LE(status.queued, 51U);
    EXPECT_GE(status.frames_dropped, 100U);
    expect_sum(status);
}

TEST_F(RecorderFullCardTest, NothingButTheCompletedFileIsLeft) {
    fill();
    finish();
    EXPECT_EQ(recordings_in(kSdCard, "raw").size(), 1U);
    EXPECT_GT(status().frames_failed, 0U);
    expect_sum(status());
}

TEST_F(RecorderFullCardTest, RecordingGoesOnWithTheQueuedFramesWhenThereIsRoom) {
    fill();
    push(10, pushed_);
    fs::remove(kSdCard + ("/" + recordings_in(kSdCard, "raw").at(0)));
    EXPECT_TRUE(await([](auto const& status) { return status.storage.empty(); }));
    const auto status = finish();
    EXPECT_EQ(status.frames_dropped + status.frames_failed, 0U);
    EXPECT_EQ(completed_in(kSdCard).back(), pushed_ + 9);
    EXPECT_NE(status.last_failed_us, 0U);
    expect_sum(status);
}

TEST_F(RecorderFullCardTest, TheLogHasOneLineWhenItBeginsAndOneWhenItEnds) {
    fill();
    std::this_thread::sleep_for(std::chrono::milliseconds(2500));
    fs::remove(kSdCard + ("/" + recordings_in(kSdCard, "raw").at(0)));
    ASSERT_TRUE(await([](auto const& status) { return status.storage.empty(); }));
    int begins = 0;
    int ends = 0;
    for (auto const& line : test_support::captured_log()) {
        begins += line.text.find("are queued and tried again") != std::string::npos ? 1 : 0;
        ends += line.text.find("records raw again after") != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(begins, 1);
    EXPECT_EQ(ends, 1);
}

/** A card that comes and goes. */
class RecorderCardTest : public RecorderTest {
protected:
    void SetUp() override {
        RecorderTest::SetUp();
        options_.storage.is_mount = true;
    }

    static void insert() { ASSERT_EQ(mount("tmpfs", kSdCard, "tmpfs", 0, nullptr), 0); }
    static void pull() { ASSERT_EQ(umount2(kSdCard, MNT_DETACH), 0); }
};

TEST_F(RecorderCardTest, WithoutACardNothingIsWrittenBeneath) {
    start(kSdCard);
    push(3);
    ASSERT_TRUE(await_failure());
    EXPECT_THAT(status().storage, HasSubstr("no medium is mounted there"));
    EXPECT_TRUE(fs::is_empty(kSdCard));
    expect_sum(status());
}

TEST_F(RecorderCardTest, NoCardAtStartIsAFailureAndNoRefusal) {
    start(kSdCard);
    ASSERT_TRUE(test_support::eventually([&] { return recorder_->trial().has_value(); }));
    EXPECT_EQ(recorder_->trial()->result, Service::StorageTrial::Result::kLater);
    EXPECT_TRUE(await_failure());
}

TEST_F(RecorderCardTest, ACardThatComesIsRecordedToWithAllThatWaited) {
    start(kSdCard);
    push(3);
    ASSERT_TRUE(await_failure());
    insert();
    EXPECT_TRUE(await_written(3));
    finish();
    EXPECT_EQ(completed_in(kSdCard), numbers(0, 3));
}

TEST_F(RecorderCardTest, APulledCardIsNoticedWithoutAFrameWithinTwoSeconds) {
    insert();
    start(kSdCard);
    push(3);
    ASSERT_TRUE(await_written(3));
    pull();
    const auto pulled = Clock::now();
    EXPECT_TRUE(await_failure());
    EXPECT_LT(Clock::now() - pulled, std::chrono::seconds(2));
    EXPECT_TRUE(fs::is_empty(kSdCard));
}

TEST_F(RecorderCardTest, AfterAPulledCardRecordingGoesOnOnTheNextWithinFiveSeconds) {
    insert();
    start(kSdCard);
    push(3, 0);
    ASSERT_TRUE(await_written(3));
    pull();
    ASSERT_TRUE(await_failure());
    push(3, 3);
    insert();
    const auto inserted = Clock::now();
    EXPECT_TRUE(await_written(6));
    EXPECT_LT(Clock::now() - inserted, std::chrono::seconds(5));
    finish();
    EXPECT_EQ(completed_in(kSdCard), numbers(3, 6));
}

TEST_F(RecorderCardTest, AMissingCardIsOneLineOfTheLog) {
    start(kSdCard);
    for (int i = 0; i < 50; ++i) {
        push(1, i);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    int lines = 0;
    for (auto const& line : test_support::captured_log()) {
        lines += line.text.find(kSdCard) != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(lines, 1);
}

TEST_F(RecorderCardTest, APlainDirectoryIsRecordedToWhereNoMountIsExpected) {
    options_.storage.is_mount = false;
    start(kSdCard);
    push(3);
    EXPECT_EQ(finish().frames_written, 3U);
}

/** Storage that takes nothing until it is told to. */
class RecorderHungTest : public RecorderTest {
protected:
    void SetUp() override {
        RecorderTest::SetUp();
        if (IsSkipped()) return;
        system_calls_.write = [this](int fd, void const* bytes, size_t size) {
            while (hanging_ && std::this_thread::get_id() != test_thread_) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            return test_support::real_write(fd, bytes, size);
        };
        options_.queue_frames = 100;
        start();
    }

    void TearDown() override {
        hanging_ = false;
        RecorderTest::TearDown();
    }

    std::thread::id test_thread_ = std::this_thread::get_id();
    std::atomic<bool> hanging_{true};
};

TEST_F(RecorderHungTest, PushingDoesNotWait) {
    const auto begin = Clock::now();
    push(10000);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(2));
}

TEST_F(RecorderHungTest, TheQueueStaysWithinItsBoundAndEveryFrameIsCounted) {
    push(1000);
    const auto status = this->status();
    EXPECT_LE(status.queued, 101U);
    EXPECT_GE(status.frames_dropped, 899U);
    expect_sum(status);
}

TEST_F(RecorderHungTest, ItIsAFailureWithTheTimeAndTheQueue) {
    push(1);
    const auto later = Clock::now() + std::chrono::seconds(12);
    ASSERT_TRUE(test_support::eventually(
        [&] { return recorder_->stuck_for(later) > std::chrono::seconds(11); }));
    const auto health = recorder_->health(later);
    EXPECT_TRUE(health.failing_since);
    EXPECT_THAT(health.text, HasSubstr("storage has hung for 1"));
    EXPECT_THAT(health.text, HasSubstr("1 of at most 100 frames queued"));
}

TEST_F(RecorderHungTest, AProducerThatCanWaitDoesSoForAWhile) {
    push(60);
    ASSERT_TRUE(test_support::eventually(
        [&] { return recorder_->stuck_for(Clock::now()) > std::chrono::milliseconds(20); }));
    EXPECT_TRUE(recorder_->should_wait(Clock::now()));
    EXPECT_FALSE(recorder_->should_wait(Clock::now() + std::chrono::seconds(3)));
}

TEST_F(RecorderHungTest, EverythingIsStoredWhenTheStorageGoesOn) {
    push(60);
    hanging_ = false;
    EXPECT_EQ(finish().frames_written, 60U);
    EXPECT_TRUE(status().storage.empty());
}

TEST_F(RecorderHungTest, FramesThatComeTooFastAreTold) {
    push(60);
    EXPECT_TRUE(recorder_->health(Clock::now()).is_behind);
}

}  // namespace
