// Detection logs that are damaged, and what is said of them.

#include "tests/kit/frames/detection_log_fixture.h"

namespace {

using detections_test::kHeader;
using detections_test::kPath;

class DetectionLogRefusalTest : public detections_test::DetectionLogTest {};

TEST_F(DetectionLogRefusalTest, AnEmptyFileIsRefused) {
    EXPECT_EQ(problem(""), "/tmp/log.csv: empty, not a detection log");
}

TEST_F(DetectionLogRefusalTest, AMissingHeaderLineIsRefused) {
    EXPECT_EQ(problem("0,10,0,1,0,0,0,0\n"),
              "/tmp/log.csv:1:1: not a header line, which begins with a column's name: '0'");
}

TEST_F(DetectionLogRefusalTest, AMissingColumnIsNamed) {
    EXPECT_EQ(problem("frame_index,timestamp_us,rcs,r,rdot,options,snr\n"),
              "/tmp/log.csv:1:48: column theta is missing");
}

TEST_F(DetectionLogRefusalTest, AnUnknownColumnIsNamed) {
    EXPECT_EQ(problem("frame_index,velocity\n"), "/tmp/log.csv:1:13: unknown column 'velocity'");
}

TEST_F(DetectionLogRefusalTest, AColumnThatStandsTwiceIsNamed) {
    EXPECT_EQ(problem("frame_index,r,r\n"), "/tmp/log.csv:1:15: column r stands there twice");
}

TEST_F(DetectionLogRefusalTest, ANameThatCannotBePrintedIsMadeFitForATerminal) {
    EXPECT_EQ(problem(std::string("frame_index,\033[2J") + std::string(60, 'x') + "\n"),
              "/tmp/log.csv:1:13: unknown column '?[2J" + std::string(36, 'x') + "...'");
}

TEST_F(DetectionLogRefusalTest, ALineWithTooFewValuesIsRefused) {
    EXPECT_EQ(row_problem("0,10,0,1,0,0,0\n"), "/tmp/log.csv:2:15: snr has no value");
}

TEST_F(DetectionLogRefusalTest, ALineWithTooManyValuesIsRefused) {
    EXPECT_EQ(row_problem("0,10,0,1,0,0,0,0,0\n"), "/tmp/log.csv:2:18: more values than columns");
}

TEST_F(DetectionLogRefusalTest, AnEmptyLineIsRefused) {
    EXPECT_EQ(row_problem("0,10,0,1,0,0,0,0\n\n"), "/tmp/log.csv:3:1: frame_index has no value");
}

TEST_F(DetectionLogRefusalTest, AnEmptyValueIsRefused) {
    EXPECT_EQ(row_problem("0,10,0,,0,0,0,0\n"), "/tmp/log.csv:2:8: r has no value");
}

TEST_F(DetectionLogRefusalTest, ValuesThatAreNoNumbersAreRefused) {
    for (const std::string value : {"abc", "1.5x", " 1", "1 ", "0x10", "+1", "-"}) {
        EXPECT_THAT(row_problem("0,10,0,1,0," + value + ",0,0\n"),
                    testing::StartsWith("/tmp/log.csv:2:12: theta is not a number: '"))
            << value;
    }
}

TEST_F(DetectionLogRefusalTest, AByteZeroInAValueIsRefused) {
    EXPECT_EQ(row_problem(std::string("0,10,0,1\0,0,0,0,0\n", 18)),
              "/tmp/log.csv:2:8: r is not a number: '1?'");
}

TEST_F(DetectionLogRefusalTest, AWholeNumberWithAFractionIsRefused) {
    EXPECT_EQ(row_problem("0,10.5,0,1,0,0,0,0\n"),
              "/tmp/log.csv:2:3: timestamp_us is not a number: '10.5'");
}

TEST_F(DetectionLogRefusalTest, ValuesOutOfRangeAreRefused) {
    for (const std::string value : {"1e39", "-1e39", "1e400", "nan", "inf", "-inf"}) {
        EXPECT_EQ(row_problem("0,10," + value + ",1,0,0,0,0\n"),
                  "/tmp/log.csv:2:6: rcs is out of range: '" + value + "'");
    }
}

TEST_F(DetectionLogRefusalTest, OptionsBeyond32BitsAreRefused) {
    EXPECT_EQ(row_problem("0,10,0,1,0,0,4294967296,0\n"),
              "/tmp/log.csv:2:14: options is out of range: '4294967296'");
}

TEST_F(DetectionLogRefusalTest, ATimestampThatGoesBackIsRefused) {
    EXPECT_EQ(row_problem("0,10,0,1,0,0,0,0\n1,9,0,1,0,0,0,0\n"),
              "/tmp/log.csv:3:3: timestamp_us does not grow from 10 to 9");
}

TEST_F(DetectionLogRefusalTest, ATimestampThatStandsStillIsRefused) {
    EXPECT_EQ(row_problem("0,10,0,1,0,0,0,0\n1,10,0,1,0,0,0,0\n"),
              "/tmp/log.csv:3:3: timestamp_us does not grow from 10 to 10");
}

TEST_F(DetectionLogRefusalTest, ATimestampThatChangesWithinAFrameIsRefused) {
    EXPECT_EQ(row_problem("0,10,0,1,0,0,0,0\n0,11,0,1,0,0,0,0\n"),
              "/tmp/log.csv:3:3: timestamp_us changes within a frame from 10 to 11");
}

TEST_F(DetectionLogRefusalTest, AFrameIndexThatGoesBackIsRefused) {
    EXPECT_EQ(row_problem("1,10,0,1,0,0,0,0\n0,11,0,1,0,0,0,0\n"),
              "/tmp/log.csv:3:1: frame_index goes back from 1 to 0");
}

TEST_F(DetectionLogRefusalTest, TheFramesBeforeADamagedOneAreRead) {
    test_support::write_file(kPath, std::string(kHeader) +
                                        "0,10,0,1,0,0,0,0\n"
                                        "1,11,0,1,0,0,0,0\n1,11,x\n");
    Kit::DetectionLog log(kPath);
    RO::RadarObjects frame;
    EXPECT_TRUE(log.next(frame));
    EXPECT_THROW(log.next(frame), Kit::InputError);
}

TEST_F(DetectionLogRefusalTest, ALineLongerThanTheLimitIsRefused) {
    EXPECT_EQ(row_problem("0,10,0,1." + std::string(5000, '0') + ",0,0,0,0\n"),
              "/tmp/log.csv:2:4097: line longer than 4096 bytes");
}

TEST_F(DetectionLogRefusalTest, AFileWithoutLinesIsRefusedAfterTheFirstBytes) {
    EXPECT_EQ(problem(std::string(10000, '\0')),
              "/tmp/log.csv:1:4097: line longer than 4096 bytes");
}

TEST_F(DetectionLogRefusalTest, ALineAsLongAsTheLimitIsRead) {
    const std::string row = "0,10,0,1." + std::string(4076, '0') + ",0,0,0,0";
    EXPECT_EQ(frames(kHeader + row.substr(0, 4096) + "\n").size(), 1u);
}

TEST_F(DetectionLogRefusalTest, AFrameWithoutEndIsRefused) {
    std::string rows;
    for (int i = 0; i <= Kit::DetectionLog::kMaxTargets; ++i) rows += "0,10,0,1,0,0,0,0\n";
    EXPECT_EQ(row_problem(rows), "/tmp/log.csv:65538:1: more targets in a frame than 65536");
}

TEST_F(DetectionLogRefusalTest, AMissingFileIsNamedWithTheReason) {
    EXPECT_THAT(
        [] { Kit::DetectionLog log("/tmp/none.csv"); },
        testing::ThrowsMessage<Kit::InputError>("/tmp/none.csv: No such file or directory"));
}

TEST_F(DetectionLogRefusalTest, ADirectoryIsRefused) {
    EXPECT_THAT([] { Kit::DetectionLog log("/tmp"); },
                testing::ThrowsMessage<Kit::InputError>("/tmp: Is a directory"));
}

}  // namespace
