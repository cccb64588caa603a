#include "tools/doctor/doctor.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/support/inside.h"
#include "tests/support/private_paths.h"
#include "tests/support/recording_bytes.h"

namespace {

using nlohmann::json;
using test_support::frame;
using test_support::header;
using test_support::Outcome;
using test_support::record;
using test_support::run_inside;
using test_support::word;
using test_support::write_file;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr char kName[] = "/tmp/radar_150525_093007_042.data";
constexpr uint64_t kStart = 1747301407000000;

/** Frames that come every 50 ms, `count` of them. */
std::string records(int count, int first = 0) {
    std::string bytes;
    for (int i = first; i < first + count; ++i) {
        bytes += record(frame(kStart + static_cast<uint64_t>(i) * 50000, 2));
    }
    return bytes;
}

const size_t kRecordSize = records(1).size();

class DoctorTest : public test_support::PrivatePathsTest {
protected:
    /** What doctor finds in a file of these bytes, as "code@offset" or "code@offset+length". */
    std::vector<std::string> found(std::string const& bytes, std::string const& path = kName) {
        write_file(path, bytes);
        return found_in(path);
    }

    std::vector<std::string> found_in(std::string const& source) {
        outcome = run_inside({"doctor", "--format", "ndjson", source});
        std::vector<std::string> names;
        std::istringstream lines(outcome.out);
        for (std::string line; std::getline(lines, line);) {
            const json finding = json::parse(line);
            const std::string length = finding["length"];
            names.push_back(finding["code"].get<std::string>() + "@" +
                            finding["offset"].get<std::string>() +
                            (length == "0" ? "" : "+" + length));
        }
        return names;
    }

