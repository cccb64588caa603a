#include "service/recorders.h"

#include <gmock/gmock.h>
#include <sys/mount.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "kit/input_error.h"
#include "recordings.h"
#include "support/captured_log.h"
#include "support/private_paths.h"
#include "support/system_calls.h"

namespace {

namespace fs = std::filesystem;
using Service::Recorders;
using Service::Settings;
using service_test::recordings_in;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using Table = std::unordered_map<std::string, int>;

constexpr char kDiagnostics[] = "/tmp/radar-diagnostics";
constexpr char kCard[] = "/var/spool/storage/SD_DISK";

class RecordersTest : public test_support::PrivatePathsTest {
protected:
    void start(Table const& table = {}) {
        recorders_ = std::make_unique<Recorders>(Settings("test", table));
    }

    std::string refusal(Table const& table = {}) {
        try {
            start(table);
        } catch (Kit::InputError const& error) {
            return error.what();
        }
        return "";
    }

    /** Records one frame, `now_ms` after the first. */
    void record(uint64_t timestamp, int now_ms = 0, bool failure_active = false) {
        buffer_.clear();
        buffer_.set_timestamp(timestamp);
        buffer_.push_back(service_test::frame_at(0, 1).targets(0));
        recorders_->record(
            buffer_,
            [&] {
                ++raw_records_;
                return raw_record_;
            },
            failure_active, start_ + std::chrono::milliseconds(now_ms));
    }

    static std::vector<uint64_t> recorded(std::string const& directory) {
        return service_test::timestamps(
            service_test::recorded_frames(directory, recordings_in(directory, "radar")));
    }

