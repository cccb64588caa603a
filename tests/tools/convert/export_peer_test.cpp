// What is exported is what another implementation of protobuf reads.

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/private_paths.h"
#include "tests/support/process.h"
#include "tests/support/random_frames.h"
#include "tests/support/recording_bytes.h"
#include "tests/support/shell.h"

namespace {

using test_support::record;
using test_support::run;
using test_support::write_file;

constexpr char kRecording[] = "/tmp/recording";

class ExportPeerTest : public test_support::PrivatePathsTest {
protected:
    static test_support::Outcome compare() {
        EXPECT_EQ(run({"export", kRecording, "-o", "/tmp/frames.ndjson"}).status, 0);
        EXPECT_EQ(run({"export", kRecording, "-o", "/tmp/frames.mcap"}).status, 0);
        return run_peer();
    }

    static test_support::Outcome run_peer() {
        // Before a python3 from elsewhere, the one that the system's packages are for.
        return test_support::run_in_shell("PATH=/usr/bin:$PATH python3 " PETRELRADAR_SOURCE_DIR
                                          "/tests/tools/convert/export_peer.py /tmp/recording "
                                          "/tmp/frames.ndjson /tmp/frames.mcap");
    }
};

TEST_F(ExportPeerTest, RandomFramesAreTheSameToAnother) {
    test_support::Random random(20250515);
    std::string bytes = test_support::header(300);
    int targets = 0;
    for (int i = 0; i < 300; ++i) {
        RO::RadarObjects frame = test_support::random_frame(random, 12);
        frame.set_timestamp(frame.timestamp() / 1000);  // so that it has a time in ns
        targets += frame.targets_size();
        bytes += record(frame.SerializeAsString());
    }
    write_file(kRecording, bytes);
    const auto outcome = compare();
    if (outcome.status == 77) GTEST_SKIP() << outcome.out;
    EXPECT_EQ(outcome.out, "300 frames, " + std::to_string(targets) + " targets\n");
}

TEST_F(ExportPeerTest, NumbersAtTheirLimitsAreTheSameToAnother) {
    RO::RadarObjects frame;
    frame.set_magic(std::numeric_limits<uint32_t>::max());
    frame.set_timestamp(std::numeric_limits<uint64_t>::max() / 1000);
    RO::TargetData& target = *frame.add_targets();
    target.set_rcs(std::numeric_limits<float>::quiet_NaN());
    target.set_r(std::numeric_limits<float>::infinity());
    target.set_rdot(-std::numeric_limits<float>::infinity());
    target.set_theta(std::numeric_limits<float>::denorm_min());
    target.set_snr(std::numeric_limits<float>::max());
    target.set_options(std::numeric_limits<uint32_t>::max());
    write_file(kRecording, test_support::header(1) + record(frame.SerializeAsString()));
    const auto outcome = compare();
    if (outcome.status == 77) GTEST_SKIP() << outcome.out;
    EXPECT_EQ(outcome.out, "1 frames, 1 targets\n");
}

TEST_F(ExportPeerTest, AFrameThatDiffersIsNoticed) {
    write_file(kRecording, test_support::header(1) + record(test_support::frame(5, 1)));
    if (compare().status == 77) GTEST_SKIP() << "Python's protobuf package is not there";
    write_file(kRecording, test_support::header(1) + record(test_support::frame(5, 2)));
    EXPECT_NE(run_peer().status, 0);
}

}  // namespace
