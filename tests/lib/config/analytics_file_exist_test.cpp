#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "config/analytics.h"
#include "support/private_paths.h"
#include "support/system_calls.h"

namespace {

using test_support::write_file;

class FileExistTest : public test_support::PrivatePathsTest {};

TEST_F(FileExistTest, AnEmptyPathDoesNotExistAndTouchesNoFileSystem) {
    test_support::SystemCalls system_calls;
    int calls = 0;
    system_calls.stat = [&calls](char const*, struct stat*) {
        ++calls;
        return 0;
    };
    EXPECT_FALSE(file_exist(""));
    EXPECT_EQ(calls, 0);
}

TEST_F(FileExistTest, ADirectoryExists) {
    EXPECT_TRUE(file_exist("/tmp"));
}

TEST_F(FileExistTest, AFileExists) {
    write_file("/tmp/file", "");
    EXPECT_TRUE(file_exist("/tmp/file"));
}

TEST_F(FileExistTest, ADeviceExists) {
    EXPECT_TRUE(file_exist("/dev/null"));
}

TEST_F(FileExistTest, APathThatNamesNothingDoesNotExist) {
    EXPECT_FALSE(file_exist("/tmp/none"));
}

TEST_F(FileExistTest, ALinkExistsWhenItsTargetDoes) {
    std::filesystem::create_symlink("/tmp/file", "/tmp/link");
    EXPECT_FALSE(file_exist("/tmp/link"));
    write_file("/tmp/file", "");
    EXPECT_TRUE(file_exist("/tmp/link"));
}

TEST_F(FileExistTest, AFileThatCannotBeExaminedDoesNotExist) {
    test_support::SystemCalls system_calls;
    system_calls.stat = test_support::fails_with(EIO);
    EXPECT_FALSE(file_exist("/tmp"));
}

}  // namespace
