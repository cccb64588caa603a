#include <sys/mount.h>
#include <sys/stat.h>

#include <csignal>
#include <cstring>
#include <filesystem>

#include "tests/service/host_fixture.h"

/** What the running program records. */
namespace {

namespace fs = std::filesystem;
using service_test::kCard;
using service_test::kDiagnostics;
using service_test::kSettings;
using test_support::frames_of;
using test_support::number;
using test_support::read_recording;
using test_support::recordings_in;
using test_support::texts;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Not;

class HostRecordingTest : public service_test::HostTest {
protected:
    static struct stat state_of(std::string const& path) {
        struct stat state = {};
        EXPECT_EQ(stat(path.c_str(), &state), 0) << path;
        return state;
    }
};

TEST_F(HostRecordingTest, EveryFrameOfTheInputIsRecorded) {
    const auto frames = frames_of(300, 33333);
    EXPECT_EQ(play(frames), 0);
    EXPECT_EQ(texts(recorded()), texts(frames));
}

TEST_F(HostRecordingTest, TheHeaderCountsTheFrames) {
    play(frames_of(25, 33333));
    const auto names = recordings_in("/tmp", "radar");
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(read_recording("/tmp/" + names[0]).frame_counter, 25U);
}

TEST_F(HostRecordingTest, RecordsHaveTheTagOfTheirRecorder) {
    play(frames_of(1, 33333));
    EXPECT_EQ(read_recording("/tmp/" + recordings_in("/tmp", "radar").at(0)).records.at(0).first,
              0xFEED2050U);
    EXPECT_EQ(
        read_recording(std::string(kDiagnostics) + "/" + recordings_in(kDiagnostics, "radar").at(0))
            .records.at(0)
            .first,
        0xFEED2051U);
}

TEST_F(HostRecordingTest, ARecordingPlayedAgainGivesTheSameFrames) {
    const auto frames = frames_of(50, 33333);
    play(frames);
    const std::string recording = "/tmp/" + recordings_in("/tmp", "radar").at(0);
    EXPECT_EQ(start({"--input", recording, "--rate", "max", "--settings",
                     settings_file("FileWriterLocation=1\nStorageIsMount=0\n")})
                  .wait(),
              0)
        << host_->errors();
    EXPECT_EQ(texts(recorded(kCard)), texts(frames));
}

TEST_F(HostRecordingTest, FilesAreRotatedAsTheSettingsSayAndNoFrameIsLost) {
    // At a rate at which no two files are begun in one millisecond: their names would be the same.
    const auto frames = frames_of(400, 1000);
    play(frames, "FileWriterMaxFileSize=4000\n", "1");
    EXPECT_GT(recordings_in("/tmp", "radar").size(), 2U);
    EXPECT_EQ(texts(recorded()), texts(frames));
}

TEST_F(HostRecordingTest, NoMoreFilesAreKeptThanTheSettingsSay) {
    play(frames_of(400, 1000), "FileWriterMaxFileSize=4000\nFileWriterMaxFileCount=2\n", "1");
    // The two that are kept, and the one that was being written.
    EXPECT_LE(recordings_in("/tmp", "radar").size(), 3U);
}

TEST_F(HostRecordingTest, RawRecordsHaveTheRegistersOfEveryFrame) {
    play(frames_of(5, 33333), "DataFileWriterEnabled=1\n");
    const auto names = recordings_in("/tmp", "raw");
    ASSERT_EQ(names.size(), 1U);
    const auto recording = read_recording("/tmp/" + names[0]);
    ASSERT_EQ(recording.records.size(), 5U);
    EXPECT_EQ(recording.rest, "");
    for (auto const& [tag, registers] : recording.records) {
        EXPECT_EQ(tag, 0x31574152U);
        EXPECT_EQ(registers.size(), 4U * (4 + 2 * 3));
    }
}

TEST_F(HostRecordingTest, NothingIsRecordedWhenTheSettingsSaySo) {
    play(frames_of(5, 33333), "FileWriterEnabled=0\nDiagnosticFileWriterEnabled=0\n");
    EXPECT_THAT(recordings_in("/tmp", "radar"), IsEmpty());
    EXPECT_THAT(recordings_in(kDiagnostics, "radar"), IsEmpty());
}

TEST_F(HostRecordingTest, DiagnosticsOfEarlierRunsCountTowardsTheirLimit) {
    for (int i = 0; i < 7; ++i) play(frames_of(1, 33333));
    EXPECT_LE(recordings_in(kDiagnostics, "radar").size(), 5U);
}

TEST_F(HostRecordingTest, TheSettingsFileIsNotRewritten) {
    play(frames_of(1, 33333), "# mine\nFileWriterFileTime=5\n");
    const struct stat before = state_of(kSettings);
    start({"--input", "scene", "--settings", kSettings}).await_ready();
    host_->stop(SIGTERM);
    const struct stat after = state_of(kSettings);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(std::memcmp(&after.st_mtim, &before.st_mtim, sizeof(timespec)), 0);
    EXPECT_EQ(test_support::read_file(kSettings), "[Radar]\n# mine\nFileWriterFileTime=5\n");
}

TEST_F(HostRecordingTest, ADefaultSettingsFileIsNotMade) {
    start({"--input", "scene"}).await_ready();
    host_->stop(SIGTERM);
    EXPECT_THAT(test_support::list_directory("/etc/radar"), IsEmpty());
}

TEST_F(HostRecordingTest, TheDefaultSettingsFileIsRead) {
    test_support::write_file("/etc/radar/radar.conf",
                             "[Radar]\nFileWriterLocation=1\nStorageIsMount=0\n");
    start({"--input", "scene"}).await_ready();
    EXPECT_EQ(host_->status()["recorders"]["objects"]["directory"], kCard);
}

TEST_F(HostRecordingTest, AnUnknownSettingIsLogged) {
    play(frames_of(1, 33333), "FileWriterEnable=1\n");
    EXPECT_THAT(host_->errors(),
                testing::HasSubstr("/tmp/settings.conf: no such setting: FileWriterEnable\n"));
}

TEST_F(HostRecordingTest, ADeletedFileIsFollowedByANewOne) {
    start_scene();
    const auto first = host_->await_status([](auto const& status) {
        return status["recorders"]["objects"]["frames_written"] != "0";
    })["recorders"]["objects"]["file"];
    fs::remove(first.get<std::string>());
    host_->await_status([&](auto const& status) {
        auto const& file = status["recorders"]["objects"]["file"];
        return file.is_string() && file != first;
    });
    EXPECT_EQ(host_->stop(SIGTERM), 0);
}

class HostKilledTest : public service_test::HostTest {
protected:
    /** Kills the program in the middle of its work and starts it again on the same sockets. */
    void restart(std::vector<std::string> arguments = {}) {
        start_scene();
        host_->await_status([](auto const& status) {
            return number(status["recorders"]["objects"]["frames_written"]) >= 3;
        });
        unfinished_ = host_->status()["recorders"]["objects"]["file"];
        EXPECT_EQ(host_->stop(SIGKILL), 128 + SIGKILL);
        size_ = fs::file_size(unfinished_);
        EXPECT_TRUE(fs::is_socket(host_->socket()));
        auto killed = std::move(host_);
        arguments.insert(arguments.end(), {"--input", "scene", "--socket", killed->socket()});
        start(arguments).await_ready();
    }

