#include "kit/base/durable_file.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "kit/base/error.h"
#include "tests/support/private_paths.h"

namespace {

using Kit::DurableFile;
using test_support::list_directory;
using test_support::read_file;
using test_support::write_file;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::ThrowsMessage;
using Existing = DurableFile::Existing;

namespace fs = std::filesystem;

constexpr char kFolder[] = "/tmp/card";
constexpr char kPath[] = "/tmp/card/out.data";

class DurableFileTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (!IsSkipped()) fs::create_directory(kFolder);
    }

    static void put(std::string const& content, Existing existing = Existing::kKept) {
        DurableFile file(kPath, existing);
        file.write(content);
        file.finish();
    }

    static mode_t mode_of(std::string const& path) {
        struct stat status = {};
        EXPECT_EQ(stat(path.c_str(), &status), 0);
        return status.st_mode & 07777;
    }
};

TEST_F(DurableFileTest, IsHiddenBesideItsPlaceUntilItIsFinished) {
    DurableFile file(kPath, Existing::kKept);
    file.write("new");
    EXPECT_EQ(fs::path(file.temporary_path()).parent_path(), kFolder);
    EXPECT_EQ(fs::path(file.temporary_path()).filename().string().front(), '.');
    EXPECT_FALSE(fs::exists(kPath));
    file.finish();
    EXPECT_EQ(read_file(kPath), "new");
    EXPECT_THAT(list_directory(kFolder), ElementsAre("out.data"));
}

TEST_F(DurableFileTest, WithoutFinishThereIsNoFile) {
    DurableFile(kPath, Existing::kKept).write("new");
    EXPECT_THAT(list_directory(kFolder), IsEmpty());
}

TEST_F(DurableFileTest, WithoutFinishTheFileBeforeStays) {
    write_file(kPath, "old");
    DurableFile(kPath, Existing::kReplaced).write("new");
    EXPECT_EQ(read_file(kPath), "old");
    EXPECT_THAT(list_directory(kFolder), ElementsAre("out.data"));
}

TEST_F(DurableFileTest, AnExistingFileIsReplacedWhereThatIsAskedFor) {
    write_file(kPath, "old");
    put("new", Existing::kReplaced);
    EXPECT_EQ(read_file(kPath), "new");
}

TEST_F(DurableFileTest, AnExistingFileIsKeptOtherwise) {
    write_file(kPath, "old");
    EXPECT_THAT([] { put("new"); },
                ThrowsMessage<Kit::Error>("/tmp/card/out.data: already exists"));
    EXPECT_EQ(read_file(kPath), "old");
    EXPECT_THAT(list_directory(kFolder), ElementsAre("out.data"));
}

TEST_F(DurableFileTest, ALinkIsReplacedAndNotFollowed) {
    write_file("/tmp/card/other", "other");
    fs::create_symlink("other", kPath);
    put("new", Existing::kReplaced);
    EXPECT_FALSE(fs::is_symlink(kPath));
    EXPECT_EQ(read_file("/tmp/card/other"), "other");
}

TEST_F(DurableFileTest, PiecesOfAnySizeAreWrittenInOrder) {
    std::string expected;
    DurableFile file(kPath, Existing::kKept);
    for (size_t size : {1U, 300000U, 0U, 5U, 262144U, 262143U, 2U}) {
        const std::string piece(size, static_cast<char>('a' + expected.size() % 26));
        file.write(piece);
        expected += piece;
        EXPECT_EQ(file.size(), expected.size());
    }
    file.finish();
    EXPECT_EQ(read_file(kPath), expected);
}

TEST_F(DurableFileTest, WhatWasWrittenIsOverwritten) {
    DurableFile file(kPath, Existing::kKept);
    file.write("count 0000, more");
    file.overwrite(6, "0042");
    file.write("!");
    file.finish();
    EXPECT_EQ(file.size(), 17U);
    EXPECT_EQ(read_file(kPath), "count 0042, more!");
}

TEST_F(DurableFileTest, AFlushedFileCanBeReadBackBeforeItIsFinished) {
    DurableFile file(kPath, Existing::kKept);
    file.write("new");
    file.flush();
    EXPECT_EQ(read_file(file.temporary_path()), "new");
}

TEST_F(DurableFileTest, TheUmaskHoldsForTheModeOfANewFile) {
    const mode_t before = umask(027);
    put("new");
    umask(before);
    EXPECT_EQ(mode_of(kPath), 0640U);
}

TEST_F(DurableFileTest, AModeThatIsSetHoldsWhateverTheUmask) {
    const mode_t before = umask(077);
    DurableFile file(kPath, Existing::kKept, "", 0600);
    umask(before);
    file.set_mode(0644);
    file.finish();
    EXPECT_EQ(mode_of(kPath), 0644U);
}

TEST_F(DurableFileTest, OwnerAndModeOfTheFileBeforeAreKept) {
    write_file(kPath, "old");
    ASSERT_EQ(chmod(kPath, 0604), 0);
    struct stat before = {};
    if (chown(kPath, 7, 8) != 0) GTEST_SKIP() << "this user cannot give files away";
    ASSERT_EQ(stat(kPath, &before), 0);
    DurableFile file(kPath, Existing::kReplaced);
    file.set_owner_and_mode(before);
    file.finish();
    struct stat after = {};
    ASSERT_EQ(stat(kPath, &after), 0);
    EXPECT_EQ(after.st_uid, 7U);
    EXPECT_EQ(after.st_gid, 8U);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_NE(after.st_ino, before.st_ino);
}

TEST_F(DurableFileTest, MessagesHaveTheNameThatWasGiven) {
    EXPECT_THAT([] { DurableFile("/tmp/none/out", Existing::kKept, "my file"); },
                ThrowsMessage<Kit::Error>("my file: No such file or directory"));
}

TEST_F(DurableFileTest, TwoOfOneNameDoNotMeet) {
    DurableFile one(kPath, Existing::kReplaced);
    DurableFile other(kPath, Existing::kReplaced);
    one.write("one");
    other.write("other");
    EXPECT_THAT(list_directory(kFolder), SizeIs(2));
    other.finish();
    one.finish();
    EXPECT_EQ(read_file(kPath), "one");
    EXPECT_THAT(list_directory(kFolder), ElementsAre("out.data"));
}

TEST_F(DurableFileTest, APathWithoutADirectoryIsInTheCurrentOne) {
    fs::current_path(kFolder);
    DurableFile file("out.data", Existing::kKept);
    file.write("new");
    file.finish();
    EXPECT_EQ(read_file(kPath), "new");
}

}  // namespace
