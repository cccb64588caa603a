#include <fcntl.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>

#include "lib/filewriter/recorder_fixture.h"

namespace {

using test_support::captured_log;
using test_support::ExposedFileWriter;
using test_support::fails_with;
using test_support::list_directory;
using test_support::read_file;
using testing::ElementsAre;
using testing::IsEmpty;

/** Writes down the calls that complete a file. */
class FileWriterCloseTest : public test_support::RecorderTest {
protected:
    FileWriterCloseTest() {
        system_calls.open = [this](char const* path, int flags) {
            // Where files have 32 bits by default, the settings are opened in the same way.
            if (path != first_name) return test_support::real_open(path, flags);
            EXPECT_EQ(flags, O_RDONLY);
            size_when_opened = read_file(path).size();
            calls.push_back("open");
            return synced_fd = test_support::real_open(path, flags);
        };
        system_calls.fsync = [this](int fd) {
            EXPECT_EQ(fd, synced_fd);
            calls.push_back("fsync");
            return test_support::real_fsync(fd);
        };
        system_calls.close = [this](int fd) {
            if (fd == synced_fd) calls.push_back("close");
            return test_support::real_close(fd);
        };
        system_calls.rename = [this](char const* from, char const* to) {
            calls.push_back(std::string("rename ") + from + " " + to);
            return test_support::real_rename(from, to);
        };
    }

    /** Completes a file with one frame. */
    void record_one_frame() {
        writer.write(std::string("frame"));
        writer.close();
    }

    void expect_completed() {
        EXPECT_FALSE(writer.is_open());
        EXPECT_EQ(list_directory("/tmp"), (Names{"radar_150525_093007_042.data"}));
    }

    test_support::LogLine not_synced() const {
        return {2, "Failed to sync data file " + first_name + "!\n"};
    }

