#include "kit/base/file_descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <type_traits>

namespace {

using Kit::FileDescriptor;

int open_descriptor() {
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

bool is_open(int fd) {
    return fcntl(fd, F_GETFD) >= 0;
}

TEST(FileDescriptorTest, ClosesWhatItOwnsWhenItGoes) {
    const int fd = open_descriptor();
    {
        const FileDescriptor owner(fd);
        EXPECT_TRUE(owner.valid());
        EXPECT_EQ(owner.get(), fd);
    }
    EXPECT_FALSE(is_open(fd));
}

TEST(FileDescriptorTest, HasNoneAtFirst) {
    const FileDescriptor owner;
    EXPECT_FALSE(owner.valid());
    EXPECT_EQ(owner.get(), -1);
}

TEST(FileDescriptorTest, DescriptorZeroIsOneAndANegativeNumberIsNone) {
    FileDescriptor zero(0);
    EXPECT_TRUE(zero.valid());
    EXPECT_EQ(zero.release(), 0);
    EXPECT_FALSE(FileDescriptor(-2).valid());
}

TEST(FileDescriptorTest, AReleasedDescriptorStaysOpen) {
    int fd = -1;
    {
        FileDescriptor owner(open_descriptor());
        fd = owner.release();
        EXPECT_FALSE(owner.valid());
    }
    ASSERT_TRUE(is_open(fd));
    close(fd);
}

TEST(FileDescriptorTest, AResetClosesTheOneBefore) {
    const int first = open_descriptor();
    const int second = open_descriptor();
    FileDescriptor owner(first);
    owner.reset(second);
    EXPECT_FALSE(is_open(first));
    EXPECT_TRUE(is_open(second));
}

TEST(FileDescriptorTest, AMoveHandsTheDescriptorOver) {
    const int fd = open_descriptor();
    FileDescriptor from(fd);
    const FileDescriptor to(std::move(from));
    EXPECT_EQ(to.get(), fd);
    EXPECT_FALSE(from.valid());  // NOLINT(bugprone-use-after-move): that it has none is promised
    EXPECT_TRUE(is_open(fd));
}

TEST(FileDescriptorTest, AnAssignmentClosesTheOneBefore) {
    const int first = open_descriptor();
    const int second = open_descriptor();
    FileDescriptor owner(first);
    owner = FileDescriptor(second);
    EXPECT_FALSE(is_open(first));
    EXPECT_EQ(owner.get(), second);
    EXPECT_TRUE(is_open(second));
}

TEST(FileDescriptorTest, AnAssignmentToItselfKeepsTheDescriptor) {
    const int fd = open_descriptor();
    FileDescriptor owner(fd);
    FileDescriptor& same = owner;
    owner = std::move(same);
    EXPECT_EQ(owner.get(), fd);
    EXPECT_TRUE(is_open(fd));
}

TEST(FileDescriptorTest, ClosingLeavesTheErrorNumberAlsoWhenItFails) {
    const int fd = open_descriptor();
    close(fd);
    errno = ENOSPC;
    { const FileDescriptor closed_before(fd); }
    EXPECT_EQ(errno, ENOSPC);
}

TEST(FileDescriptorTest, IsMovedAndNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible<FileDescriptor>::value);
    EXPECT_FALSE(std::is_copy_assignable<FileDescriptor>::value);
    EXPECT_TRUE(std::is_nothrow_move_constructible<FileDescriptor>::value);
    EXPECT_TRUE(std::is_nothrow_move_assignable<FileDescriptor>::value);
    EXPECT_FALSE((std::is_convertible<int, FileDescriptor>::value));
}

}  // namespace
