#include "kit/recording/files.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "kit/base/input_error.h"
#include "tests/support/private_paths.h"
#include "tests/support/recording_bytes.h"
#include "tests/support/system_calls.h"

namespace {

using test_support::frame;
using test_support::header;
using test_support::record;
using test_support::word;
using testing::ElementsAre;

/** The header of a recording that was begun at some time. */
std::string header_of(uint32_t seconds) {
    std::string bytes = header(0);
    return bytes.replace(8, 4, word(seconds));
}

class RecordingFilesTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        setenv("TZ", "UTC", 1);
        std::filesystem::remove_all("/tmp/d");
        std::filesystem::create_directory("/tmp/d");
    }

    static void write(std::string const& name, std::string const& content) {
        test_support::write_file("/tmp/d/" + name, content);
    }

    /** The names of the recorded files in the directory, in order. */
    static std::vector<std::string> names() {
        std::vector<std::string> result;
        for (Kit::RecordingFile const& file : Kit::list_recordings("/tmp/d")) {
            result.emplace_back(Kit::file_name_of(file.path));
        }
        return result;
    }
};

TEST_F(RecordingFilesTest, AFileIsToldByItsFirstBytes) {
    write("radar_150525_093007_042.data", header(3) + record(frame(1)) + record(frame(2)));
    const Kit::RecordingFile file = Kit::examine_recording("/tmp/d/radar_150525_093007_042.data");
    ASSERT_TRUE(file.header);
    EXPECT_EQ(file.header->frame_count, 3u);
    EXPECT_EQ(file.tag, 0xFEED0007u);
    EXPECT_FALSE(file.raw);
    EXPECT_FALSE(file.unfinished());
    EXPECT_EQ(file.size, 70u);
    EXPECT_EQ(file.begin_ms(), 1747301407042);
}

TEST_F(RecordingFilesTest, RawDataHasNoTag) {
    write("raw_150525_093007_042.data", header(3) + "raw data");
    const Kit::RecordingFile file = Kit::examine_recording("/tmp/d/raw_150525_093007_042.data");
    EXPECT_TRUE(file.raw);
    EXPECT_FALSE(file.tag);
}

TEST_F(RecordingFilesTest, AnEmptyFileHasTheTimeOfItsName) {
    write("radar_150525_093007_042", "");
    const Kit::RecordingFile file = Kit::examine_recording("/tmp/d/radar_150525_093007_042");
    EXPECT_FALSE(file.header);
    EXPECT_TRUE(file.unfinished());
    EXPECT_EQ(file.begin_ms(), 1747301407042);
}

TEST_F(RecordingFilesTest, AFileThatIsMissingHasAProblem) {
    EXPECT_EQ(Kit::examine_recording("/tmp/d/none").problem,
              "/tmp/d/none: No such file or directory");
}

TEST_F(RecordingFilesTest, NothingIsReadFromAPipe) {
    ASSERT_EQ(mkfifo("/tmp/d/pipe", 0600), 0);
    const Kit::RecordingFile file = Kit::examine_recording("/tmp/d/pipe");
    EXPECT_FALSE(file.header);
    EXPECT_EQ(file.problem, "");
}

TEST_F(RecordingFilesTest, FilesAreListedInOrderOfTheirHeadersTimes) {
    // Begun one after the other while the clock was set back from summer time.
    write("radar_261025_025900_000.data", header_of(1761440340));
    write("radar_261025_020100_000.data", header_of(1761440460));
    write("radar_261025_020500_000", header_of(1761440700));
    EXPECT_THAT(names(), ElementsAre("radar_261025_025900_000.data", "radar_261025_020100_000.data",
                                     "radar_261025_020500_000"));
}

TEST_F(RecordingFilesTest, FilesOfOneSecondAreListedInOrderOfTheirMilliseconds) {
    write("radar_150525_093007_900.data", header(0));
    write("radar_150525_093007_042.data", header(0));
    EXPECT_THAT(names(),
                ElementsAre("radar_150525_093007_042.data", "radar_150525_093007_900.data"));
}

TEST_F(RecordingFilesTest, FilesOfManyYearsAreListedByTimeNotByName) {
    write("radar_010126_000000_000.data", header_of(1767225600));
    write("radar_311225_235959_000.data", header_of(1767225599));
    EXPECT_THAT(names(),
                ElementsAre("radar_311225_235959_000.data", "radar_010126_000000_000.data"));
}

TEST_F(RecordingFilesTest, AFileThatARepairHasRenamedIsListed) {
    write("FSCK0000.REC", header(1) + record(frame(1)));
    EXPECT_THAT(names(), ElementsAre("FSCK0000.REC"));
}

TEST_F(RecordingFilesTest, OtherFilesAreNotListed) {
    write("notes.txt", "of a measurement");
    write("radar.csv", "frame_index,timestamp_us\n");
    std::filesystem::create_directory("/tmp/d/radar_150525_093007_042");
    ASSERT_EQ(mkfifo("/tmp/d/radar_150525_093007_043", 0600), 0);
    ASSERT_EQ(symlink("/nowhere", "/tmp/d/radar_150525_093007_044"), 0);
    EXPECT_THAT(names(), ElementsAre());
}

TEST_F(RecordingFilesTest, AFileThatCannotBeReadIsListedWithItsProblem) {
    write("radar_150525_093007_042.data", header(0));
    test_support::SystemCalls system_calls;
    system_calls.open = [](char const* path, int flags) {
        if (std::string(path).find("radar_") == std::string::npos) {
            return test_support::real_open(path, flags);
        }
        errno = EACCES;
        return -1;
    };
    const auto files = Kit::list_recordings("/tmp/d");
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].problem, "/tmp/d/radar_150525_093007_042.data: Permission denied");
}

TEST_F(RecordingFilesTest, AFileIsAListOfItself) {
    write("walk.rec", header(0));
    EXPECT_EQ(Kit::list_recordings("/tmp/d/walk.rec").size(), 1u);
}

TEST_F(RecordingFilesTest, AMissingPathIsRefused) {
    EXPECT_THAT([] { Kit::list_recordings("/tmp/none"); },
                testing::ThrowsMessage<Kit::InputError>("/tmp/none: No such file or directory"));
}

TEST_F(RecordingFilesTest, RecordersAreToldByPrefixAndTag) {
    write("radar_150525_093007_042.data", header(1) + record(frame(1)));
    write("radar_150525_093107_042.data", header(1) + record(frame(1)));
    write("radar_150525_093008_042.data", header(1) + record(frame(1), 0xFEED2050));
    write("rear_150525_093009_042.data", header(1) + record(frame(1)));
    write("raw_150525_093009_042.data", header(1) + "raw data");
    EXPECT_THAT(Kit::recorders_of(Kit::list_recordings("/tmp/d")),
                ElementsAre("radar 0xFEED0007", "rear 0xFEED0007", "radar 0xFEED2050"));
}

TEST_F(RecordingFilesTest, AFileWithoutARecordersNameCountsByItsTag) {
    write("radar_150525_093007_042.data", header(1) + record(frame(1)));
    write("FSCK0000.REC", header(1) + record(frame(1)));
    write("FSCK0001.REC", header(1) + record(frame(1), 0xFEED2050));
    EXPECT_THAT(Kit::recorders_of(Kit::list_recordings("/tmp/d")),
                ElementsAre("radar 0xFEED0007", "0xFEED2050"));
}

}  // namespace
