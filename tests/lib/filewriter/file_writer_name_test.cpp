#include <filesystem>

#include "lib/filewriter/recorder_fixture.h"

namespace {

using test_support::ExposedFileWriter;
using test_support::list_directory;
using testing::ElementsAre;

class FileWriterNameTest : public test_support::RecorderTest {
protected:
    FileWriterNameTest() { std::filesystem::create_directory("/tmp/a"); }

    /** Begins and completes a file in each directory, a second apart. */
    void record_in(Names const& directories) {
        for (std::string const& directory : directories) {
            writer.directory = directory;
            writer.open();
            writer.close();
            ++now.tv_sec;
        }
    }

    const std::string card = "/var/spool/storage/SD_DISK";
    ExposedFileWriter writer{"/tmp/a", "radar", 4};
};

TEST_F(FileWriterNameTest, AFileIsNamedAfterTheTimeAtWhichItWasBegun) {
    writer.open();
    EXPECT_EQ(writer.file_name.str(), "/tmp/a/radar_150525_093007_042");
    EXPECT_THAT(list_directory("/tmp/a"), ElementsAre("radar_150525_093007_042"));
}

TEST_F(FileWriterNameTest, ANameBeginsWithDirectoryAndPrefix) {
    ExposedFileWriter other("/tmp/a", "other prefix", 0);
    other.open();
    EXPECT_THAT(list_directory("/tmp/a"), ElementsAre("other prefix_150525_093007_042"));
}

TEST_F(FileWriterNameTest, ANameHasLocalTime) {
    setenv("TZ", "AAA-5:30", 1);
    writer.open();
    EXPECT_THAT(list_directory("/tmp/a"), ElementsAre("radar_150525_150007_042"));
}

TEST_F(FileWriterNameTest, TheNextNameReplacesTheOneBefore) {
    record_in({"/tmp/a", "/tmp/a"});
    EXPECT_THAT(list_directory("/tmp/a"),
                ElementsAre("radar_150525_093007_042.data", "radar_150525_093008_042.data"));
}

TEST_F(FileWriterNameTest, ALongerDirectoryReplacesTheNameBefore) {
    record_in({"/tmp/a", card});
    EXPECT_THAT(list_directory(card), ElementsAre("radar_150525_093008_042.data"));
}

TEST_F(FileWriterNameTest, AShorterDirectoryKeepsTheEndOfTheLongerNameBefore) {
    record_in({card, "/tmp/a"});
    const std::string longer = card + "/radar_150525_093007_042";
    const std::string shorter = "/tmp/a/radar_150525_093008_042";
    EXPECT_THAT(list_directory("/tmp/a"),
                ElementsAre("radar_150525_093008_042" + longer.substr(shorter.size()) + ".data"));
}

TEST_F(FileWriterNameTest, TheEndOfALongerNameStaysForEveryShorterOneAfterIt) {
    record_in({card, "/tmp/a", "/tmp/a"});
    EXPECT_THAT(list_directory("/tmp/a"),
                ElementsAre("radar_150525_093008_042ar_150525_093007_042.data",
                            "radar_150525_093009_042ar_150525_093007_042.data"));
}

TEST_F(FileWriterNameTest, TheCompletedFileIsListedUnderTheNameItHas) {
    record_in({card, "/tmp/a"});
    EXPECT_THAT(writer.completed_files,
                ElementsAre(card + "/radar_150525_093007_042.data",
                            "/tmp/a/radar_150525_093008_042ar_150525_093007_042.data"));
}

TEST_F(FileWriterNameTest, TheNameIsRewoundAndNotEmptiedWhenTheFileIsCompleted) {
    writer.open();
    writer.close();
    EXPECT_EQ(writer.file_name.str(), "/tmp/a/radar_150525_093007_042");
    EXPECT_EQ(writer.file_name.tellp(), 0);
}

TEST_F(FileWriterNameTest, TheNameIsNotRewoundWhenThereIsNoFileToComplete) {
    writer.open();
    std::filesystem::remove("/tmp/a/radar_150525_093007_042");
    writer.close();
    EXPECT_EQ(writer.file_name.tellp(), 30);
}

TEST_F(FileWriterNameTest, TheNameIsRewoundWhenAVanishedFileIsDetected) {
    writer.open();
    std::filesystem::remove("/tmp/a/radar_150525_093007_042");
    EXPECT_FALSE(writer.is_open());
    EXPECT_EQ(writer.file_name.str(), "/tmp/a/radar_150525_093007_042");
    EXPECT_EQ(writer.file_name.tellp(), 0);
}

TEST_F(FileWriterNameTest, TheNameOfAFileThatCouldNotBeBegunStays) {
    writer.directory = "/tmp/b";
    EXPECT_FALSE(writer.open());
    EXPECT_EQ(writer.file_name.str(), "/tmp/b/radar_150525_093007_042");
}

}  // namespace
