#include "tools/output/recording.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "kit/base/error.h"
#include "tests/support/private_paths.h"
#include "tests/support/recording_bytes.h"

namespace {

using test_support::frame;
using test_support::read_file;
using test_support::record;
using Tools::RecordingOutput;

constexpr char kPath[] = "/tmp/radar_150525_093007_042.data";

class RecordingOutputTest : public test_support::PrivatePathsTest {
protected:
    Kit::RecordingHeader header = Kit::read_header(test_support::header(7));
};

TEST_F(RecordingOutputTest, HeaderRecordsAndTheirCountAreWritten) {
    RecordingOutput output(kPath, false, header);
    output.add(0xFEED0007, frame(1, 2));
    output.add(0xFEED0008, frame(2));
    output.finish();
    EXPECT_EQ(read_file(kPath),
              test_support::header(2) + record(frame(1, 2)) + record(frame(2), 0xFEED0008));
}

TEST_F(RecordingOutputTest, ARecordingWithoutFramesIsAHeader) {
    RecordingOutput(kPath, false, header).finish();
    EXPECT_EQ(read_file(kPath), test_support::header(0));
}

TEST_F(RecordingOutputTest, MagicAndVersionAreMadeRight) {
    header.magic = 1;
    header.version = 4;
    RecordingOutput(kPath, false, header).finish();
    EXPECT_EQ(read_file(kPath), test_support::header(0));
}

TEST_F(RecordingOutputTest, WithoutFinishThereIsNoFile) {
    RecordingOutput(kPath, false, header).add(0xFEED0007, frame(1));
    EXPECT_TRUE(test_support::list_directory("/tmp").empty());
}

TEST_F(RecordingOutputTest, AFileThatIsThereIsReplacedOnlyByForce) {
    test_support::write_file(kPath, "old");
    EXPECT_THROW(RecordingOutput(kPath, false, header), Kit::Error);
    RecordingOutput(kPath, true, header).finish();
    EXPECT_EQ(read_file(kPath), test_support::header(0));
}

std::string name_of(std::string const& path, Kit::RecordingHeader const& header) {
    Kit::RecordingFile file;
    file.name = Kit::parse_recording_name(path);
    return Tools::complete_name(file, header);
}

TEST_F(RecordingOutputTest, ACompleteNameEndsWithDataAndHasNoSurplus) {
    EXPECT_EQ(name_of("raw_150525_093007_042", header), "raw_150525_093007_042.data");
    EXPECT_EQ(name_of("raw_150525_093007_042.data", header), "raw_150525_093007_042.data");
    EXPECT_EQ(name_of("radar_150525_093007_042adar_150525_092807_001.data", header),
              "radar_150525_093007_042.data");
}

TEST_F(RecordingOutputTest, AFileWithoutARecordersNameGetsOneOfTheHeadersTime) {
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ(name_of("FSCK0000.REC", header), "radar_150525_093007_000.data");
}

}  // namespace