    const std::string renamed = "rename " + first_name + " " + first_name + ".data";
    Names calls;
    int synced_fd = -1;
    size_t size_when_opened = 0;
    ExposedFileWriter writer{"/tmp", "radar", 4};
};

TEST_F(FileWriterCloseTest, AnIdleWriterDoesNothing) {
    writer.close();
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_THAT(list_directory("/tmp"), IsEmpty());
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(FileWriterCloseTest, ASecondCloseDoesNothing) {
    record_one_frame();
    calls.clear();
    writer.close();
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_THAT(writer.completed_files, ElementsAre(first_name + ".data"));
}

TEST_F(FileWriterCloseTest, TheFileIsFlushedToStorageBeforeItIsRenamed) {
    record_one_frame();
    EXPECT_THAT(calls, ElementsAre("open", "fsync", "close", renamed));
    expect_completed();
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(FileWriterCloseTest, TheStreamIsClosedBeforeTheFileIsFlushed) {
    writer.open();
    EXPECT_EQ(read_file(first_name).size(), 0U) << "the header is not buffered any more";
    writer.close();
    EXPECT_EQ(size_when_opened, 40U);
}

TEST_F(FileWriterCloseTest, AFileThatCannotBeOpenedForFlushingIsRenamedAllTheSame) {
    system_calls.open = [this](char const* path, int flags) {
        if (path != first_name) return test_support::real_open(path, flags);
        errno = EMFILE;
        return -1;
    };
    record_one_frame();
    EXPECT_THAT(calls, ElementsAre(renamed));
    EXPECT_EQ(captured_log(),
              (Log{failed_call(1, "Failed to open " + first_name, EMFILE), not_synced()}));
    expect_completed();
}

TEST_F(FileWriterCloseTest, AFailedFlushIsLoggedAndTheFileClosedAndRenamedAllTheSame) {
    system_calls.fsync = fails_with(EIO);
    record_one_frame();
    EXPECT_THAT(calls, ElementsAre("open", "close", renamed));
    EXPECT_EQ(captured_log(),
              (Log{failed_call(1, "Failed to fsync " + first_name, EIO), not_synced()}));
    expect_completed();
}

TEST_F(FileWriterCloseTest, AFailedCloseAfterTheFlushIsLogged) {
    system_calls.close = fails_with(EIO);
    record_one_frame();
    EXPECT_THAT(calls, ElementsAre("open", "fsync", renamed));
    EXPECT_EQ(captured_log(),
              (Log{failed_call(1, "Failed to close " + first_name, EIO), not_synced()}));
    expect_completed();
}

TEST_F(FileWriterCloseTest, SeveralFailuresOfAFlushAreSummedUpOnce) {
    system_calls.fsync = fails_with(ENOSPC);
    system_calls.close = fails_with(EIO);
    record_one_frame();
    EXPECT_EQ(captured_log(),
              (Log{failed_call(1, "Failed to fsync " + first_name, ENOSPC),
                   failed_call(1, "Failed to close " + first_name, EIO), not_synced()}));
}

TEST_F(FileWriterCloseTest, AFailedRenameIsLoggedAndTheFileKeepsItsName) {
    system_calls.rename = fails_with(EROFS);
    record_one_frame();
    EXPECT_EQ(captured_log(),
              (Log{failed_call(1, "Error renaming completed data file " + first_name, EROFS)}));
    EXPECT_FALSE(writer.is_open());
    EXPECT_THAT(list_directory("/tmp"), ElementsAre("radar_150525_093007_042"));
}

TEST_F(FileWriterCloseTest, AFileThatCouldNotBeRenamedIsListedAsCompleted) {
    system_calls.rename = fails_with(EROFS);
    record_one_frame();
    EXPECT_THAT(writer.completed_files, ElementsAre(first_name + ".data"));
    EXPECT_EQ(writer.file_name.tellp(), 0);
}

TEST_F(FileWriterCloseTest, AStreamThatFailsToCloseIsLoggedAndItsFileIsCompleted) {
    writer.open();
    system_calls.write = fails_with(EIO);
    writer.close();
    EXPECT_EQ(captured_log(), (Log{failed_stream(2, "Could not close " + first_name)}));
    EXPECT_THAT(calls, ElementsAre("open", "fsync", "close", renamed));
    expect_completed();
}

TEST_F(FileWriterCloseTest, AfterAStreamThatFailedToCloseTheNextFileIsInOrder) {
    writer.open();
    system_calls.write = fails_with(EIO);
    writer.close();
    system_calls.write = nullptr;
    system_calls.open = nullptr;
    ++now.tv_sec;
    EXPECT_TRUE(writer.write(std::string("frame")));
    writer.close();
    EXPECT_EQ(read_file("/tmp/radar_150525_093008_042.data").size(), 45U);
}

TEST_F(FileWriterCloseTest, AFileThatHasVanishedIsNeitherFlushedNorRenamedNorListed) {
    writer.open();
    std::filesystem::remove(first_name);
    writer.close();
    EXPECT_THAT(calls, IsEmpty());
    EXPECT_THAT(list_directory("/tmp"), IsEmpty());
    EXPECT_THAT(writer.completed_files, IsEmpty());
    EXPECT_EQ(captured_log(), Log{});
    EXPECT_FALSE(writer.is_open());
}

TEST_F(FileWriterCloseTest, DestructionCompletesTheFile) {
    {
        Radar::FileWriter other("/tmp", "radar", 0);
        other.open();
    }
    EXPECT_THAT(calls, ElementsAre("open", "fsync", "close", renamed));
}

TEST_F(FileWriterCloseTest, DestructionSwallowsWhatIsThrownWhileCompleting) {
    system_calls.fsync = [](int) -> int { throw std::runtime_error("out of the blue"); };
    {
        Radar::FileWriter other("/tmp", "radar", 0);
        other.open();
        EXPECT_THROW(other.close(), std::runtime_error);
        ++now.tv_sec;
        system_calls.open = nullptr;
        other.open();
    }
    EXPECT_THAT(list_directory("/tmp"),
                ElementsAre("radar_150525_093007_042", "radar_150525_093008_042"));
}

}  // namespace
