#include "filewriter/diagnostic_file_writer.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <type_traits>

#include "lib/filewriter/frames.h"
#include "lib/filewriter/recorder_fixture.h"
#include "lib/filewriter/recording.h"

namespace {

namespace fs = std::filesystem;

using Radar::DiagnosticFileWriter;
using test_support::captured_log;
using test_support::list_directory;
using test_support::parse_recording;
using test_support::read_file;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_base_of<Radar::ObjectFileWriter, DiagnosticFileWriter>::value,
              "an object recorder");
static_assert(sizeof(DiagnosticFileWriter) == sizeof(Radar::ObjectFileWriter), "adds no members");

/** A directory of recordings in which the time of every file is known. */
class DiagnosticsTest : public test_support::RecorderTest {
protected:
    void SetUp() override {
        RecorderTest::SetUp();
        if (!IsSkipped()) fs::create_directory(directory);
    }

    /** Makes a file that was modified `second` seconds after some moment. */
    void make_file(std::string const& file, int second) {
        const std::string path = directory + "/" + file;
        test_support::write_file(path, "");
        const timespec modified[2] = {{1700000000 + second, 0}, {1700000000 + second, 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), modified, 0), 0);
    }

    const std::string directory = "/tmp/radar-diagnostics";
    const std::string name = "radar_150525_093007_042";
    const std::string next_name = "radar_150525_093008_042";
};

class ScanRecordedFilesTest : public DiagnosticsTest {
protected:
    /** The names that a scan finds, in its order. */
    Names scanned() const {
        Names names;
        for (std::string const& path : scan_recorded_files(directory)) {
            EXPECT_EQ(path.substr(0, directory.size() + 1), directory + "/");
            names.push_back(path.substr(directory.size() + 1));
        }
        return names;
    }
};

TEST_F(ScanRecordedFilesTest, FindsRecordingsOldestFirst) {
    make_file("radar_1", 30);
    make_file("radar_2", 10);
    make_file("radar_3", 20);
    EXPECT_THAT(scanned(), ElementsAre("radar_2", "radar_3", "radar_1"));
}

TEST_F(ScanRecordedFilesTest, FindsCompletedAndUnfinishedRecordings) {
    make_file("radar_1", 1);
    make_file("radar_2.data", 2);
    EXPECT_THAT(scanned(), ElementsAre("radar_1", "radar_2.data"));
}

TEST_F(ScanRecordedFilesTest, FindsWhateverBeginsWithRadar) {
    make_file("radar", 1);
    make_file("radars", 2);
    make_file("Radar_1", 3);
    make_file("rada", 4);
    make_file("a radar", 5);
    EXPECT_THAT(scanned(), ElementsAre("radar", "radars"));
}

