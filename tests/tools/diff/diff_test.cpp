// The verb `diff`.

#include "tools/diff/diff.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <limits>
#include <nlohmann/json.hpp>

#include "tests/support/page.h"
#include "tests/support/private_paths.h"
#include "tests/support/process.h"
#include "tests/support/recording_bytes.h"

namespace {

using nlohmann::json;
using test_support::frame;
using test_support::header;
using test_support::Outcome;
using test_support::record;
using test_support::run;
using test_support::word;
using test_support::write_file;
using testing::HasSubstr;
using testing::StartsWith;

class DiffTest : public test_support::PrivatePathsTest {
protected:
    static Outcome diff(std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"diff", "/tmp/a", "/tmp/b"});
        return run(options);
    }

    static void write_recording(std::string const& path, std::vector<std::string> const& payloads) {
        std::string bytes = header(static_cast<uint32_t>(payloads.size()));
        for (std::string const& payload : payloads) bytes += record(payload);
        write_file(path, bytes);
    }

    static void write_times(std::string const& path, std::vector<uint64_t> const& times) {
        std::vector<std::string> payloads;
        for (const uint64_t time : times) payloads.push_back(frame(time, 1));
        write_recording(path, payloads);
    }

    /** A frame at time 5 of targets at these ranges. */
    static std::string at_ranges(std::vector<float> const& ranges) {
        RO::RadarObjects message;
        message.set_magic(29061378);
        message.set_timestamp(5);
        for (const float range : ranges) message.add_targets()->set_r(range);
        return message.SerializeAsString();
    }
};

TEST_F(DiffTest, EqualRecordingsHaveNoDifference) {
    write_times("/tmp/a", {10, 20});
    write_times("/tmp/b", {10, 20});
    const Outcome outcome = diff();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "2 frames compared, no difference\n");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(DiffTest, FieldsThatDifferAreToldWithTheirPlace) {
    RO::RadarObjects message;
    message.ParseFromString(frame(5, 2));
    write_recording("/tmp/a", {message.SerializeAsString()});
    message.mutable_targets(1)->set_rcs(-3.5F);
    message.mutable_targets(1)->set_options(7);
    write_recording("/tmp/b", {message.SerializeAsString()});
    const Outcome outcome = diff();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out,
              "frame 0, timestamp 5: target 1: rcs 0 and -3.5\n"
              "frame 0, timestamp 5: target 1: options 0 and 7\n"
              "1 frame compared, 1 differs; 0 only in /tmp/a, 0 only in /tmp/b\n");
    EXPECT_EQ(outcome.err,
              "petrelradar diff: 1 frame compared, 1 differs; 0 only in /tmp/a, 0 "
              "only in /tmp/b\n");
}

TEST_F(DiffTest, WithinTheToleranceNothingDiffers) {
    write_recording("/tmp/a", {at_ranges({100, 2})});
    write_recording("/tmp/b", {at_ranges({101, 2.0625F})});
    EXPECT_EQ(diff({"--tolerance", "0.0625,r=1%"}).status, 0);
    EXPECT_EQ(diff({"--tolerance", "r=0.0625", "--tolerance", "r=1%"}).status, 0);
    EXPECT_EQ(diff({"--tolerance", "0.06,r=1%"}).status, 3);
    EXPECT_EQ(diff({"--tolerance", "snr=100%"}).status, 3);
}

TEST_F(DiffTest, AFrameThatIsMissingMakesNoOtherDiffer) {
    write_times("/tmp/a", {10, 20, 30, 40});
    write_times("/tmp/b", {10, 30, 40, 50});
    const Outcome outcome = diff();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out,
              "only in /tmp/a: frame 1, timestamp 20\n"
              "only in /tmp/b: frame 3, timestamp 50\n"
              "3 frames compared, 0 differ; 1 only in /tmp/a, 1 only in /tmp/b\n");
}

