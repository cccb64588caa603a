#include "service/unfinished.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <filesystem>

#include "kit/base/file_descriptor.h"
#include "kit/base/words.h"
#include "kit/recording/format.h"
#include "tests/support/captured_log.h"
#include "tests/support/private_paths.h"

namespace {

namespace fs = std::filesystem;
using Service::complete_unfinished;
using Service::UnfinishedFiles;

constexpr uint32_t kTag = 0xFEED2050;
constexpr char kUnfinished[] = "/tmp/radar_150525_093007_042";
constexpr char kCompleted[] = "/tmp/radar_150525_093007_042.data";

class UnfinishedTest : public test_support::PrivatePathsTest {
protected:
    static std::string header(uint32_t frames) {
        Kit::RecordingHeader header;
        header.magic = Kit::kRecordingMagic;
        header.version = Kit::kRecordingVersion;
        header.frame_count = frames;
        return Kit::encode_header(header);
    }

    static std::string record(std::string const& payload, uint32_t tag = kTag) {
        std::string bytes;
        Kit::append_word(bytes, tag);
        Kit::append_word(bytes, static_cast<uint32_t>(payload.size()));
        return bytes + payload;
    }

    /** What a run leaves that is killed while it writes its third record. */
    static void leave(std::string const& rest = record("third").substr(0, 10)) {
        test_support::write_file(kUnfinished,
                                 header(1) + record("first") + record("second") + rest);
    }

    static UnfinishedFiles complete() { return complete_unfinished("/tmp", "radar", kTag); }
};

TEST_F(UnfinishedTest, AFileIsTruncatedAfterItsLastWholeRecordAndCompleted) {
    leave();
    const UnfinishedFiles found = complete();
    EXPECT_EQ(found.completed, 1U);
    EXPECT_EQ(found.frames, 2U);
    EXPECT_FALSE(fs::exists(kUnfinished));
    EXPECT_EQ(test_support::read_file(kCompleted), header(2) + record("first") + record("second"));
}

TEST_F(UnfinishedTest, ZerosAtTheEndAreNoRecord) {
    leave(std::string(512, '\0'));
    EXPECT_EQ(complete().frames, 2U);
}

TEST_F(UnfinishedTest, AFileWithoutARecordIsRemoved) {
    test_support::write_file(kUnfinished, header(0));
    EXPECT_EQ(complete().removed, 1U);
    EXPECT_FALSE(fs::exists(kUnfinished));
}

TEST_F(UnfinishedTest, AFileThatAnotherServiceWritesIsLeftAlone) {
    leave();
    const Kit::FileDescriptor writer(open(kUnfinished, O_RDWR | O_CLOEXEC, 0));
    ASSERT_EQ(flock(writer.get(), LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(complete().completed, 0U);
    EXPECT_TRUE(fs::exists(kUnfinished));
}

TEST_F(UnfinishedTest, ADamagedFileIsLeftAloneAndLogged) {
    leave(record("third", 7) + record("fourth"));
    test_support::clear_log();
    EXPECT_EQ(complete().completed, 0U);
    EXPECT_TRUE(fs::exists(kUnfinished));
    EXPECT_EQ(test_support::captured_log().size(), 1U);
}

TEST_F(UnfinishedTest, WhatIsNoFileOfARecorderIsLeftAlone) {
    test_support::write_file("/tmp/target", header(1) + record("first"));
    fs::create_symlink("/tmp/target", kUnfinished);
    ASSERT_EQ(mkfifo("/tmp/radar_150525_093007_043", 0600), 0);
    test_support::write_file("/tmp/radar_150525_093007_044", std::string(100, 'x'));
    test_support::write_file("/tmp/raw_150525_093007_042", header(1) + record("first"));
    const UnfinishedFiles found = complete();
    EXPECT_EQ(found.completed + found.removed, 0U);
}

TEST_F(UnfinishedTest, ACompletedFileIsNotReplaced) {
    leave();
    test_support::write_file(kCompleted, "mine");
    EXPECT_EQ(complete().completed, 0U);
    EXPECT_EQ(test_support::read_file(kCompleted), "mine");
}

}  // namespace