TEST_F(ScanRecordedFilesTest, SkipsWhatIsNoRegularFile) {
    fs::create_directory(directory + "/radar_directory");
    fs::create_symlink("/dev/null", directory + "/radar_link");
    ASSERT_EQ(mkfifo((directory + "/radar_fifo").c_str(), 0600), 0);
    EXPECT_THAT(scanned(), IsEmpty());
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(ScanRecordedFilesTest, SkipsFilesOfATypeThatTheFileSystemDoesNotReport) {
    make_file("radar_1", 1);
    make_file("radar_2", 2);
    system_calls.readdir = [](DIR* opened) {
        dirent* const entry = test_support::real_readdir(opened);
        if (entry != nullptr && std::string(entry->d_name) == "radar_1") entry->d_type = DT_UNKNOWN;
        return entry;
    };
    EXPECT_THAT(scanned(), ElementsAre("radar_2"));
}

TEST_F(ScanRecordedFilesTest, AnEmptyDirectoryGivesNothing) {
    EXPECT_THAT(scanned(), IsEmpty());
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(ScanRecordedFilesTest, AMissingDirectoryIsLogged) {
    EXPECT_THAT(scan_recorded_files("/tmp/none"), IsEmpty());
    EXPECT_EQ(captured_log(), (Log{failed_call(2, "Failed to open /tmp/none", ENOENT)}));
}

TEST_F(ScanRecordedFilesTest, ADirectoryThatCannotBeOpenedIsLogged) {
    make_file("radar_1", 1);
    system_calls.opendir = [](char const*) -> DIR* {
        errno = EMFILE;
        return nullptr;
    };
    EXPECT_THAT(scanned(), IsEmpty());
    EXPECT_EQ(captured_log(), (Log{failed_call(2, "Failed to open " + directory, EMFILE)}));
}

TEST_F(ScanRecordedFilesTest, AFileThatVanishesMeanwhileIsLoggedAndSkipped) {
    make_file("radar_1", 1);
    make_file("radar_2", 2);
    system_calls.stat = [](char const* path, struct stat* status) {
        if (std::string(path) == "/tmp/radar-diagnostics/radar_1") fs::remove(path);
        return test_support::real_stat(path, status);
    };
    EXPECT_THAT(scanned(), ElementsAre("radar_2"));
    EXPECT_EQ(captured_log(),
              (Log{failed_call(1, "Failed to stat " + directory + "/radar_1", ENOENT)}));
}

TEST_F(ScanRecordedFilesTest, LeavesNoDescriptorOpen) {
    const auto open_descriptors = [] { return list_directory("/proc/self/fd").size(); };
    make_file("radar_1", 1);
    const size_t before = open_descriptors();
    scanned();
    EXPECT_EQ(open_descriptors(), before);
}

class DiagnosticFileWriterTest : public DiagnosticsTest {
protected:
    DiagnosticFileWriterTest() { test_support::make_frame_at(frame, 42); }

    Radar::SocketBuffer frame{10};
};

TEST_F(DiagnosticFileWriterTest, RecordsFromItsConstructionOn) {
    const DiagnosticFileWriter writer(7);
    EXPECT_THAT(list_directory(directory), ElementsAre(name));
}

TEST_F(DiagnosticFileWriterTest, RecordsFramesUnderItsTagOnTheCallersThread) {
    DiagnosticFileWriter writer(7);
    writer.write(frame);
    const auto recording = parse_recording(read_file(directory + "/" + name));
    EXPECT_EQ(recording.frames, 1U);
    EXPECT_EQ(test_support::parse_records(recording.body),
              (std::vector<test_support::Record>{{0xFEED0007, frame.data()}}));
}

TEST_F(DiagnosticFileWriterTest, DeletesTheOldestFilesOfEarlierRunsBeyondFour) {
    for (int i = 1; i <= 6; ++i) make_file("radar_" + std::to_string(i), 10 - i);
    make_file("notes", 0);
    make_file("other.data", 0);
    const DiagnosticFileWriter writer(7);
    EXPECT_THAT(list_directory(directory), ElementsAre("notes", "other.data", "radar_1", name,
                                                       "radar_2", "radar_3", "radar_4"));
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(DiagnosticFileWriterTest, LeavesDirectoriesAlone) {
    for (int i = 1; i <= 6; ++i) fs::create_directory(directory + "/radar_" + std::to_string(i));
    const DiagnosticFileWriter writer(7);
    EXPECT_EQ(list_directory(directory).size(), 7U);
}

TEST_F(DiagnosticFileWriterTest, KeepsFourFilesAcrossARestartOfTheService) {
    for (int run = 0; run < 6; ++run) {
        DiagnosticFileWriter writer(7);
        now.tv_sec += 1;
        writer.restart();
        now.tv_sec += 1;
    }
    EXPECT_LE(list_directory(directory).size(), 5U);
    EXPECT_THAT(list_directory(directory), Contains("radar_150525_093018_042.data"));
}

TEST_F(DiagnosticFileWriterTest, KeepsAFileOpenForFifteenMinutes) {
    DiagnosticFileWriter writer(7);
    now.tv_sec += 900;
    writer.write(frame);
    EXPECT_THAT(list_directory(directory), ElementsAre(name));
    now.tv_sec += 1;
    writer.write(frame);
    EXPECT_THAT(list_directory(directory), ElementsAre(name + ".data", "radar_150525_094508_042"));
}

TEST_F(DiagnosticFileWriterTest, KeepsAFileOpenUpToEightMebibytes) {
    DiagnosticFileWriter writer(7);
    writer.DataFileWriter::write(std::string(8388608 - 40, 'x'));
    EXPECT_THAT(list_directory(directory), ElementsAre(name));
    ++now.tv_sec;
    writer.DataFileWriter::write(std::string("x"));
    EXPECT_THAT(list_directory(directory), ElementsAre(name + ".data", next_name));
}

TEST_F(DiagnosticFileWriterTest, AMissingDirectoryIsLoggedByTheScanAndEveryAttempt) {
    fs::remove(directory);
    DiagnosticFileWriter writer(7);
    writer.write(frame);
    const auto not_begun = failed_stream(2, "Failed to open " + directory + "/" + name);
    EXPECT_EQ(captured_log(),
              (Log{failed_call(2, "Failed to open " + directory, ENOENT), not_begun, not_begun}));
    EXPECT_FALSE(fs::exists(directory));
}

TEST_F(DiagnosticFileWriterTest, RecordsOnceItsDirectoryAppears) {
    fs::remove(directory);
    DiagnosticFileWriter writer(7);
    fs::create_directory(directory);
    writer.write(frame);
    EXPECT_EQ(parse_recording(read_file(directory + "/" + name)).frames, 1U);
}

TEST_F(DiagnosticFileWriterTest, EnabledWithAnyValueButOneSwitchesOff) {
    for (const int value : {0, 2, -1}) {
        DiagnosticFileWriter writer(7);
        writer.configure("DiagnosticFileWriterEnabled", value);
        EXPECT_FALSE(writer.is_open()) << value;
        writer.write(frame);
        EXPECT_FALSE(writer.is_open()) << value;
    }
    EXPECT_THAT(list_directory(directory), ElementsAre(name + ".data"));
}

TEST_F(DiagnosticFileWriterTest, EnabledWithOneSwitchesOnAgainWithANewFile) {
    DiagnosticFileWriter writer(7);
    writer.configure("DiagnosticFileWriterEnabled", 0);
    ++now.tv_sec;
    writer.configure("DiagnosticFileWriterEnabled", 1);
    EXPECT_THAT(list_directory(directory), ElementsAre(name + ".data", next_name));
}

TEST_F(DiagnosticFileWriterTest, FileTimeIsInSeconds) {
    DiagnosticFileWriter writer(7);
    writer.configure("DiagnosticFileWriterFileTime", 0);
    ++now.tv_sec;
    writer.write(frame);
    EXPECT_THAT(list_directory(directory), ElementsAre(name + ".data", next_name));
}

TEST_F(DiagnosticFileWriterTest, MaxFileCountIsTheKeptCount) {
    for (int i = 1; i <= 4; ++i) make_file("radar_" + std::to_string(i), i);
    DiagnosticFileWriter writer(7);
    writer.configure("DiagnosticFileWriterMaxFileCount", 1);
    ++now.tv_sec;
    writer.restart();
    EXPECT_THAT(list_directory(directory), ElementsAre(name + ".data", next_name));
}

TEST_F(DiagnosticFileWriterTest, MaxFileSizeIsInBytes) {
    DiagnosticFileWriter writer(7);
    writer.configure("DiagnosticFileWriterMaxFileSize", 50);
    ++now.tv_sec;
    writer.write(frame);
    EXPECT_THAT(list_directory(directory), ElementsAre(name + ".data", next_name));
}

TEST_F(DiagnosticFileWriterTest, KeysThatAreNotItsOwnAreIgnored) {
    DiagnosticFileWriter writer(7);
    ++now.tv_sec;
    for (char const* key :
         {"DiagnosticFileWriterLocation", "FileWriterEnabled", "FileWriterFileTime",
          "FileWriterLocation", "FileWriterMaxFileCount", "FileWriterMaxFileSize",
          "DataFileWriterEnabled", "DataFileWriterLocation", ""}) {
        writer.configure(key, 0);
        writer.configure(key, 1);
    }
    writer.write(frame);
    EXPECT_THAT(list_directory(directory), ElementsAre(name));
}

}  // namespace