TEST_F(DiffTest, WhereTimeGoesBackAMissingFrameMakesNoOtherDiffer) {
    write_times("/tmp/a", {100, 10, 20, 30});
    write_times("/tmp/b", {100, 110, 10, 20, 30});
    EXPECT_THAT(diff().out, StartsWith("only in /tmp/b: frame 1, timestamp 110\n4 frames"));
}

TEST_F(DiffTest, ALongGapIsPassedOver) {
    std::vector<uint64_t> times;
    for (uint64_t i = 0; i < 300; ++i) times.push_back(10 * i);
    write_times("/tmp/a", times);
    times.erase(times.begin() + 100, times.begin() + 200);
    write_times("/tmp/b", times);
    EXPECT_EQ(diff({"--brief"}).out,
              "200 frames compared, 0 differ; 100 only in /tmp/a, 0 only in /tmp/b\n");
}

TEST_F(DiffTest, TimesMayDifferWithinTheirTolerance) {
    write_times("/tmp/a", {10, 20, 30});
    write_times("/tmp/b", {11, 31});
    EXPECT_EQ(diff({"--tolerance", "timestamp=1"}).out,
              "only in /tmp/a: frame 1, timestamp 20\n"
              "2 frames compared, 0 differ; 1 only in /tmp/a, 0 only in /tmp/b\n");
}

TEST_F(DiffTest, ATargetThatIsMissingMakesNoOtherDiffer) {
    write_recording("/tmp/a", {at_ranges({1, 2, 3, 4})});
    write_recording("/tmp/b", {at_ranges({1, 3, 4})});
    EXPECT_EQ(diff().out,
              "frame 0, timestamp 5: target 1 only in /tmp/a\n"
              "1 frame compared, 1 differs; 0 only in /tmp/a, 0 only in /tmp/b\n");
}

TEST_F(DiffTest, TargetsBehindTheLastAreInOneOnly) {
    write_recording("/tmp/a", {at_ranges({1})});
    write_recording("/tmp/b", {at_ranges({1, 2, 3})});
    EXPECT_THAT(diff().out, StartsWith("frame 0, timestamp 5: target 1 only in /tmp/b\n"
                                       "frame 0, timestamp 5: target 2 only in /tmp/b\n"));
}

TEST_F(DiffTest, ATargetMayBeMissingWhereAnotherDiffers) {
    write_recording("/tmp/a", {at_ranges({1, 2, 3, 4})});
    write_recording("/tmp/b", {at_ranges({9, 3, 4})});
    EXPECT_THAT(diff().out, StartsWith("frame 0, timestamp 5: target 0: r 1 and 9\n"
                                       "frame 0, timestamp 5: target 1 only in /tmp/a\n"
                                       "1 frame compared"));
}

TEST_F(DiffTest, TheSameValuesInOtherBytesAreNoDifference) {
    write_recording("/tmp/a", {"\x08\x82\xe2\xed\x0d\x10\x05\x1a\x02\x28\x01"});
    write_recording("/tmp/b", {"\x10\x05\x08\x82\xe2\xed\x0d\x1a\x02\x28\x01"});
    EXPECT_EQ(diff().status, 0);
}

TEST_F(DiffTest, AnotherMagicIsADifference) {
    write_recording("/tmp/a", {frame(5)});
    write_recording("/tmp/b", {"\x08\x82\xe2\xed\x0d\x08\x07\x10\x05"});
    EXPECT_THAT(diff().out, StartsWith("frame 0, timestamp 5: magic 29061378 and 7\n"));
}

TEST_F(DiffTest, AnotherInstallationIsADifference) {
    write_times("/tmp/a", {10});
    write_file("/tmp/b", word(0xBADABADA) + word(5) + word(9) + word(1) +
                             std::string("\0\0\0\0\0\0\x06\x40\0\0\0\0\0\0\0\0", 16) + word(1) +
                             word(1) + record(frame(10, 1)));
    const Outcome outcome = diff();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out,
              "header: height 0 and 2.75\n"
              "1 frame compared, 0 differ; 0 only in /tmp/a, 0 only in /tmp/b; the headers "
              "differ\n");
}