    std::string unfinished_;
    uintmax_t size_ = 0;
};

TEST_F(HostKilledTest, TheNextOneStartsOnTheSocketsThatWereLeft) {
    restart();
    EXPECT_EQ(host_->stop(SIGTERM), 0);
}

TEST_F(HostKilledTest, TheFileThatWasBeingWrittenIsCompleted) {
    restart();
    EXPECT_FALSE(fs::exists(unfinished_));
    const auto recording = read_recording(unfinished_ + ".data");
    EXPECT_GE(recording.records.size(), 3U);
    EXPECT_EQ(recording.frame_counter, recording.records.size());
    EXPECT_EQ(host_->status()["recorders"]["objects"]["files_recovered"], "1");
}

TEST_F(HostKilledTest, TheFileThatWasBeingWrittenIsKeptAsItWasWhenThatIsAskedFor) {
    restart({"--keep-unfinished"});
    EXPECT_EQ(fs::file_size(unfinished_), size_);
    EXPECT_GE(read_recording(unfinished_).records.size(), 3U);
}

/** A card with room for a few pages. */
class HostFullCardTest : public service_test::HostTest {
protected:
    void fill() {
        ASSERT_EQ(mount("tmpfs", kCard, "tmpfs", 0, "size=32k"), 0);
        start({"--input", "scene:1", "--rate", "100", "--settings",
               settings_file("FileWriterLocation=1\nDataFileWriterLocation=1\n"
                             "DataFileWriterEnabled=1\n")});
        host_->await_ready();
        client_ = test_support::connect_to(host_->socket());
        host_->await_status([](auto const& status) {
            return number(status["recorders"]["objects"]["errors"]) > 0 &&
                   number(status["recorders"]["raw"]["errors"]) > 0;
        });
    }

    Kit::FileDescriptor client_;
};

TEST_F(HostFullCardTest, IsToldInTheStatus) {
    fill();
    EXPECT_THAT(host_->status()["recorders"]["raw"]["last_error"].get<std::string>(),
                testing::HasSubstr(kCard));
}

TEST_F(HostFullCardTest, DoesNotKeepFramesFromTheConsumers) {
    fill();
    const uint64_t before = number(host_->status()["stream"]["frames"]);
    host_->await_status(
        [&](auto const& status) { return number(status["stream"]["frames"]) > before + 10; });
    EXPECT_EQ(host_->stop(SIGTERM), 0);
}

TEST_F(HostFullCardTest, DoesNotFloodTheLog) {
    fill();
    host_->await_status([](auto const& status) {
        return number(status["recorders"]["objects"]["frames_dropped"]) > 100;
    });
    host_->stop(SIGTERM);
    const std::string log = host_->errors();
    EXPECT_LT(std::count(log.begin(), log.end(), '\n'), 100);
}

}  // namespace
