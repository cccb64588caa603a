#include "tools/output/file.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "kit/base/error.h"
#include "tests/support/private_paths.h"

namespace {

using test_support::list_directory;
using test_support::read_file;
using test_support::write_file;
using testing::ElementsAre;
using testing::ThrowsMessage;
using Tools::OutputFile;

namespace fs = std::filesystem;

constexpr char kPath[] = "/tmp/out";

class OutputFileTest : public test_support::PrivatePathsTest {
protected:
    static auto opening(std::string const& path, bool force) {
        return [path, force] { OutputFile(path, force); };
    }
};

TEST_F(OutputFileTest, AnExistingFileIsRefusedBeforeAnythingIsWritten) {
    write_file(kPath, "old");
    EXPECT_THAT(opening(kPath, false),
                ThrowsMessage<Kit::Error>("/tmp/out: already exists (use --force to overwrite)"));
    EXPECT_EQ(read_file(kPath), "old");
}

TEST_F(OutputFileTest, AnExistingFileIsReplacedByForce) {
    write_file(kPath, "old");
    OutputFile file(kPath, true);
    file.write("new");
    file.finish();
    EXPECT_EQ(read_file(kPath), "new");
}

TEST_F(OutputFileTest, WhatIsNoFileIsRefusedAlsoWithForce) {
    fs::create_directory("/tmp/folder");
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0);
    for (const std::string path : {"/tmp/folder", "/tmp/fifo"}) {
        EXPECT_THAT(opening(path, true), ThrowsMessage<Kit::Error>(path + ": not a regular file"));
    }
    EXPECT_THAT(opening("/tmp/folder/", true),
                ThrowsMessage<Kit::Error>("/tmp/folder/: Is a directory"));
}

TEST_F(OutputFileTest, AMissingDirectoryIsReported) {
    EXPECT_THAT(opening("/tmp/none/out", false),
                ThrowsMessage<Kit::Error>("/tmp/none/out: No such file or directory"));
}

TEST_F(OutputFileTest, TheFileBehindALinkIsReplacedAndTheLinkStays) {
    fs::create_directory("/tmp/folder");
    write_file("/tmp/folder/real", "old");
    fs::create_symlink("folder/real", kPath);
    OutputFile file(kPath, true);
    file.write("new");
    file.finish();
    EXPECT_TRUE(fs::is_symlink(kPath));
    EXPECT_EQ(read_file("/tmp/folder/real"), "new");
    EXPECT_THAT(list_directory("/tmp/folder"), ElementsAre("real"));
}

TEST_F(OutputFileTest, ALinkToNothingIsReplacedOnlyByForce) {
    fs::create_symlink("none", kPath);
    EXPECT_THAT(opening(kPath, false),
                ThrowsMessage<Kit::Error>("/tmp/out: already exists (use --force to overwrite)"));
    OutputFile file(kPath, true);
    file.write("new");
    file.finish();
    EXPECT_FALSE(fs::is_symlink(kPath));
    EXPECT_EQ(read_file(kPath), "new");
}

TEST_F(OutputFileTest, TheInputIsNoOutputUnderAnyName) {
    write_file("/tmp/in", "input");
    fs::create_symlink("in", "/tmp/link");
    fs::create_hard_link("/tmp/in", "/tmp/name");
    for (const std::string output : {"/tmp/in", "/tmp/link", "/tmp/name", "/tmp/../tmp/in"}) {
        EXPECT_THAT([&] { Tools::refuse_same_file("/tmp/in", output); },
                    ThrowsMessage<Kit::Error>(output + ": is the input, which is never changed"));
    }
    EXPECT_NO_THROW(Tools::refuse_same_file("/tmp/in", "/tmp/other"));
}

}  // namespace
