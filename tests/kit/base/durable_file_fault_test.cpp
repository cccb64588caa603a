// Every system call of DurableFile, made to fail: what is reported, what survives, what is left.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "kit/base/durable_file.h"
#include "kit/base/error.h"
#include "tests/support/private_paths.h"
#include "tests/support/system_calls.h"

namespace {

using Kit::DurableFile;
using test_support::fails_with;
using test_support::list_directory;
using test_support::read_file;
using test_support::SystemCalls;
using test_support::write_file;
using testing::ElementsAre;
using Existing = DurableFile::Existing;

namespace fs = std::filesystem;

constexpr char kFolder[] = "/tmp/card";
constexpr char kPath[] = "/tmp/card/out.data";

/** An fsync() that fails the `nth` time, from 0 on, and succeeds before and after. */
std::function<int(int)> fsync_fails_at(int nth, int error) {
    return [left = nth, error](int fd) mutable {
        if (left-- != 0) return test_support::real_fsync(fd);
        errno = error;
        return -1;
    };
}

/** A close() that closes, and says the first time that data was lost. */
std::function<int(int)> close_fails_once() {
    return [left = 1](int fd) mutable {
        const int result = test_support::real_close(fd);
        if (left-- != 1) return result;
        errno = EIO;
        return -1;
    };
}

class DurableFileFaultTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (!IsSkipped()) fs::create_directory(kFolder);
    }

    /** Puts "new" in the place of the file; returns what is reported, without the path. */
    static std::string put(Existing existing) {
        try {
            DurableFile file(kPath, existing);
            file.write("nix");
            file.overwrite(1, "ew");
            struct stat owner = {};
            owner.st_uid = 7;
            owner.st_mode = 0644;
            file.set_owner_and_mode(owner);
            file.finish();
            return "";
        } catch (Kit::Error const& error) {
            const std::string start = std::string(kPath) + ": ";
            EXPECT_THAT(error.what(), testing::StartsWith(start));
            return std::string(error.what()).substr(start.size());
        }
    }

    SystemCalls calls_;
};

struct Fault {
    char const* name;
    void (*arrange)(SystemCalls& calls);
    std::string problem;
};

std::ostream& operator<<(std::ostream& os, Fault const& fault) {
    return os << fault.name;
}

class DurableFileFaultBeforeTheRenameTest : public DurableFileFaultTest,
                                            public testing::WithParamInterface<Fault> {};

TEST_P(DurableFileFaultBeforeTheRenameTest, IsReportedAndTheFileBeforeStays) {
    write_file(kPath, "old");
    calls_.fchown = [](int, uid_t, gid_t) { return 0; };
    GetParam().arrange(calls_);
    EXPECT_EQ(put(Existing::kReplaced), GetParam().problem);
    EXPECT_EQ(read_file(kPath), "old");
    EXPECT_THAT(list_directory(kFolder), ElementsAre("out.data"));
}

int open_without(int refused_flag, int error, char const* path, int flags) {
    if ((flags & refused_flag) != refused_flag) return test_support::real_open(path, flags);
    errno = error;
    return -1;
}

