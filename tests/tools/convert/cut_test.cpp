// The verb `cut`.

#include "tools/convert/cut.h"

#include <gmock/gmock.h>

#include "tests/support/eventually.h"
#include "tests/support/private_paths.h"
#include "tests/support/process.h"
#include "tests/support/recording_bytes.h"

namespace {

using test_support::frame;
using test_support::Outcome;
using test_support::read_file;
using test_support::record;
using test_support::run;
using test_support::word;
using test_support::write_file;
using testing::HasSubstr;

constexpr char kRecording[] = "/tmp/radar_150525_093007_042.data";
constexpr char kPart[] = "/tmp/part.data";
constexpr uint32_t kStart = 1747301407;

std::string header(uint32_t frames, uint32_t start = kStart, uint32_t sensitivity = 1) {
    return word(0xBADABADA) + word(5) + word(start) + word(1) +
           std::string("\0\0\0\0\0\0\x06\x40\0\0\0\0\0\0\xe0\xbf", 16) + word(sensitivity) +
           word(frames);
}

/** The record that comes `second` seconds after the start, with bytes that no encoder writes. */
std::string at(uint32_t second) {
    return record(frame((kStart + second) * uint64_t{1000000}, 2) + "\x78\x80\x01");
}

class CutTest : public test_support::PrivatePathsTest {
protected:
    CutTest() { write_file(kRecording, header(4) + at(0) + at(1) + at(2) + at(3)); }

    static Outcome cut(std::vector<std::string> options, std::string const& source = kRecording) {
        options.insert(options.begin(), {"cut", source, "-o", kPart});
        return run(options);
    }

    /** Tries again until the process that serves the stream listens. */
    static Outcome cut_stream(std::string const& path) {
        Outcome outcome;
        EXPECT_TRUE(test_support::eventually([&] {
            outcome = cut({}, "unix:" + path);
            return outcome.status != 1;
        }));
        return outcome;
    }
};

TEST_F(CutTest, WithoutASelectionItIsACopy) {
    const Outcome outcome = cut({});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(read_file(kPart), read_file(kRecording));
}

TEST_F(CutTest, FramesOfAPartAreKeptByteForByteAndCounted) {
    EXPECT_EQ(cut({"--frames", "0-1"}).status, 0);
    EXPECT_EQ(read_file(kPart), header(2) + at(0) + at(1));
}

TEST_F(CutTest, TheStartMovesToTheFirstFrame) {
    EXPECT_EQ(cut({"--start", "+1s", "--end", "+3s"}).status, 0);
    EXPECT_EQ(read_file(kPart), header(2, kStart + 1) + at(1) + at(2));
}

TEST_F(CutTest, TheStartStaysWhereTheFramesTimeIsNoDate) {
    write_file(kRecording, header(2) + record(frame(1000000)) + record(frame(2000000)));
    EXPECT_EQ(cut({"--frames", "1-1"}).status, 0);
    EXPECT_EQ(read_file(kPart), header(1) + record(frame(2000000)));
}

TEST_F(CutTest, SeveralFilesBecomeOne) {
    write_file("/tmp/radar_150525_093010_042.data", header(1, kStart + 4) + at(4));
    EXPECT_EQ(cut({"--start", "+2s"}, "/tmp").status, 0);
    EXPECT_EQ(read_file(kPart), header(3, kStart + 2) + at(2) + at(3) + at(4));
}

TEST_F(CutTest, AHeaderThatIsLostIsTold) {
    write_file("/tmp/radar_150525_093010_042.data", header(2, kStart + 4, 2) + at(4) + at(5));
    const Outcome outcome = cut({}, "/tmp");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err,
              "petrelradar cut: /tmp/radar_150525_093010_042.data: its header is lost: height "
              "2.75, tilt -0.5, sensitivity 2; the recording's says height 2.75, tilt -0.5, "
              "sensitivity 1\n");
    EXPECT_EQ(read_file(kPart), header(6) + at(0) + at(1) + at(2) + at(3) + at(4) + at(5));
}

TEST_F(CutTest, RecordsOfTwoRecordersAreRefused) {
    write_file(kRecording, header(1) + at(0) + header(1) + record(frame(5), 0xFEED0008));
    const Outcome outcome = cut({});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("a record with tag 0xFEED0008, and those before have "
                                       "0xFEED0007"));
    EXPECT_THAT(test_support::list_directory("/tmp"), testing::SizeIs(1));
}

TEST_F(CutTest, ARecordWithADamagedTagIsLeftOutAndTold) {
    write_file(kRecording, header(4) + at(0) + at(1) + record(frame(5), 0xFEED0008) + at(3));
    const Outcome outcome = cut({});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("tag 0xFEED0008 in place of 0xFEED0007"));
    EXPECT_EQ(read_file(kPart), header(3) + at(0) + at(1) + at(3));
}

TEST_F(CutTest, APartWithoutFramesGivesNoFile) {
    const Outcome outcome = cut({"--frames", "7-9"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("has no frame in this part"));
    EXPECT_THAT(test_support::list_directory("/tmp"), testing::SizeIs(1));
}

TEST_F(CutTest, DamageIsLeftOutAndTold) {
    write_file(kRecording, header(2) + at(0) + "damage" + at(1));
    EXPECT_EQ(cut({}).status, 3);
    EXPECT_EQ(read_file(kPart), header(2) + at(0) + at(1));
}

TEST_F(CutTest, FramesWithoutAHeaderGetOneThatSaysWhatWithoutSettingsIsTrue) {
    write_file(kRecording, std::string(40, 'x') + at(0) + at(1));
    const Outcome outcome = cut({});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("the frames have no header; the recording's says height 0, "
                                       "tilt 0, sensitivity 1"));
    EXPECT_EQ(read_file(kPart), word(0xBADABADA) + word(5) + word(kStart) + word(0xFFFFFFFF) +
                                    std::string(16, '\0') + word(1) + word(2) + at(0) + at(1));
}

TEST_F(CutTest, AStreamIsRecordedUnderAHeaderThatIsMadeUp) {
    const std::string payload = frame(kStart * uint64_t{1000000}, 2);
    write_file(kRecording, header(2) + record(payload) + record(payload));
    test_support::Program radar(
        {"play", kRecording, "--socket", "/tmp/radar.sock", "--rate", "max", "--wait"});
    const Outcome outcome = cut_stream("/tmp/radar.sock");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.err, HasSubstr("unix:/tmp/radar.sock: the frames have no header"));
    EXPECT_EQ(read_file(kPart), word(0xBADABADA) + word(5) + word(kStart) + word(0xFFFFFFFF) +
                                    std::string(16, '\0') + word(1) + word(2) +
                                    record(payload, 0xFEED0000) + record(payload, 0xFEED0000));
}

TEST_F(CutTest, TheInputIsNotReplacedEvenByForce) {
    const std::string before = read_file(kRecording);
    EXPECT_EQ(run({"cut", kRecording, "-o", kRecording, "--force"}).status, 1);
    EXPECT_EQ(read_file(kRecording), before);
}

TEST_F(CutTest, AFileThatIsThereIsReplacedOnlyByForce) {
    write_file(kPart, "old");
    EXPECT_EQ(cut({}).status, 1);
    EXPECT_EQ(read_file(kPart), "old");
    EXPECT_EQ(cut({"--force"}).status, 0);
    EXPECT_EQ(read_file(kPart), read_file(kRecording));
}

}  // namespace
