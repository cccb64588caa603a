#include "tools/doctor/recover.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/support/inside.h"
#include "tests/support/private_paths.h"
#include "tests/support/recording_bytes.h"
#include "tests/support/system_calls.h"

namespace {

using nlohmann::json;
using test_support::frame;
using test_support::header;
using test_support::list_directory;
using test_support::Outcome;
using test_support::read_file;
using test_support::record;
using test_support::run_inside;
using test_support::word;
using test_support::write_file;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr char kName[] = "radar_150525_093007_042.data";
constexpr char kPath[] = "/tmp/radar_150525_093007_042.data";
constexpr char kSaved[] = "/tmp/saved/radar_150525_093007_042.data";

std::string records(int count, int first = 0, uint32_t tag = 0xFEED0007) {
    std::string bytes;
    for (int i = first; i < first + count; ++i) {
        bytes += record(frame(1747301407000000 + static_cast<uint64_t>(i) * 50000, 2), tag);
    }
    return bytes;
}

class RecoverTest : public test_support::PrivatePathsTest {
protected:
    /** Recovers a file of these bytes; returns what was saved under its name. */
    std::string saved(std::string const& bytes, std::string const& path = kPath) {
        write_file(path, bytes);
        recover(path);
        EXPECT_EQ(read_file(path), bytes) << "the input";
        return list_directory("/tmp/saved").empty() ? "nothing" : read_file(kSaved);
    }

    void recover(std::string const& source) {
        outcome = run_inside({"recover", source, "-o", "/tmp/saved"});
    }

    /** The status of doctor for what was saved. */
    static int doctor() { return run_inside({"doctor", "/tmp/saved"}).status; }

    Outcome outcome;
};

TEST_F(RecoverTest, ASoundRecordingIsCopied) {
    EXPECT_EQ(saved(header(3) + records(3)), header(3) + records(3));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out, std::string("kept      ") + kPath + ": 3 records, in " + kSaved + "\n");
}

TEST_F(RecoverTest, AnUnfinishedFileIsCompletedWithTheRightCounterAndName) {
    EXPECT_EQ(saved(header(2) + records(4).substr(0, 143), "/tmp/radar_150525_093007_042"),
              header(3) + records(3));
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(doctor(), 0);
}

TEST_F(RecoverTest, RecordsBehindADamagedLengthAreKept) {
    const std::string bytes =
        header(5) + records(2) + word(0xFEED0007) + word(9999) + "lost" + records(2, 3);
    EXPECT_EQ(saved(bytes), header(4) + records(2) + records(2, 3));
    EXPECT_THAT(outcome.out, HasSubstr("offset 112: 12 bytes: wrong-length: "));
    EXPECT_EQ(doctor(), 0);
}

TEST_F(RecoverTest, AZeroedSectorCostsTheRecordsInIt) {
    std::string bytes = header(100) + records(100);
    const size_t size = records(1).size();
    bytes.replace(1024, 512, 512, '\0');
    const int before = static_cast<int>((1024 - 40) / size);
    const int behind = static_cast<int>((1536 - 40 + size - 1) / size);
    EXPECT_EQ(saved(bytes), header(static_cast<uint32_t>(100 - behind + before)) + records(before) +
                                records(100 - behind, behind));
    EXPECT_THAT(outcome.out, HasSubstr(": zeroed-sector: "));
    EXPECT_EQ(doctor(), 0);
}

TEST_F(RecoverTest, AWrongCounterIsCorrected) {
    EXPECT_EQ(saved(header(7) + records(3)), header(3) + records(3));
    EXPECT_THAT(outcome.out, StartsWith(std::string("corrected ") + kPath + ": offset 36: "));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(RecoverTest, AHeaderWithoutRecordsIsKept) {
    EXPECT_EQ(saved(header(0), "/tmp/radar_150525_093007_042"), header(0));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(RecoverTest, WithNothingToSaveNothingIsWritten) {
    EXPECT_EQ(saved(header(0).substr(0, 39)), "nothing");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, std::string("petrelradar recover: nothing can be saved: ") + kPath +
                               ": cut off inside the header: 39 of 40 bytes\n");
}

TEST_F(RecoverTest, OfRawDataNothingIsSaved) {
    EXPECT_EQ(saved(header(2) + "what the chip sent"), "nothing");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("nothing can be saved: "));
}

