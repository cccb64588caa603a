#include "kit/base/block_reader.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <thread>

#include "kit/base/input_error.h"
#include "tests/support/private_paths.h"
#include "tests/support/system_calls.h"

namespace {

using Kit::BlockReader;

constexpr char kPath[] = "/tmp/file";

/** Bytes of which none repeats its neighbours for long. */
std::string some_bytes(size_t size) {
    std::string bytes;
    for (size_t i = 0; i < size; ++i) bytes += static_cast<char>(i ^ i >> 8 ^ i >> 15);
    return bytes;
}

class BlockReaderTest : public test_support::PrivatePathsTest {
protected:
    /** All of the input, in windows of `size` bytes. */
    static std::string read_all(BlockReader& reader, size_t size) {
        std::string bytes;
        for (;;) {
            const std::string_view window = reader.window(size);
            if (window.empty()) return bytes;
            bytes += window.substr(0, size);
            reader.advance(std::min(size, window.size()));
        }
    }

    static void append(std::string const& bytes) {
        std::ofstream(kPath, std::ios::binary | std::ios::app) << bytes;
    }
};

TEST_F(BlockReaderTest, WindowsOfEverySizeGiveTheWholeFile) {
    const std::string bytes = some_bytes(3 * BlockReader::kBlockSize + 123);
    test_support::write_file(kPath, bytes);
    for (const size_t size : {7u, 4096u, 262144u, 262145u, 700000u, 2000000u}) {
        BlockReader reader(kPath);
        EXPECT_TRUE(read_all(reader, size) == bytes) << size;
        EXPECT_EQ(reader.offset(), bytes.size());
    }
}

TEST_F(BlockReaderTest, ASmallBufferGrowsWhenMoreIsAskedFor) {
    const std::string bytes = some_bytes(100000);
    test_support::write_file(kPath, bytes);
    BlockReader reader(kPath, 48);
    EXPECT_EQ(reader.window(48).size(), 48u);
    EXPECT_TRUE(read_all(reader, 60000) == bytes);
}

TEST_F(BlockReaderTest, AWindowBeyondTheEndHasWhatIsThere) {
    test_support::write_file(kPath, "abc");
    BlockReader reader(kPath);
    EXPECT_EQ(reader.window(10), "abc");
}

TEST_F(BlockReaderTest, AFileThatGrowsHasMore) {
    test_support::write_file(kPath, "abc");
    BlockReader reader(kPath);
    reader.window(10);
    append("def");
    EXPECT_EQ(reader.window(4), "abcdef");
}

TEST_F(BlockReaderTest, AFileThatIsTruncatedEndsThere) {
    test_support::write_file(kPath, some_bytes(600000));
    BlockReader reader(kPath);
    reader.window(1);
    ASSERT_EQ(truncate(kPath, 300000), 0);
    EXPECT_EQ(read_all(reader, 1000), some_bytes(300000));
}

TEST_F(BlockReaderTest, RewindingGoesBackToTheFront) {
    test_support::write_file(kPath, "abcdef");
    BlockReader reader(kPath);
    reader.window(6);
    reader.advance(4);
    reader.rewind();
    EXPECT_EQ(reader.offset(), 0u);
    EXPECT_EQ(reader.window(6), "abcdef");
}

TEST_F(BlockReaderTest, AnInterruptedReadIsRepeated) {
    test_support::write_file(kPath, "abc");
    test_support::SystemCalls system_calls;
    int calls = 0;
    system_calls.read = [&](int fd, void* bytes, size_t size) -> ssize_t {
        if (++calls > 1) return test_support::real_read(fd, bytes, size);
        errno = EINTR;
        return -1;
    };
    BlockReader reader(kPath);
    EXPECT_EQ(reader.window(3), "abc");
    EXPECT_EQ(calls, 2);
}

TEST_F(BlockReaderTest, ADescriptorThatDoesNotBlockIsWaitedFor) {
    int ends[2] = {};
    ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
    ASSERT_GE(dup2(ends[0], STDIN_FILENO), 0);
    test_support::SystemCalls system_calls;
    int waits = 0;
    system_calls.poll = [&](pollfd*, nfds_t, int) {
        ++waits;
        return write(ends[1], "abc", 3) == 3 ? 1 : -1;
    };
    BlockReader reader("-");
    EXPECT_EQ(reader.window(3), "abc");
    EXPECT_EQ(waits, 1);
}

TEST_F(BlockReaderTest, AReadErrorIsNamed) {
    test_support::write_file(kPath, "abc");
    BlockReader reader(kPath);
    test_support::SystemCalls system_calls;
    system_calls.read = test_support::fails_with(EIO);
    EXPECT_THAT([&] { reader.window(1); },
                testing::ThrowsMessage<Kit::InputError>("/tmp/file: Input/output error"));
}

TEST_F(BlockReaderTest, AnOpenErrorIsNamed) {
    test_support::write_file(kPath, "abc");
    test_support::SystemCalls system_calls;
    system_calls.open = test_support::fails_with(EMFILE);
    EXPECT_THAT([] { BlockReader reader(kPath); },
                testing::ThrowsMessage<Kit::InputError>("/tmp/file: Too many open files"));
}

TEST_F(BlockReaderTest, WhatCannotBeReadFromFrontToBackIsRefused) {
    EXPECT_THAT([] { BlockReader reader("/tmp"); },
                testing::ThrowsMessage<Kit::InputError>("/tmp: Is a directory"));
    EXPECT_THAT([] { BlockReader reader("/dev/zero"); },
                testing::ThrowsMessage<Kit::InputError>("/dev/zero: Is a device"));
    EXPECT_THAT([] { BlockReader reader(""); },
                testing::ThrowsMessage<Kit::InputError>(": No such file or directory"));
}

TEST_F(BlockReaderTest, AMissingStandardInputIsNamed) {
    close(STDIN_FILENO);
    EXPECT_THAT([] { BlockReader reader("-"); },
                testing::ThrowsMessage<Kit::InputError>("standard input: Bad file descriptor"));
}

TEST_F(BlockReaderTest, ADeviceAsStandardInputIsRefused) {
    const int zero = open("/dev/zero", O_RDONLY);
    ASSERT_GE(dup2(zero, STDIN_FILENO), 0);
    EXPECT_THAT([] { BlockReader reader("-"); },
                testing::ThrowsMessage<Kit::InputError>("standard input: Is a device"));
}

TEST_F(BlockReaderTest, StandardInputStaysOpen) {
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_GE(dup2(ends[0], STDIN_FILENO), 0);
    { BlockReader reader("-"); }
    EXPECT_GE(fcntl(STDIN_FILENO, F_GETFD), 0);
}

TEST_F(BlockReaderTest, APipeCannotBeRewound) {
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_GE(dup2(ends[0], STDIN_FILENO), 0);
    BlockReader reader("-");
    EXPECT_THAT([&] { reader.rewind(); },
                testing::ThrowsMessage<Kit::InputError>(
                    "standard input: cannot be read again: Illegal seek"));
}

}  // namespace