TEST_F(DiffTest, DamageIsToldAndIsNoEquality) {
    write_times("/tmp/a", {10});
    write_file("/tmp/b", header(1) + record(frame(10, 1)) + "dam");
    const Outcome outcome = diff();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out, "1 frame compared, no difference\n");
    EXPECT_THAT(outcome.err, HasSubstr("/tmp/b: offset "));
}

TEST_F(DiffTest, JsonHasOneObjectForEachDifference) {
    write_recording("/tmp/a", {at_ranges({1, 2}), frame(10)});
    write_recording("/tmp/b", {at_ranges({1, 2.5F, 3}), frame(20)});
    const json document = json::parse(diff({"--format", "json"}).out);
    const json place = {
        {"frame_a", "0"}, {"frame_b", "0"}, {"timestamp_a", "5"}, {"timestamp_b", "5"}};
    json field = place;
    field.update({{"kind", "target"}, {"target_a", 1}, {"target_b", 1}, {"field", "r"}});
    field.update({{"a", 2}, {"b", 2.5}});
    json missing = place;
    missing.update({{"kind", "target-only-in-b"}, {"target_b", 2}});
    EXPECT_EQ(document["differences"],
              json({field,
                    missing,
                    {{"kind", "only-in-a"}, {"frame", "1"}, {"timestamp", "10"}},
                    {{"kind", "only-in-b"}, {"frame", "1"}, {"timestamp", "20"}}}));
}

TEST_F(DiffTest, JsonIsAsDocumented) {
    const auto header_of_height = [](std::string const& upper_half) {
        return word(0xBADABADA) + word(5) + word(9) + word(1) + std::string(6, '\0') + upper_half +
               std::string(8, '\0') + word(1) + word(2);
    };
    std::string other_magic = at_ranges({2.5F});
    other_magic.replace(0, 5, "\x08\x07");
    write_file("/tmp/a.data",
               header_of_height("\x06\x40") + record(at_ranges({2, 3})) + record(frame(10)));
    write_file("/tmp/b.data",
               header_of_height("\x04\x40") + record(other_magic) + record(frame(20)));
    ASSERT_EQ(chdir("/tmp"), 0);
    EXPECT_EQ(run({"diff", "a.data", "b.data", "--format", "json"}).out,
              test_support::code_block("export.md", "json"));
}

TEST_F(DiffTest, JsonHasTheSum) {
    write_times("/tmp/a", {10, 20});
    write_times("/tmp/b", {10, 30, 40});
    const json document = json::parse(diff({"--format", "json", "--brief"}).out);
    EXPECT_EQ(document, json({{"a", "/tmp/a"},
                              {"b", "/tmp/b"},
                              {"differences", json::array()},
                              {"equal", false},
                              {"interrupted", false},
                              {"frames_compared", "1"},
                              {"frames_differing", "0"},
                              {"frames_only_in_a", "1"},
                              {"frames_only_in_b", "2"}}));
}

TEST_F(DiffTest, JsonHasWordsForWhatIsNoNumber) {
    write_recording("/tmp/a", {at_ranges({std::numeric_limits<float>::quiet_NaN()})});
    write_recording("/tmp/b", {at_ranges({-std::numeric_limits<float>::infinity()})});
    const json difference = json::parse(diff({"--format", "json"}).out)["differences"][0];
    EXPECT_EQ(difference["a"], "NaN");
    EXPECT_EQ(difference["b"], "-Infinity");
}

TEST_F(DiffTest, ASourceThatIsNotThereIsAFailure) {
    write_times("/tmp/a", {10});
    EXPECT_EQ(diff().status, 1);
}

TEST_F(DiffTest, WhatMakesNoSenseIsAUsageError) {
    write_times("/tmp/a", {10});
    write_times("/tmp/b", {10});
    const Outcome outcome = diff({"--tolerance", "height=1"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(
        outcome.err,
        HasSubstr("unknown field 'height' (expected one of rcs, r, rdot, theta, snr, timestamp)"));
    EXPECT_EQ(run({"diff", "-", "-"}).status, 2);
}

}  // namespace