const Fault kFaultsBefore[] = {
    {"OpeningTheDirectory",
     [](SystemCalls& calls) {
         calls.open = [](char const* path, int flags) {
             return open_without(O_DIRECTORY, EMFILE, path, flags);
         };
     },
     "Too many open files"},
    {"CreatingTheFile",
     [](SystemCalls& calls) {
         calls.open = [](char const* path, int flags) {
             return open_without(O_CREAT, EROFS, path, flags);
         };
     },
     "cannot create a file in its directory: Read-only file system"},
    {"EveryNameTaken",
     [](SystemCalls& calls) {
         calls.open = [](char const* path, int flags) {
             return open_without(O_CREAT, EEXIST, path, flags);
         };
     },
     "cannot create a file in its directory: File exists"},
    {"Writing", [](SystemCalls& calls) { calls.pwrite = fails_with(ENOSPC); },
     "No space left on device"},
    {"WritingTheRest",
     [](SystemCalls& calls) {
         calls.pwrite = [](int fd, void const* bytes, size_t, off64_t offset) {
             if (offset == 0) return test_support::real_pwrite(fd, bytes, 1, offset);
             errno = ENOSPC;
             return ssize_t{-1};
         };
     },
     "No space left on device"},
    {"Overwriting",
     [](SystemCalls& calls) {
         calls.pwrite = [](int fd, void const* bytes, size_t size, off64_t offset) {
             if (offset != 1) return test_support::real_pwrite(fd, bytes, size, offset);
             errno = EIO;
             return ssize_t{-1};
         };
     },
     "Input/output error"},
    {"GivingItAway", [](SystemCalls& calls) { calls.fchown = fails_with(EPERM); },
     "its owner cannot be kept: Operation not permitted"},
    {"SettingItsMode", [](SystemCalls& calls) { calls.fchmod = fails_with(EPERM); },
     "its mode cannot be set: Operation not permitted"},
    {"FlushingIt", [](SystemCalls& calls) { calls.fsync = fsync_fails_at(0, EIO); },
     "Input/output error"},
    {"FlushingItWhereNothingIsFlushed",
     [](SystemCalls& calls) { calls.fsync = fsync_fails_at(0, EINVAL); }, "Invalid argument"},
    {"RenamingIt", [](SystemCalls& calls) { calls.rename = fails_with(EBUSY); },
     "Device or resource busy"},
};

INSTANTIATE_TEST_SUITE_P(, DurableFileFaultBeforeTheRenameTest, testing::ValuesIn(kFaultsBefore),
                         [](auto const& tested) { return tested.param.name; });

class DurableFileFaultAfterTheRenameTest : public DurableFileFaultTest,
                                           public testing::WithParamInterface<Fault> {};

TEST_P(DurableFileFaultAfterTheRenameTest, IsReportedAndTheNewFileIsThereWhole) {
    write_file(kPath, "old");
    calls_.fchown = [](int, uid_t, gid_t) { return 0; };
    GetParam().arrange(calls_);
    EXPECT_EQ(put(Existing::kReplaced),
              "written, but not flushed to storage: " + GetParam().problem);
    EXPECT_EQ(read_file(kPath), "new");
    EXPECT_THAT(list_directory(kFolder), ElementsAre("out.data"));
}

const Fault kFaultsAfter[] = {
    {"FlushingItAgain", [](SystemCalls& calls) { calls.fsync = fsync_fails_at(1, EIO); },
     "Input/output error"},
    {"ClosingIt", [](SystemCalls& calls) { calls.close = close_fails_once(); },
     "Input/output error"},
    {"FlushingTheDirectory", [](SystemCalls& calls) { calls.fsync = fsync_fails_at(2, ENOSPC); },
     "No space left on device"},
};

INSTANTIATE_TEST_SUITE_P(, DurableFileFaultAfterTheRenameTest, testing::ValuesIn(kFaultsAfter),
                         [](auto const& tested) { return tested.param.name; });

class DurableFileNameFaultTest : public DurableFileFaultTest {
protected:
    void SetUp() override {
        DurableFileFaultTest::SetUp();
        calls_.fchown = [](int, uid_t, gid_t) { return 0; };
    }
};

TEST_F(DurableFileNameFaultTest, AFileThatSomebodyMadeMeanwhileIsKept) {
    calls_.fsync = [](int) {
        write_file(kPath, "somebody's");
        return 0;
    };
    EXPECT_EQ(put(Existing::kKept), "already exists");
    EXPECT_EQ(read_file(kPath), "somebody's");
    EXPECT_THAT(list_directory(kFolder), ElementsAre("out.data"));
}

TEST_F(DurableFileNameFaultTest, ARenameThatNeverReplacesMayFail) {
    calls_.renameat2 = fails_with(EIO);
    EXPECT_EQ(put(Existing::kKept), "Input/output error");
    EXPECT_TRUE(list_directory(kFolder).empty());
}

