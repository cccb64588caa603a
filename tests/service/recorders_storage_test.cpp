#include <gmock/gmock.h>
#include <sys/mount.h>

#include <atomic>
#include <thread>

#include "tests/service/recorders_fixture.h"
#include "tests/support/eventually.h"

/** The recorders on storage that gives trouble. */
namespace {

using Service::Recorders;
using service_test::RecordersTest;

constexpr char kCard[] = "/var/spool/storage/SD_DISK";

/** Storage that takes nothing until it is told to. */
class HangingStorageTest : public RecordersTest {
protected:
    void SetUp() override {
        RecordersTest::SetUp();
        if (IsSkipped()) return;
        start({{"DiagnosticFileWriterEnabled", 0}});
        const auto is_writer = [this] { return std::this_thread::get_id() != test_thread_; };
        system_calls_.write = [=](int fd, void const* bytes, size_t size) {
            while (hanging_ && is_writer()) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            return test_support::real_write(fd, bytes, size);
        };
        system_calls_.writev = [=](int fd, iovec const* pieces, int count) {
            while (hanging_ && is_writer()) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            return test_support::real_writev(fd, pieces, count);
        };
        for (uint64_t i = 0; i < 8448; ++i) record(i);
    }

    void TearDown() override {
        hanging_ = false;
        recorders_.reset();
    }

    std::thread::id test_thread_ = std::this_thread::get_id();
    std::atomic<bool> hanging_{true};
};

TEST_F(HangingStorageTest, AnInputThatCanWaitIsHeldUp) {
    EXPECT_TRUE(recorders_->is_behind(start_));
}

TEST_F(HangingStorageTest, TheInputGoesOnWhenTheStorageDoes) {
    EXPECT_TRUE(recorders_->is_behind(start_));
    hanging_ = false;
    EXPECT_TRUE(test_support::eventually([this] { return !recorders_->is_behind(start_); }));
}

TEST_F(HangingStorageTest, TheInputIsNotHeldUpForEver) {
    EXPECT_TRUE(recorders_->is_behind(start_));
    EXPECT_FALSE(recorders_->is_behind(start_ + std::chrono::seconds(1)));
}

TEST_F(HangingStorageTest, EveryFrameIsStoredInTheEndAllTheSame) {
    recorders_->is_behind(start_);
    recorders_->is_behind(start_ + std::chrono::seconds(1));
    hanging_ = false;
    recorders_->finish();
    EXPECT_EQ(recorded("/tmp").size(), 8448U);
}

/** A card with room for less than one page more. */
class FullCardTest : public RecordersTest {
protected:
    void SetUp() override {
        RecordersTest::SetUp();
        if (IsSkipped()) return;
        ASSERT_EQ(mount("tmpfs", kCard, "tmpfs", 0, "size=16k"), 0);
        start({{"FileWriterLocation", 1},
               {"DataFileWriterLocation", 1},
               {"DataFileWriterEnabled", 1}});
    }

    void fill() {
        raw_record_.resize(100);
        for (uint64_t i = 1; i <= 3000; ++i) record(i);
        recorders_->finish();
    }
};

TEST_F(FullCardTest, FramesAreTakenOnAFullCard) {
    fill();
    EXPECT_EQ(recorders_->status()["raw"].frames, 3000U);
}

TEST_F(FullCardTest, TheErrorsAreCountedAndTheLastOneIsTold) {
    fill();
    EXPECT_GT(recorders_->status()["raw"].errors, 0U);
    EXPECT_THAT(recorders_->status()["raw"].last_error, testing::HasSubstr(kCard));
}

TEST_F(FullCardTest, TheOtherRecorderGoesOn) {
    fill();
    EXPECT_EQ(recorders_->status()["diagnostics"].errors, 0U);
}

}  // namespace