    Recorders::Clock::time_point start_ = Recorders::Clock::now();
    Radar::SocketBuffer buffer_{8};
    std::string raw_record_ = "raw";
    int raw_records_ = 0;
    test_support::SystemCalls system_calls_;
    std::unique_ptr<Recorders> recorders_;
};

TEST_F(RecordersTest, FramesAreRecordedByDefault) {
    start();
    record(1);
    record(2);
    recorders_->finish();
    EXPECT_THAT(recorded("/tmp"), ElementsAre(1, 2));
}

TEST_F(RecordersTest, FinishingStoresEveryFrameThatWasHandedOver) {
    start();
    std::vector<uint64_t> expected;
    for (uint64_t i = 1; i <= 500; ++i) {
        record(i);
        expected.push_back(i);
    }
    recorders_->finish();
    EXPECT_EQ(recorded("/tmp"), expected);
}

TEST_F(RecordersTest, FinishingCompletesEveryFile) {
    start({{"DataFileWriterEnabled", 1}});
    record(1);
    recorders_->finish();
    EXPECT_THAT(recordings_in("/tmp", "radar"), ElementsAre(EndsWith(".data")));
    EXPECT_THAT(recordings_in("/tmp", "raw"), ElementsAre(EndsWith(".data")));
    EXPECT_THAT(recordings_in(kDiagnostics, "radar"), ElementsAre(EndsWith(".data")));
}

TEST_F(RecordersTest, FinishingFlushesEveryFile) {
    start({{"DataFileWriterEnabled", 1}});
    record(1);
    recorders_->finish();
    for (auto const& [name, status] : recorders_->status()) {
        EXPECT_EQ(status.files_flushed, 1U) << name;
    }
}

TEST_F(RecordersTest, FramesAreNotRecordedWhenTheSettingsSaySo) {
    start({{"FileWriterEnabled", 0}});
    record(1);
    recorders_->finish();
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
    recorders_->finish();
    const auto names = recordings_in("/tmp", "raw");
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(test_support::read_file("/tmp/" + names[0]).substr(40), "rawraw");
}

TEST_F(RecordersTest, TheSettingsSayWhereFilesGo) {
    start({{"FileWriterLocation", 1}, {"DataFileWriterLocation", 1}, {"DataFileWriterEnabled", 1}});
    record(1);
    recorders_->finish();
    EXPECT_EQ(recordings_in(kCard, "radar").size(), 1U);
    EXPECT_EQ(recordings_in(kCard, "raw").size(), 1U);
    EXPECT_THAT(recordings_in("/tmp", "radar"), IsEmpty());
}

TEST_F(RecordersTest, TheSettingsSayHowLargeFilesGet) {
    start({{"FileWriterMaxFileSize", 41}});
    for (uint64_t i = 1; i <= 3; ++i) record(i);
    recorders_->finish();
    // A file for each frame, and one that was begun for the next.
    EXPECT_EQ(recorders_->status()["objects"].files_completed, 4U);
}

TEST_F(RecordersTest, DiagnosticsGetOneFrameASecond) {
    start();
    for (int i = 0; i < 30; ++i) record(static_cast<uint64_t>(i), i * 100);
    recorders_->finish();
    EXPECT_THAT(recorded(kDiagnostics), ElementsAre(0, 10, 20));
}

TEST_F(RecordersTest, DiagnosticsGetEveryFrameWhileAFailureIsActive) {
    start();
    for (int i = 0; i < 5; ++i) record(static_cast<uint64_t>(i), i * 100, i >= 3);
    recorders_->finish();
    EXPECT_THAT(recorded(kDiagnostics), ElementsAre(0, 3, 4));
}

TEST_F(RecordersTest, DiagnosticsThatAreOffLeaveNoFile) {
    start({{"DiagnosticFileWriterEnabled", 0}});
    record(1);
    recorders_->finish();
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

TEST_F(RecordersTest, AFileInPlaceOfTheDirectoryOfDiagnosticsIsRefusedAndKept) {
    test_support::write_file(kDiagnostics, "mine");
    EXPECT_EQ(refusal(), std::string(kDiagnostics) + ": cannot be written to: Not a directory");
    EXPECT_EQ(test_support::read_file(kDiagnostics), "mine");
}

TEST_F(RecordersTest, ARefusalBeginsNoFile) {
    fs::remove(kCard);
    refusal({{"DataFileWriterEnabled", 1}, {"DataFileWriterLocation", 1}});
    EXPECT_THAT(recordings_in("/tmp", "radar"), IsEmpty());
    EXPECT_THAT(recordings_in(kDiagnostics, "radar"), IsEmpty());
}

TEST_F(RecordersTest, TryingADirectoryOutLeavesNothing) {
    start({{"FileWriterEnabled", 0}, {"DataFileWriterEnabled", 1}});
    EXPECT_THAT(test_support::list_directory("/tmp"),
                ElementsAre("radar-diagnostics", testing::StartsWith("raw_")));
}

TEST_F(RecordersTest, TheStatusNamesTheFileBeingWritten) {
    start();
    record(1);
    const auto deadline = Recorders::Clock::now() + std::chrono::seconds(30);
    while (recorders_->status()["objects"].frames_written < 1 &&
           Recorders::Clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    const Kit::RecorderStatus status = recorders_->status()["objects"];
    EXPECT_EQ(status.file, "/tmp/" + recordings_in("/tmp", "radar").at(0));
    EXPECT_EQ(status.frames, 1U);
    EXPECT_EQ(status.frames_written, 1U);
}

TEST_F(RecordersTest, TheStatusTellsWhatIsOn) {
    start({{"DiagnosticFileWriterEnabled", 0}});
    auto status = recorders_->status();
    EXPECT_TRUE(status["objects"].enabled);
    EXPECT_FALSE(status["raw"].enabled);
    EXPECT_FALSE(status["diagnostics"].enabled);
}

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
    const auto deadline = Recorders::Clock::now() + std::chrono::seconds(30);
    while (recorders_->is_behind(start_) && Recorders::Clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    EXPECT_FALSE(recorders_->is_behind(start_));
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
