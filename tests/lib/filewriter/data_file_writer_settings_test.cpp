#include <climits>

#include "filewriter/data_file_writer.h"
#include "lib/filewriter/recorder_fixture.h"

namespace {

using Radar::DataFileWriter;
using test_support::list_directory;
using testing::ElementsAre;
using testing::IsEmpty;

/** A recorder with one frame in its file, a second ago. */
class DataFileWriterSettingsTest : public test_support::RecorderTest {
protected:
    void SetUp() override {
        RecorderTest::SetUp();
        if (IsSkipped()) return;
        writer.write("frame");
        ++now.tv_sec;
    }

    void expect_untouched() { EXPECT_THAT(list_directory("/tmp"), ElementsAre(name)); }

    const std::string card = "/var/spool/storage/SD_DISK";
    const std::string name = "radar_150525_093007_042";
    const std::string next_name = "radar_150525_093008_042";
    DataFileWriter writer{"/tmp", 60, true, "radar", 0};
};

TEST_F(DataFileWriterSettingsTest, EnabledWithOneSwitchesOn) {
    writer.setEnabled(false);
    writer.configure("DataFileWriterEnabled", 1);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data", next_name));
}

TEST_F(DataFileWriterSettingsTest, EnabledWithEveryOtherValueSwitchesOff) {
    for (const int value : {0, 5, -1, 2, INT_MAX}) {
        writer.setEnabled(true);
        writer.configure("DataFileWriterEnabled", value);
        EXPECT_FALSE(writer.is_open()) << value;
    }
}

TEST_F(DataFileWriterSettingsTest, EnabledWithOneWhileOnKeepsTheFile) {
    writer.configure("DataFileWriterEnabled", 1);
    expect_untouched();
}

TEST_F(DataFileWriterSettingsTest, FileTimeIsInSeconds) {
    writer.configure("DataFileWriterFileTime", 2);
    ++now.tv_sec;
    writer.write("frame");
    expect_untouched();
    ++now.tv_sec;
    writer.write("frame");
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data", "radar_150525_093010_042"));
}

TEST_F(DataFileWriterSettingsTest, LocationOneContinuesOnTheCard) {
    writer.configure("DataFileWriterLocation", 1);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data"));
    EXPECT_THAT(list_directory(card), ElementsAre(next_name));
}

TEST_F(DataFileWriterSettingsTest, LocationZeroContinuesUnderTmpWithTheEndOfTheLongerName) {
    writer.configure("DataFileWriterLocation", 1);
    ++now.tv_sec;
    writer.configure("DataFileWriterLocation", 0);
    EXPECT_THAT(list_directory(card), ElementsAre(next_name + ".data"));
    EXPECT_THAT(list_directory("/tmp"),
                ElementsAre(name + ".data", "radar_150525_093009_042adar_150525_093008_042"));
}

TEST_F(DataFileWriterSettingsTest, TheLocationThatHoldsBeginsANewFileAllTheSame) {
    writer.configure("DataFileWriterLocation", 0);
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data", next_name));
}

TEST_F(DataFileWriterSettingsTest, AnyOtherLocationIsIgnored) {
    for (const int value : {2, -1, INT_MAX}) writer.configure("DataFileWriterLocation", value);
    expect_untouched();
    EXPECT_THAT(list_directory(card), IsEmpty());
}

TEST_F(DataFileWriterSettingsTest, ALocationWhileOffIsUsedWhenRecordingIsSwitchedOn) {
    writer.setEnabled(false);
    writer.configure("DataFileWriterLocation", 1);
    EXPECT_THAT(list_directory(card), IsEmpty());
    writer.setEnabled(true);
    EXPECT_THAT(list_directory(card), ElementsAre(next_name));
}

TEST_F(DataFileWriterSettingsTest, MaxFileCountIsTheKeptCount) {
    writer.configure("DataFileWriterMaxFileCount", 1);
    for (int i = 0; i < 4; ++i) {
        writer.restart();
        ++now.tv_sec;
    }
    EXPECT_THAT(list_directory("/tmp"),
                ElementsAre("radar_150525_093010_042.data", "radar_150525_093011_042"));
}

TEST_F(DataFileWriterSettingsTest, MaxFileSizeIsInBytesAndHasTheSharedKey) {
    writer.configure("FileWriterMaxFileSize", 49);
    writer.write("more");
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name)) << "49 bytes";
    writer.write("x");
    EXPECT_THAT(list_directory("/tmp"), ElementsAre(name + ".data", next_name));
}

TEST_F(DataFileWriterSettingsTest, ANegativeMaxFileSizeIsALimitOfFourGibibytes) {
    writer.configure("FileWriterMaxFileSize", -1);
    writer.write("frame");
    expect_untouched();
}

TEST_F(DataFileWriterSettingsTest, KeysThatAreNotItsOwnAreIgnored) {
    for (char const* key :
         {"FileWriterEnabled", "FileWriterFileTime", "FileWriterLocation", "FileWriterMaxFileCount",
          "DataFileWriterMaxFileSize", "DiagnosticFileWriterEnabled", "datafilewriterenabled",
          "DataFileWriterEnabled ", "DataFileWriter", ""}) {
        writer.configure(key, 0);
        writer.configure(key, 1);
    }
    ++now.tv_sec;
    writer.write("frame");
    expect_untouched();
}

}  // namespace