    Outcome outcome;
};

TEST_F(DoctorTest, ASoundRecordingHasNoFindings) {
    EXPECT_THAT(found(header(3) + records(3)), IsEmpty());
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
}

TEST_F(DoctorTest, AnotherMagicIsFound) {
    EXPECT_THAT(found("P" + header(3).substr(1) + records(3)), ElementsAre("not-a-recording@0+40"));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(DoctorTest, AnotherVersionIsFound) {
    EXPECT_THAT(found(word(0xBADABADA) + word(6) + header(3).substr(8) + records(3)),
                ElementsAre("unknown-version@0+40"));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(DoctorTest, AnEmptyFileIsFound) {
    EXPECT_THAT(found(""), ElementsAre("empty@0"));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(DoctorTest, AFileCutInItsHeaderIsFound) {
    EXPECT_THAT(found(header(0).substr(0, 39)), ElementsAre("short-header@0+39"));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(DoctorTest, RawDataIsFound) {
    EXPECT_THAT(found(header(2) + "what the chip sent"), ElementsAre("raw-data@40+18"));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(DoctorTest, ADamagedTagIsFound) {
    std::string bytes = header(3) + records(4);
    bytes[40 + 2 * kRecordSize] ^= 1;
    EXPECT_THAT(found(bytes), ElementsAre("wrong-tag@" + std::to_string(40 + 2 * kRecordSize) +
                                          "+" + std::to_string(kRecordSize)));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(DoctorTest, ALengthBeyondTheLargestRecordIsFound) {
    std::string bytes = header(2) + records(2) + word(0xFEED0007) + word(0x7FFFFFFF);
    EXPECT_THAT(found(bytes),
                ElementsAre("too-long@" + std::to_string(40 + 2 * kRecordSize) + "+8"));
}

TEST_F(DoctorTest, ALengthBeyondTheEndIsToldFromACut) {
    const std::string bytes =
        header(4) + records(2) + word(0xFEED0007) + word(9999) + records(2, 3);
    EXPECT_THAT(found(bytes),
                ElementsAre("wrong-length@" + std::to_string(40 + 2 * kRecordSize) + "+8"));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(DoctorTest, ACutRecordIsFound) {
    const std::string bytes = header(2) + records(3);
    EXPECT_THAT(found(bytes.substr(0, bytes.size() - 1)),
                ElementsAre("cut-short@" + std::to_string(40 + 2 * kRecordSize) + "+" +
                            std::to_string(kRecordSize - 1)));
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "petrelradar doctor: 1 error (cut-short), " +
                               std::to_string(kRecordSize - 1) + " bytes skipped\n");
}

TEST_F(DoctorTest, AnUndecodablePayloadIsFound) {
    EXPECT_THAT(found(header(3) + records(2) + record("\x08\x82\xE2\xED\x0D\x07") + records(1, 3)),
                ElementsAre("undecodable@" + std::to_string(40 + 2 * kRecordSize) + "+14"));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(DoctorTest, ACounterThatDisagreesIsFound) {
    EXPECT_THAT(found(header(5) + records(3)), ElementsAre("frame-count@36"));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(DoctorTest, ACounterThatDisagreesBehindDamageIsFoundAfterIt) {
    EXPECT_THAT(found(header(4) + records(3) + "xyz"),
                ElementsAre("trailing-bytes@" + std::to_string(40 + 3 * kRecordSize) + "+3",
                            "frame-count@36"));
}

TEST_F(DoctorTest, TimeThatGoesBackIsFound) {
    EXPECT_THAT(found(header(4) + records(3) + records(1, 1)),
                ElementsAre("time-back@" + std::to_string(40 + 3 * kRecordSize)));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(DoctorTest, AGapAgainstTheRecordingsOwnRateIsFound) {
    EXPECT_THAT(found(header(40) + records(20) + records(20, 30)),
                ElementsAre("gap@" + std::to_string(40 + 20 * kRecordSize)));
    EXPECT_THAT(outcome.out, HasSubstr("no frame for 550.0 ms before frame 20"));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(DoctorTest, ARepeatedFrameIsFound) {
    EXPECT_THAT(found(header(4) + records(3) + records(1, 2)),
                ElementsAre("repeated-frame@" + std::to_string(40 + 3 * kRecordSize)));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(DoctorTest, TwoFramesOfOneTimeAreNoRepetition) {
    EXPECT_THAT(found(header(2) + record(frame(kStart, 1)) + record(frame(kStart, 2))), IsEmpty());
}

TEST_F(DoctorTest, EqualFramesWithoutATimeAreNoRepetition) {
    EXPECT_THAT(found(header(2) + record(frame(0, 1)) + record(frame(0, 1))), IsEmpty());
}

TEST_F(DoctorTest, AZeroedSectorInsideRecordsIsFound) {
    std::string bytes = header(100) + records(100);
    bytes.replace(1024, 512, 512, '\0');
    const uint64_t damaged = (1024 - 40) / kRecordSize * kRecordSize + 40;
    const uint64_t next = (1536 - 40 + kRecordSize - 1) / kRecordSize * kRecordSize + 40;
    const auto findings = found(bytes);
    ASSERT_THAT(findings, testing::Not(IsEmpty()));
    EXPECT_EQ(findings.front(),
              "zeroed-sector@" + std::to_string(damaged) + "+" + std::to_string(next - damaged));
    EXPECT_THAT(outcome.out, HasSubstr("zeros at offset 1024"));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(DoctorTest, AFewZerosAtTheEndAreFound) {
    EXPECT_THAT(found(header(3) + records(3) + std::string(100, '\0')),
                ElementsAre("zeros@" + std::to_string(40 + 3 * kRecordSize) + "+100"));
}

TEST_F(DoctorTest, TrailingBytesAreFound) {
    EXPECT_THAT(found(header(3) + records(3) + "what is this doing here?"),
                ElementsAre("trailing-bytes@" + std::to_string(40 + 3 * kRecordSize) + "+24"));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(DoctorTest, TwoJoinedRecordingsAreFound) {
    EXPECT_THAT(found(header(3) + records(3) + header(2) + records(2, 3)),
                ElementsAre("second-header@" + std::to_string(40 + 3 * kRecordSize)));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(DoctorTest, AFrameThatNoRadarMadeIsFound) {
    RO::RadarObjects other;
    other.set_magic(5);
    other.set_timestamp(kStart + 100000);
    EXPECT_THAT(found(header(3) + records(2) + record(other.SerializeAsString())),
                ElementsAre("foreign-frame@" + std::to_string(40 + 2 * kRecordSize)));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(DoctorTest, ANameThatDisagreesWithTheHeaderIsFound) {
    EXPECT_THAT(found(header(3) + records(3), "/tmp/radar_150525_093008_042.data"),
                ElementsAre("name@8"));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(DoctorTest, ANameInAnyTimeZoneAgrees) {
    EXPECT_THAT(found(header(3) + records(3), "/tmp/radar_150525_150007_042.data"), IsEmpty());
}

TEST_F(DoctorTest, AnUnfinishedFileIsFound) {
    EXPECT_THAT(found(header(3) + records(3), "/tmp/radar_150525_093007_042"),
                ElementsAre("unfinished@" + std::to_string(40 + 3 * kRecordSize)));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(DoctorTest, TheFilesOfADirectoryAreOneRecording) {
    mkdir("/tmp/card", 0700);
    write_file("/tmp/card/radar_150525_093007_042.data", header(3) + records(3));
    write_file("/tmp/card/radar_150525_093007_342.data", header(3) + records(3, 2));
    EXPECT_THAT(found_in("/tmp/card"), ElementsAre("repeated-frame@40"));
}

TEST_F(DoctorTest, StandardInputIsExamined) {
    outcome = run_inside({"doctor", "-"}, header(5) + records(3));
    EXPECT_THAT(outcome.out, StartsWith("standard input: offset 36: error: frame-count: the "
                                        "header counts 5 frames, 3 were found\n"));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(DoctorTest, TextSaysWhatToDo) {
    write_file(kName, header(5) + records(3) + "xyz");
    outcome = run_inside({"doctor", kName});
    EXPECT_THAT(outcome.out, HasSubstr("; 3 bytes skipped\n"));
    EXPECT_THAT(outcome.out, HasSubstr("\nWhat to do:\n  trailing-bytes   run recover: "));
    EXPECT_THAT(outcome.out, HasSubstr("\n  frame-count      run recover: "));
}

TEST_F(DoctorTest, TextSaysThatNothingWasFound) {
    write_file(kName, header(3) + records(3));
    EXPECT_EQ(run_inside({"doctor", kName}).out, "nothing found in 3 frames of 1 file\n");
}

TEST_F(DoctorTest, JsonIsOneObjectWithTheSum) {
    write_file(kName, header(5) + records(3) + "xyz" + std::string(1, '\xFF'));
    const json all = json::parse(run_inside({"doctor", "--format", "json", kName}).out);
    EXPECT_EQ(all["source"], kName);
    EXPECT_EQ(all["findings"].size(), 2u);
    EXPECT_EQ(all["findings"][0]["severity"], "error");
    EXPECT_EQ(all["findings"][0]["length"], "4");
    EXPECT_EQ(all["frames"], "3");
    EXPECT_EQ(all["errors"], "2");
    EXPECT_EQ(all["warnings"], "0");
    EXPECT_EQ(all["skipped_bytes"], "4");
    EXPECT_EQ(all["interrupted"], false);
}

TEST_F(DoctorTest, JsonWithoutFindingsHasAnEmptyArray) {
    write_file(kName, header(3) + records(3));
    const json all = json::parse(run_inside({"doctor", "--format", "json", kName}).out);
    EXPECT_EQ(all["findings"], json::array());
}

TEST_F(DoctorTest, TheInputIsNotChanged) {
    const std::string bytes = header(9) + records(3) + "xyz";
    write_file(kName, bytes);
    run_inside({"doctor", kName});
    EXPECT_EQ(test_support::read_file(kName), bytes);
}

}  // namespace
