#include <sys/mount.h>

#include <cerrno>
#include <filesystem>

#include "lib/filewriter/recorder_fixture.h"
#include "lib/filewriter/recording.h"

namespace {

namespace fs = std::filesystem;

using test_support::captured_log;
using test_support::fails_with;
using test_support::list_directory;
using test_support::parse_recording;
using test_support::read_file;
using test_support::write_file;
using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

class FullDiskTest : public test_support::WriterTest {
protected:
    void SetUp() override {
        WriterTest::SetUp();
        if (IsSkipped()) return;
        fs::create_directory("/tmp/disk");
        if (mount("tmpfs", "/tmp/disk", "tmpfs", 0, "size=64k") != 0)
            GTEST_SKIP() << "cannot mount";
        write_file(filler, std::string(32 << 10, 'x'));
        writer.directory = "/tmp/disk";
    }

    /** A frame of 1000 bytes that no other frame of the test is like. */
    std::string next_frame() {
        std::string frame = std::to_string(++frames_) + ":";
        frame.resize(1000, static_cast<char>('a' + frames_ % 26));
        return frame;
    }

    /** Writes frames until one does not fit any more; returns those that did. */
    std::string fill() {
        for (std::string stored; stored.size() < 100000;) {
            const std::string frame = next_frame();
            try {
                write(frame);
            } catch (std::ios_base::failure const&) {
                return stored;
            }
            stored += frame;
        }
        ADD_FAILURE() << "the disk is never full";
        return "";
    }

    test_support::Recording recorded() const {
        return parse_recording(read_file("/tmp/disk/radar_150525_093007_042"));
    }

    const std::string filler = "/tmp/disk/filler";

private:
    int frames_ = 0;
};

TEST_F(FullDiskTest, WhatWasStoredBeforeStaysCountedAndReadable) {
    const std::string stored = fill();
    ASSERT_GT(stored.size(), 10000U);
    EXPECT_EQ(recorded().frames, stored.size() / 1000);
    EXPECT_THAT(recorded().body, StartsWith(stored));
}

TEST_F(FullDiskTest, RecordingGoesOnAtTheEndWhenThereIsRoomAgain) {
    const std::string stored = fill();
    fs::remove(filler);
    EXPECT_TRUE(write(next_frame()));  // fails once, after the frame before
    std::string later;
    for (int i = 0; i < 3; ++i) {
        const std::string frame = next_frame();
        EXPECT_TRUE(write(frame));
        later += frame;
    }
    EXPECT_EQ(captured_log(),
              (Log{failed_stream(1, "Error writing /tmp/disk/radar_150525_093007_042")}));
    EXPECT_THAT(recorded().body, StartsWith(stored));
    EXPECT_THAT(recorded().body, EndsWith(later));
    EXPECT_EQ(recorded().frames, stored.size() / 1000 + 5);
}

TEST_F(FullDiskTest, FramesThatDoNotFitOverwriteNoneThatDo) {
    const std::string stored = fill();
    for (int i = 0; i < 20; ++i) EXPECT_THROW(write(next_frame()), std::ios_base::failure);
    EXPECT_THAT(recorded().body, StartsWith(stored));
    fs::remove(filler);
    write(next_frame());
    const std::string last = next_frame();
    EXPECT_TRUE(write(last));
    EXPECT_THAT(recorded().body, StartsWith(stored));
    EXPECT_THAT(recorded().body, EndsWith(last));
}

/** The file of the writer is deleted, or its medium taken away, while it is written. */
class VanishedFileTest : public test_support::WriterTest {
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
