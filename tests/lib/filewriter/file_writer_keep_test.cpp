#include <cerrno>
#include <filesystem>

#include "lib/filewriter/recorder_fixture.h"

namespace {

using test_support::captured_log;
using test_support::ExposedFileWriter;
using test_support::fails_with;
using test_support::list_directory;
using test_support::write_file;
using testing::ElementsAre;
using testing::IsEmpty;

class FileWriterKeepTest : public test_support::RecorderTest {
protected:
    FileWriterKeepTest() {
        system_calls.unlink = [this](char const* path) {
            unlinked.emplace_back(path);
            names_at_unlink = list_directory("/tmp");
            return test_support::real_unlink(path);
        };
    }

    /** Files that were completed before, as the writer lists them: "/tmp/1", "/tmp/2" and so on. */
    static Names make_completed_files(int count) {
        Names paths;
        for (int i = 1; i <= count; ++i) {
            paths.push_back("/tmp/" + std::to_string(i));
            write_file(paths.back(), "");
        }
        return paths;
    }

    /** Begins and completes files, a second apart. */
    void record(ExposedFileWriter& writer, int count) {
        for (int i = 0; i < count; ++i) {
            writer.open();
            writer.close();
            ++now.tv_sec;
        }
    }

    Names unlinked;
    Names names_at_unlink;
};

TEST_F(FileWriterKeepTest, TheOldestBeyondTheKeptCountAreDeletedInOrder) {
    ExposedFileWriter writer("/tmp", "radar", 4);
    writer.completed_files = make_completed_files(6);
    EXPECT_TRUE(writer.try_open());
    EXPECT_THAT(unlinked, ElementsAre("/tmp/1", "/tmp/2"));
    EXPECT_THAT(writer.completed_files, ElementsAre("/tmp/3", "/tmp/4", "/tmp/5", "/tmp/6"));
    EXPECT_THAT(list_directory("/tmp"), ElementsAre("3", "4", "5", "6", "radar_150525_093007_042"));
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(FileWriterKeepTest, OldFilesAreDeletedBeforeTheNewOneIsBegun) {
    ExposedFileWriter writer("/tmp", "radar", 4);
    writer.completed_files = make_completed_files(5);
    writer.try_open();
    EXPECT_THAT(names_at_unlink, ElementsAre("1", "2", "3", "4", "5"));
}

TEST_F(FileWriterKeepTest, TheClockIsReadBeforeOldFilesAreDeleted) {
    ExposedFileWriter writer("/tmp", "radar", 4);
    writer.completed_files = make_completed_files(5);
    time_t open_time_at_unlink = 0;
    system_calls.unlink = [&](char const* path) {
        open_time_at_unlink = writer.open_time.tv_sec;
        return test_support::real_unlink(path);
    };
    writer.try_open();
    EXPECT_EQ(open_time_at_unlink, now.tv_sec);
}

TEST_F(FileWriterKeepTest, AsManyAsAreKeptAreNotDeleted) {
    ExposedFileWriter writer("/tmp", "radar", 4);
    writer.completed_files = make_completed_files(4);
    writer.try_open();
    EXPECT_THAT(unlinked, IsEmpty());
}

TEST_F(FileWriterKeepTest, AListedFileThatIsGoneIsLoggedOnceAndDropped) {
    ExposedFileWriter writer("/tmp", "radar", 1);
    writer.completed_files = {"/tmp/gone", "/tmp/kept"};
    EXPECT_TRUE(writer.try_open());
    EXPECT_EQ(captured_log(), (Log{failed_call(2, "Failed to unlink /tmp/gone", ENOENT)}));
    EXPECT_THAT(writer.completed_files, ElementsAre("/tmp/kept"));
    writer.close();
    writer.completed_files.pop_back();
    writer.try_open();
    EXPECT_EQ(captured_log().size(), 1U);
}

TEST_F(FileWriterKeepTest, AFileThatCannotBeDeletedIsLoggedAndTheNextOneTried) {
    ExposedFileWriter writer("/tmp", "radar", 1);
    writer.completed_files = {"/tmp/1", "/tmp/2", "/tmp/3"};
    system_calls.unlink = fails_with(EROFS);
    EXPECT_TRUE(writer.try_open());
    EXPECT_EQ(captured_log(), (Log{failed_call(2, "Failed to unlink /tmp/1", EROFS),
                                   failed_call(2, "Failed to unlink /tmp/2", EROFS)}));
    EXPECT_THAT(writer.completed_files, ElementsAre("/tmp/3"));
}

TEST_F(FileWriterKeepTest, OldFilesAreDeletedAlsoWhenTheNewOneCannotBeBegun) {
    ExposedFileWriter writer("/tmp/none", "radar", 1);
    writer.completed_files = make_completed_files(2);
    EXPECT_FALSE(writer.try_open());
    EXPECT_THAT(unlinked, ElementsAre("/tmp/1"));
}

TEST_F(FileWriterKeepTest, CompletedFilesAreListedOldestFirst) {
    ExposedFileWriter writer("/tmp", "radar", 4);
    record(writer, 2);
    EXPECT_THAT(writer.completed_files, ElementsAre("/tmp/radar_150525_093007_042.data",
                                                    "/tmp/radar_150525_093008_042.data"));
}

TEST_F(FileWriterKeepTest, TheKeptCountAndTheNewFileExistAtMost) {
    ExposedFileWriter writer("/tmp", "radar", 2);
    record(writer, 5);
    writer.open();
    EXPECT_THAT(list_directory("/tmp"),
                ElementsAre("radar_150525_093010_042.data", "radar_150525_093011_042.data",
                            "radar_150525_093012_042"));
}

TEST_F(FileWriterKeepTest, ACountOfZeroKeepsEveryFileAndNoList) {
    ExposedFileWriter writer("/tmp", "radar", 0);
    record(writer, 3);
    EXPECT_EQ(list_directory("/tmp").size(), 3U);
    EXPECT_THAT(writer.completed_files, IsEmpty());
    EXPECT_THAT(unlinked, IsEmpty());
}

TEST_F(FileWriterKeepTest, ANegativeCountKeepsEveryFileAndNoList) {
    ExposedFileWriter writer("/tmp", "radar", -1);
    record(writer, 3);
    EXPECT_EQ(list_directory("/tmp").size(), 3U);
    EXPECT_THAT(writer.completed_files, IsEmpty());
    EXPECT_THAT(unlinked, IsEmpty());
}

TEST_F(FileWriterKeepTest, ACountThatIsTakenAwayLeavesTheListAlone) {
    ExposedFileWriter writer("/tmp", "radar", 2);
    writer.completed_files = make_completed_files(3);
    writer.setMaxFileCount(0);
    record(writer, 1);
    EXPECT_THAT(unlinked, IsEmpty());
    EXPECT_THAT(writer.completed_files, ElementsAre("/tmp/1", "/tmp/2", "/tmp/3"));
}

TEST_F(FileWriterKeepTest, ANewCountTakesEffectWithTheNextFile) {
    ExposedFileWriter writer("/tmp", "radar", 4);
    writer.completed_files = make_completed_files(4);
    writer.open();
    writer.setMaxFileCount(1);
    EXPECT_THAT(unlinked, IsEmpty());
    writer.close();
    EXPECT_THAT(unlinked, IsEmpty());
    writer.open();
    EXPECT_THAT(unlinked, ElementsAre("/tmp/1", "/tmp/2", "/tmp/3", "/tmp/4"));
}

TEST_F(FileWriterKeepTest, SettingTheCountThatHoldsChangesNothing) {
    ExposedFileWriter writer("/tmp", "radar", 1);
    writer.completed_files = make_completed_files(2);
    writer.setMaxFileCount(1);
    EXPECT_THAT(writer.completed_files, ElementsAre("/tmp/1", "/tmp/2"));
    writer.open();
    EXPECT_THAT(unlinked, ElementsAre("/tmp/1"));
}

}  // namespace