TEST_F(DurableFileNameFaultTest, WhereNoRenameKeepsFilesTheNewOneHasItsName) {
    for (const int error : {EINVAL, ENOSYS}) {
        fs::remove(kPath);
        calls_.renameat2 = fails_with(error);
        EXPECT_EQ(put(Existing::kKept), "");
        EXPECT_EQ(read_file(kPath), "new");
        EXPECT_THAT(list_directory(kFolder), ElementsAre("out.data"));
    }
}

TEST_F(DurableFileNameFaultTest, WhereNoRenameKeepsFilesAnExistingOneIsKeptAllTheSame) {
    write_file(kPath, "old");
    calls_.renameat2 = fails_with(EINVAL);
    EXPECT_EQ(put(Existing::kKept), "already exists");
    EXPECT_EQ(read_file(kPath), "old");
    EXPECT_THAT(list_directory(kFolder), ElementsAre("out.data"));
}

TEST_F(DurableFileNameFaultTest, WhereNoRenameKeepsFilesTheOtherRenameMayFail) {
    calls_.renameat2 = fails_with(EINVAL);
    calls_.rename = fails_with(EIO);
    EXPECT_EQ(put(Existing::kKept), "Input/output error");
    EXPECT_TRUE(list_directory(kFolder).empty());
}

TEST_F(DurableFileNameFaultTest, ADirectoryThatCannotBeFlushedIsNoFault) {
    calls_.fsync = fsync_fails_at(2, EINVAL);
    EXPECT_EQ(put(Existing::kKept), "");
    EXPECT_EQ(read_file(kPath), "new");
}

TEST_F(DurableFileNameFaultTest, ADirectoryThatMayNotBeReadIsNotFlushed) {
    calls_.open = [](char const* path, int flags) {
        return open_without(O_DIRECTORY, EACCES, path, flags);
    };
    int flushes = 0;
    calls_.fsync = [&](int) {
        ++flushes;
        return 0;
    };
    EXPECT_EQ(put(Existing::kKept), "");
    EXPECT_EQ(read_file(kPath), "new");
    EXPECT_EQ(flushes, 2);
}

TEST_F(DurableFileNameFaultTest, ShortAndInterruptedWritesAreGoneOnWith) {
    calls_.pwrite = [count = 0](int fd, void const* bytes, size_t size, off64_t offset) mutable {
        if (count++ % 2 == 1) return test_support::real_pwrite(fd, bytes, 1, offset);
        errno = EINTR;
        return size > 0 ? ssize_t{-1} : ssize_t{0};
    };
    EXPECT_EQ(put(Existing::kKept), "");
    EXPECT_EQ(read_file(kPath), "new");
}

TEST_F(DurableFileNameFaultTest, ATemporaryFileThatCannotBeRemovedChangesNothing) {
    calls_.pwrite = fails_with(ENOSPC);
    calls_.unlink = fails_with(EROFS);
    EXPECT_EQ(put(Existing::kKept), "No space left on device");
    EXPECT_THAT(list_directory(kFolder), ElementsAre(testing::EndsWith(".partial")));
}

TEST_F(DurableFileNameFaultTest, WhatAKilledProcessLeftIsPassedOver) {
    const std::string left = DurableFile(kPath, Existing::kKept).temporary_path();
    write_file(left, "left");
    EXPECT_EQ(put(Existing::kKept), "");
    EXPECT_EQ(read_file(kPath), "new");
    EXPECT_EQ(read_file(left), "left");
}

/** Of a descriptor: "directory" or "file". */
std::string kind_of(int fd) {
    struct stat status = {};
    return fstat(fd, &status) == 0 && S_ISDIR(status.st_mode) ? "directory" : "file";
}

TEST_F(DurableFileNameFaultTest, IsFlushedRenamedAndFlushedAgainAndThenItsDirectory) {
    std::vector<std::string> done;
    calls_.fsync = [&](int fd) {
        done.push_back("flush " + kind_of(fd));
        return test_support::real_fsync(fd);
    };
    calls_.rename = [&](char const* from, char const* to) {
        done.emplace_back("rename");
        return test_support::real_rename(from, to);
    };
    EXPECT_EQ(put(Existing::kReplaced), "");
    EXPECT_THAT(done, ElementsAre("flush file", "rename", "flush file", "flush directory"));
}

}  // namespace