TEST_F(RecoverTest, RawDataInADirectoryIsPassedOver) {
    mkdir("/tmp/card", 0700);
    write_file("/tmp/card/radar_150525_093007_042.data", header(3) + records(3));
    write_file("/tmp/card/raw_150525_093007_042.data", header(2) + "what the chip sent");
    recover("/tmp/card");
    EXPECT_THAT(list_directory("/tmp/saved"), ElementsAre(kName));
    EXPECT_THAT(outcome.err, HasSubstr("raw_150525_093007_042.data: skipped: "));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(RecoverTest, RecordsBehindADamagedFirstRecordAreKept) {
    EXPECT_EQ(saved(header(4) + "damage" + records(3, 1)), header(3) + records(3, 1));
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(RecoverTest, AHeaderIsRepairedWhenOnlyItsMagicIsDamaged) {
    EXPECT_EQ(saved("P" + header(3).substr(1) + records(3)), header(3) + records(3));
    EXPECT_THAT(outcome.out, HasSubstr("magic and version of the header are made right"));
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(doctor(), 0);
}

TEST_F(RecoverTest, AHeaderThatIsLostIsMadeUpFromTheName) {
    setenv("TZ", "UTC", 1);
    tzset();
    const std::string bytes = saved(std::string(40, 'x') + records(3));
    const std::string unknown = std::string(16, '\0') + word(0);
    EXPECT_EQ(bytes, word(0xBADABADA) + word(5) + word(1747301407) + word(0xFFFFFFFF) + unknown +
                         word(3) + records(3));
    EXPECT_THAT(outcome.out, HasSubstr("suspect   /tmp/radar_150525_093007_042.data: offset 0: "
                                       "header: the header is made up"));
    EXPECT_EQ(doctor(), 0);
}

TEST_F(RecoverTest, TwoJoinedRecordingsAreTakenApart) {
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ(saved(header(3) + records(3) + header(2) + records(2, 3, 0xFEED0008)),
              header(3) + records(3));
    EXPECT_EQ(read_file("/tmp/saved/radar_150525_093007_000.data"),
              header(2) + records(2, 3, 0xFEED0008));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(RecoverTest, ARecordWithAnotherTagIsSetApart) {
    EXPECT_EQ(saved(header(4) + records(1, 0, 0xFEED0008) + records(3, 1)),
              header(3) + records(3, 1));
    EXPECT_EQ(read_file(std::string("/tmp/saved/suspect/") + kName),
              header(1) + records(1, 0, 0xFEED0008));
    EXPECT_THAT(outcome.out, HasSubstr("wrong-tag: 1 record of another tag, in /tmp/saved/sus"));
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(doctor(), 0);
}

TEST_F(RecoverTest, AFrameThatNoRadarMadeIsKeptAndToldAsSuspect) {
    RO::RadarObjects other;
    other.set_magic(5);
    const std::string bytes = header(3) + records(2) + record(other.SerializeAsString());
    EXPECT_EQ(saved(bytes), bytes);
    EXPECT_THAT(outcome.out, HasSubstr("suspect   /tmp/radar_150525_093007_042.data: offset 112"));
    EXPECT_EQ(outcome.err, "petrelradar recover: judged suspect: 1\n");
    EXPECT_EQ(outcome.status, 3);
}

TEST_F(RecoverTest, EveryFileOfADirectoryIsRecovered) {
    mkdir("/tmp/card", 0700);
    write_file("/tmp/card/radar_150525_093007_042.data", header(3) + records(3));
    write_file("/tmp/card/radar_150525_093007_342", header(1) + records(2, 3));
    write_file("/tmp/card/radar_150525_093007_642", "");
    recover("/tmp/card");
    EXPECT_EQ(read_file("/tmp/saved/radar_150525_093007_342.data"), header(2) + records(2, 3));
    EXPECT_THAT(list_directory("/tmp/saved"), ElementsAre(kName, "radar_150525_093007_342.data"));
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(doctor(), 0);
}

TEST_F(RecoverTest, StandardInputIsRecovered) {
    setenv("TZ", "UTC", 1);
    tzset();
    outcome = run_inside({"recover", "-", "-o", "/tmp/saved"}, header(3) + records(3));
    EXPECT_EQ(read_file("/tmp/saved/radar_150525_093007_000.data"), header(3) + records(3));
}

TEST_F(RecoverTest, AFileThatIsThereIsReplacedOnlyByForce) {
    mkdir("/tmp/saved", 0700);
    write_file(kSaved, "old");
    EXPECT_EQ(saved(header(3) + records(3)), "old");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(run_inside({"recover", kPath, "-o", "/tmp/saved", "--force"}).status, 0);
    EXPECT_EQ(read_file(kSaved), header(3) + records(3));
}

TEST_F(RecoverTest, TheInputIsNotReplacedByForceEither) {
    write_file(kPath, header(9) + records(3));
    outcome = run_inside({"recover", kPath, "-o", "/tmp", "--force"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("is the input, which is never changed"));
    EXPECT_EQ(read_file(kPath), header(9) + records(3));
}

TEST_F(RecoverTest, AFailedFlushIsAFailureAndLeavesNoFile) {
    test_support::SystemCalls system_calls;
    system_calls.fsync = test_support::fails_with(EIO);
    EXPECT_EQ(saved(header(3) + records(3)), "nothing");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              std::string("petrelradar recover: ") + kSaved + ": Input/output error\n");
}

TEST_F(RecoverTest, WhatWasKeptBeforeAFailureIsTold) {
    std::filesystem::create_directories("/tmp/saved");
    std::filesystem::create_directories("/tmp/card");
    write_file("/tmp/card/radar_150525_093007_042.data", header(2) + records(2));
    write_file("/tmp/card/radar_150525_093007_142.data", header(2) + records(2, 2));
    write_file("/tmp/saved/radar_150525_093007_142.data", "dear");
    recover("/tmp/card");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.out, StartsWith("kept      /tmp/card/radar_150525_093007_042.data: "));
    EXPECT_EQ(read_file(kSaved), header(2) + records(2));
}

TEST_F(RecoverTest, AnOutputThatIsNoDirectoryIsAFailure) {
    write_file("/tmp/saved", "");
    write_file(kPath, header(3) + records(3));
    recover(kPath);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, StartsWith("petrelradar recover: /tmp/saved: "));
}

TEST_F(RecoverTest, ALiveStreamIsRefused) {
    recover("unix:/tmp/radar.sock");
    EXPECT_EQ(outcome.status, 2);
}

TEST_F(RecoverTest, JsonListsWhatWasKeptSkippedAndSuspect) {
    write_file(kPath, header(4) + records(1, 0, 0xFEED0008) + records(3, 1) + "xyz");
    outcome = run_inside({"recover", "--format", "json", kPath, "-o", "/tmp/saved"});
    const json all = json::parse(outcome.out);
    std::vector<std::string> kinds;
    for (json const& result : all["results"]) kinds.push_back(result["kind"]);
    EXPECT_THAT(kinds, ElementsAre("skipped", "kept", "suspect"));
    EXPECT_EQ(all["results"][0]["length"], "3");
    EXPECT_EQ(all["results"][1]["output"], kSaved);
    EXPECT_EQ(all["results"][1]["records"], "3");
    EXPECT_EQ(all["results"][1]["header"], "kept");
    EXPECT_EQ(all["suspects"], "1");
    EXPECT_EQ(all["skipped_bytes"], "3");
}

}  // namespace
