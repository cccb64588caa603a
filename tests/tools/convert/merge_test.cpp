// The verb `merge`.

#include "tools/convert/merge.h"

#include <gmock/gmock.h>

#include "tests/support/private_paths.h"
#include "tests/support/process.h"
#include "tests/support/recording_bytes.h"
#include "tests/support/shell.h"

namespace {

using test_support::frame;
using test_support::header;
using test_support::Outcome;
using test_support::read_file;
using test_support::record;
using test_support::run;
using test_support::word;
using test_support::write_file;
using testing::HasSubstr;

constexpr char kResult[] = "/tmp/result";

class MergeTest : public test_support::PrivatePathsTest {
protected:
    static Outcome merge(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "merge");
        arguments.insert(arguments.end(), {"-o", kResult});
        return run(arguments);
    }

    static std::string frames(std::vector<uint64_t> const& times, int targets = 0) {
        std::string bytes;
        for (const uint64_t time : times) bytes += record(frame(time, targets));
        return bytes;
    }

    /** A recording of frames at these times, with so many targets each. */
    static void write_recording(std::string const& path, std::vector<uint64_t> const& times,
                                int targets = 0) {
        write_file(path, header(static_cast<uint32_t>(times.size())) + frames(times, targets));
    }
};

TEST_F(MergeTest, FramesOfAllAreWrittenInOrderOfTime) {
    write_recording("/tmp/a", {10, 30, 50, 60});
    write_recording("/tmp/b", {40, 70});
    write_recording("/tmp/c", {20});
    const Outcome outcome = merge({"/tmp/a", "/tmp/b", "/tmp/c"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(read_file(kResult), header(7) + frames({10, 20, 30, 40, 50, 60, 70}));
}

TEST_F(MergeTest, SourcesMayBeInAnyOrder) {
    write_recording("/tmp/a", {30, 40});
    write_recording("/tmp/b", {10, 20});
    EXPECT_EQ(merge({"/tmp/a", "/tmp/b"}).status, 0);
    EXPECT_EQ(read_file(kResult), header(4) + frames({10, 20, 30, 40}));
}

TEST_F(MergeTest, FramesOfOneTimeAreInOrderOfTheSources) {
    write_recording("/tmp/a", {10, 20}, 1);
    write_recording("/tmp/b", {10, 20}, 2);
    EXPECT_EQ(merge({"/tmp/b", "/tmp/a"}).status, 0);
    EXPECT_EQ(read_file(kResult),
              header(4) + frames({10}, 2) + frames({10}, 1) + frames({20}, 2) + frames({20}, 1));
}

TEST_F(MergeTest, OneSourceIsCopied) {
    write_recording("/tmp/a", {10, 20});
    EXPECT_EQ(merge({"/tmp/a"}).status, 0);
    EXPECT_EQ(read_file(kResult), read_file("/tmp/a"));
}

TEST_F(MergeTest, CopiesOfAFrameAreAllWritten) {
    write_recording("/tmp/a", {10, 20});
    write_recording("/tmp/b", {20, 30});
    EXPECT_EQ(merge({"/tmp/a", "/tmp/b"}).status, 0);
    EXPECT_EQ(read_file(kResult), header(4) + frames({10, 20, 20, 30}));
}

TEST_F(MergeTest, CopiesOfAFrameAreWrittenOnceWhereThatIsWanted) {
    write_recording("/tmp/a", {10, 20, 20});
    write_recording("/tmp/b", {10, 20, 30});
    write_recording("/tmp/c", {20, 30}, 1);
    const Outcome outcome = merge({"/tmp/a", "/tmp/b", "/tmp/c", "--once"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err,
              "petrelradar merge: frames that several sources have, written once: 2 skipped\n");
    EXPECT_EQ(read_file(kResult),
              header(6) + frames({10, 20, 20}) + frames({20}, 1) + frames({30}) + frames({30}, 1));
}

TEST_F(MergeTest, TheHeaderIsThatOfTheEarliestFrame) {
    const std::string other =
        word(0xBADABADA) + word(5) + word(1) + word(0) + std::string(16, '\0') + word(2) + word(1);
    write_recording("/tmp/a", {20});
    write_file("/tmp/b", other + frames({10, 30}));
    const Outcome outcome = merge({"/tmp/a", "/tmp/b"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("/tmp/a: its header is lost: height 0, tilt 0, sensitivity "
                                       "1; the recording's says height 0, tilt 0, sensitivity 2"));
    EXPECT_EQ(read_file(kResult), other.substr(0, 36) + word(3) + frames({10, 20, 30}));
}

TEST_F(MergeTest, RecordsOfTwoRecordersAreRefused) {
    write_recording("/tmp/a", {10});
    write_file("/tmp/b", header(1) + record(frame(20), 0xFEED0008));
    const Outcome outcome = merge({"/tmp/a", "/tmp/b"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("/tmp/b: offset 40: a record with tag 0xFEED0008"));
    EXPECT_THAT(test_support::list_directory("/tmp"), testing::ElementsAre("a", "b"));
}

TEST_F(MergeTest, ADamagedTagCostsItsRecordOnly) {
    write_recording("/tmp/a", {10, 20});
    write_file("/tmp/b", header(3) + frames({30, 40}) + record(frame(50), 0xFEED0008));
    EXPECT_EQ(merge({"/tmp/a", "/tmp/b"}).status, 3);
    EXPECT_EQ(read_file(kResult), header(4) + frames({10, 20, 30, 40}));
}

TEST_F(MergeTest, TimeThatGoesBackIsNoted) {
    write_recording("/tmp/a", {10, 5, 20});
    const Outcome outcome = merge({"/tmp/a"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.err, HasSubstr("earlier than the one before them in their source: 1"));
    EXPECT_EQ(read_file(kResult), read_file("/tmp/a"));
}

TEST_F(MergeTest, DamageIsToldWithItsSource) {
    write_recording("/tmp/a", {10});
    write_file("/tmp/b", header(2) + frames({20}) + "dam");
    const Outcome outcome = merge({"/tmp/a", "/tmp/b"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("/tmp/b: offset "));
    EXPECT_EQ(read_file(kResult), header(2) + frames({10, 20}));
}

TEST_F(MergeTest, TheSumOfTheDamageNamesTheSource) {
    write_recording("/tmp/a", {10});
    write_file("/tmp/b", header(2) + frames({20}) + "not a record");
    EXPECT_THAT(merge({"/tmp/a", "/tmp/b"}).err,
                HasSubstr("petrelradar merge: /tmp/b: 2 damaged places, 12 bytes skipped\n"));
}

TEST_F(MergeTest, ASourceThatIsNotThereIsAFailure) {
    write_recording("/tmp/a", {10});
    const Outcome outcome = merge({"/tmp/a", "/tmp/b"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("/tmp/b: No such file"));
    EXPECT_THAT(test_support::list_directory("/tmp"), testing::ElementsAre("a"));
}

TEST_F(MergeTest, SourcesWithoutFramesGiveNoFile) {
    write_recording("/tmp/a", {});
    EXPECT_EQ(merge({"/tmp/a", "/tmp/a"}).status, 1);
    EXPECT_THAT(test_support::list_directory("/tmp"), testing::ElementsAre("a"));
}

TEST_F(MergeTest, AnInputIsNotReplacedEvenByForce) {
    write_recording("/tmp/a", {10});
    write_recording(kResult, {20});
    EXPECT_EQ(merge({"/tmp/a", kResult, "--force"}).status, 1);
    EXPECT_EQ(read_file(kResult), header(1) + frames({20}));
}

TEST_F(MergeTest, StandardInputIsASourceToo) {
    write_recording("/tmp/a", {10, 30});
    write_recording("/tmp/b", {20});
    const auto outcome =
        test_support::run_in_shell(PETRELRADAR_PROGRAM " merge /tmp/a - -o /tmp/result < /tmp/b");
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(read_file(kResult), header(3) + frames({10, 20, 30}));
}

TEST_F(MergeTest, ManyFilesThatFollowOneAnotherNeedFewDescriptors) {
    std::vector<uint64_t> times;
    std::vector<std::string> arguments;
    for (uint64_t i = 0; i < 60; ++i) {
        times.push_back(10 + i);
        arguments.push_back("/tmp/" + std::to_string(i));
        write_recording(arguments.back(), {10 + i});
    }
    std::string command = "ulimit -n 12; " PETRELRADAR_PROGRAM " merge -o /tmp/result";
    for (std::string const& argument : arguments) command += " " + argument;
    const auto outcome = test_support::run_in_shell(command);
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_EQ(read_file(kResult), header(60) + frames(times));
}

}  // namespace
