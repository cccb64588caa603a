// What the verbs that read recordings make of files that are none, or hardly.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <thread>

#include "tests/support/private_paths.h"
#include "tests/support/process.h"
#include "tests/support/recording_bytes.h"

namespace {

using test_support::frame;
using test_support::header;
using test_support::Outcome;
using test_support::record;
using test_support::run;
using test_support::word;
using test_support::write_file;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kPath[] = "/tmp/bad.data";

std::string records(int count) {
    std::string bytes;
    for (int i = 0; i < count; ++i) {
        bytes += record(frame(1747301407000000 + static_cast<uint64_t>(i) * 50000, 1));
    }
    return bytes;
}

std::string with_length(uint32_t length) {
    return header(4) + records(3) + word(0xFEED0007) + word(length) + frame(1);
}

/** Statuses of info, cat, doctor and recover. */
struct Statuses {
    int info;
    int cat;
    int doctor;
    int recover;
};

struct Bad {
    char const* name;
    std::function<void()> make;
    Statuses statuses;
    char const* message;  // part of what info says
};

std::ostream& operator<<(std::ostream& os, Bad const& bad) {
    return os << bad.name;
}

class BadRecordingsTest : public test_support::PrivatePathsTest,
                          public testing::WithParamInterface<Bad> {
protected:
    /** Runs a verb, which says on standard error what is the matter when it is not all well. */
    static Outcome checked(std::vector<std::string> const& arguments) {
        const Outcome outcome = run(arguments);
        const auto lines = std::count(outcome.err.begin(), outcome.err.end(), '\n');
        EXPECT_TRUE(outcome.status == 0 || lines > 0) << outcome.status;
        EXPECT_LE(lines, outcome.status == 1 ? 1 : 4) << outcome.err;
        if (lines > 0) {
            EXPECT_THAT(outcome.err, StartsWith("petrelradar " + arguments[0] + ": "));
        }
        return outcome;
    }
};

TEST_P(BadRecordingsTest, IsAnsweredByEveryVerb) {
    GetParam().make();
    const Outcome info = checked({"info", kPath});
    EXPECT_EQ(info.status, GetParam().statuses.info) << info.err;
    EXPECT_THAT(info.err, HasSubstr(GetParam().message));
    const Outcome cat = checked({"cat", kPath});
    EXPECT_EQ(cat.status, GetParam().statuses.cat) << cat.err;
    const Outcome doctor = checked({"doctor", kPath});
    EXPECT_EQ(doctor.status, GetParam().statuses.doctor) << doctor.err;
    const Outcome recover = checked({"recover", kPath, "-o", "/tmp/saved"});
    EXPECT_EQ(recover.status, GetParam().statuses.recover) << recover.err;
}

Bad file(char const* name, std::string const& bytes, Statuses statuses, char const* message) {
    return {name, [bytes] { write_file(kPath, bytes); }, statuses, message};
}

Bad sparse(char const* name, off_t size, Statuses statuses, char const* message) {
    const auto make = [size] {
        write_file(kPath, header(0));
        EXPECT_EQ(truncate(kPath, size), 0);
    };
    return {name, make, statuses, message};
}

constexpr Statuses kNothing = {1, 1, 3, 1};
constexpr Statuses kFailed = {1, 1, 1, 1};
constexpr Statuses kDamaged = {3, 3, 3, 3};
constexpr Statuses kSound = {0, 0, 0, 0};

const Bad kBad[] = {
    file("Empty", "", kNothing, "bad.data: empty"),
    file("OneByte", "x", kNothing, "cut off inside the header: 1 of 40 bytes"),
    file("AHeaderButOneByte", header(0).substr(0, 39), kNothing, "39 of 40 bytes"),
    file("AHeader", header(0), kSound, ""),
    file("AHeaderThatCountsAFrame", header(1), kDamaged, "counts 1 frames, 0 were found"),
    file("WrongMagic", "RIFF" + header(0).substr(4), kNothing, "not a recording: 0x46464952"),
    file("WrongVersion", word(0xBADABADA) + word(6) + header(0).substr(8), kNothing, "version 6"),
    file("CountIsZero", header(0) + records(3), kDamaged, "counts 0 frames, 3 were found"),
    file("CountIsTooLarge", header(4) + records(3), kDamaged, "counts 4 frames"),
    file("CountIsHuge", header(0xFFFFFFFF) + records(3), kDamaged, "counts 4294967295 frames"),
    file("LengthZero", with_length(0), kDamaged, "offset 127: "),
    file("LengthOne", with_length(1), kDamaged, "offset 127: "),
    file("LengthOneTooSmall", with_length(6), kDamaged, "offset 127: "),
    file("LengthOneTooLarge", with_length(8), kDamaged, "cut off inside a record: 15 of 16"),
    file("Length2To31Less1", with_length(0x7FFFFFFF), kDamaged, "payload of 2147483647 bytes"),
    file("Length2To31", with_length(0x80000000), kDamaged, "payload of 2147483648 bytes"),
    file("Length2To32Less1", with_length(0xFFFFFFFF), kDamaged, "payload of 4294967295 bytes"),
    file("LengthOver16MiB", with_length((16 << 20) + 1), kDamaged, "more than 16777216"),
    file("TailOfZeros", header(3) + records(3) + std::string(3000, '\0'), kDamaged, "zeros"),
    file("TwoRecordings", header(3) + records(3) + header(2) + records(2), kSound, ""),
    file("ARecordingInAPayload", header(1) + record(header(1) + records(1)), kDamaged,
         "does not decode"),
    sparse("Sparse3GiB", off_t{3} << 30, {3, 3, 3, 3}, "zeros where a record has to begin"),
    {"ADirectory", [] { mkdir(kPath, 0700); }, kFailed, "bad.data: holds no recordings"},
    {"ADanglingLink", [] { EXPECT_EQ(symlink("/tmp/nowhere", kPath), 0); }, kFailed,
     "bad.data: No such file or directory"},
    {"NothingAtAll", [] {}, kFailed, "bad.data: No such file or directory"},
    {"AnEndlessDevice", [] { EXPECT_EQ(symlink("/dev/zero", kPath), 0); }, kFailed,
     "bad.data: Is a device"},
    {"ALinkToItself", [] { EXPECT_EQ(symlink(kPath, kPath), 0); }, kFailed,
     "bad.data: Too many levels of symbolic links"},
};

INSTANTIATE_TEST_SUITE_P(Recordings, BadRecordingsTest, testing::ValuesIn(kBad),
                         [](auto const& test) { return test.param.name; });

class FifoTest : public test_support::PrivatePathsTest {};

TEST_F(FifoTest, APipeIsReadToItsEnd) {
    ASSERT_EQ(mkfifo(kPath, 0600), 0);
    const std::string bytes = header(3) + records(3) + "xyz";
    for (std::vector<std::string> const& arguments :
         {std::vector<std::string>{"info", kPath},
          {"cat", kPath},
          {"doctor", kPath},
          {"recover", kPath, "-o", "/tmp/saved", "--force"}}) {
        std::thread writer([&] { write_file(kPath, bytes); });
        EXPECT_EQ(run(arguments).status, 3) << arguments[0];
        writer.join();
    }
}

}  // namespace
