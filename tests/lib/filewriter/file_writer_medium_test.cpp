#include <sys/mount.h>

#include <cerrno>
#include <filesystem>

#include "lib/filewriter/recorder_fixture.h"
#include "lib/filewriter/recording.h"

namespace {

namespace fs = std::filesystem;

using test_support::captured_log;
using test_support::ExposedFileWriter;
using test_support::fails_with;
using test_support::list_directory;
using test_support::parse_recording;
using test_support::read_file;
using test_support::write_file;
using testing::ElementsAre;

class LostMediumTest : public test_support::RecorderTest {
protected:
    bool write(std::string const& frame) { return writer.write(frame); }

    ExposedFileWriter writer{"/tmp", "radar", 0};
};

class FullDiskTest : public LostMediumTest {
protected:
    void SetUp() override {
        LostMediumTest::SetUp();
        if (IsSkipped()) return;
        fs::create_directory("/tmp/disk");
        if (mount("tmpfs", "/tmp/disk", "tmpfs", 0, "size=64k") != 0)
            GTEST_SKIP() << "cannot mount";
        write_file(filler, std::string(32 << 10, 'x'));
        writer.directory = "/tmp/disk";
    }

    /** Writes frames until one does not fit any more; returns how many did. */
    uint32_t fill() {
        for (uint32_t written = 0; written < 1000; ++written) {
            try {
                write(frame);
            } catch (std::ios_base::failure const&) {
                return written;
            }
        }
        ADD_FAILURE() << "the disk is never full";
        return 0;
    }

    const std::string filler = "/tmp/disk/filler";
    const std::string frame = std::string(1000, 'f');
};

TEST_F(FullDiskTest, WhatWasStoredBeforeStaysCountedAndReadable) {
    const uint32_t stored = fill();
    ASSERT_GT(stored, 10U);
    const auto recording = parse_recording(read_file("/tmp/disk/radar_150525_093007_042"));
    EXPECT_EQ(recording.frames, stored);
    EXPECT_EQ(recording.body.substr(0, stored * 1000), std::string(stored * 1000, 'f'));
}

TEST_F(FullDiskTest, RecordingGoesOnWhenThereIsRoomAgain) {
    fill();
    fs::remove(filler);
    EXPECT_TRUE(write(frame));
    EXPECT_TRUE(write("the last one"));
    EXPECT_EQ(captured_log(),
              (Log{failed_stream(1, "Error writing /tmp/disk/radar_150525_093007_042")}));
    EXPECT_THAT(read_file("/tmp/disk/radar_150525_093007_042"), testing::EndsWith("the last one"));
}

/** The file of the writer is deleted, or its medium taken away, while it is written. */
class VanishedFileTest : public LostMediumTest {
protected:
    /** Begins a file that vanishes; its header is still in the stream's buffer. */
    void open_and_delete() {
        writer.open();
        fs::remove(first_name);
        now.tv_sec += 1;
    }

    const std::string second_name = "/tmp/radar_150525_093008_042";
};

TEST_F(VanishedFileTest, IsNotOpenAnyMore) {
    open_and_delete();
    EXPECT_FALSE(writer.is_open());
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(VanishedFileTest, IsReplacedByANewOneWithTheNextFrame) {
    write("first");
    fs::remove(first_name);
    now.tv_sec += 1;
    EXPECT_TRUE(write("second"));
    EXPECT_THAT(list_directory("/tmp"), ElementsAre("radar_150525_093008_042"));
    EXPECT_EQ(parse_recording(read_file(second_name)).frames, 1U);
    EXPECT_EQ(parse_recording(read_file(second_name)).body, "second");
}

TEST_F(VanishedFileTest, IsNeverRenamed) {
    int renames = 0;
    system_calls.rename = [&renames](char const*, char const*) { return ++renames; };
    open_and_delete();
    write("frame");
    system_calls.rename = nullptr;
    EXPECT_EQ(renames, 0);
}

TEST_F(VanishedFileTest, ThatCannotBeClosedIsLoggedAndCountsAsOpen) {
    open_and_delete();
    system_calls.write = fails_with(EIO);
    EXPECT_TRUE(writer.is_open());
    EXPECT_EQ(captured_log(), (Log{failed_stream(2, "Failed to close " + first_name)}));
}

TEST_F(VanishedFileTest, ThatCannotBeClosedLosesOneFrameAndIsThenReplaced) {
    open_and_delete();
    system_calls.write = fails_with(EIO);
    EXPECT_FALSE(write("lost"));
    system_calls.write = nullptr;
    EXPECT_TRUE(write("stored"));
    EXPECT_EQ(captured_log(), (Log{failed_stream(2, "Failed to close " + first_name),
                                   failed_stream(1, "Error writing " + first_name)}));
    EXPECT_EQ(parse_recording(read_file(second_name)).body, "stored");
}

TEST_F(VanishedFileTest, AfterAFailedRewriteIsReplacedByANewOne) {
    write("first");
    system_calls.write = fails_with(EIO);
    EXPECT_THROW(write("second"), std::ios_base::failure);
    system_calls.write = nullptr;
    fs::remove(first_name);
    now.tv_sec += 1;
    EXPECT_TRUE(write("third"));
    EXPECT_EQ(parse_recording(read_file(second_name)).body, "third");
    EXPECT_EQ(parse_recording(read_file(second_name)).frames, 1U);
}

}  // namespace
