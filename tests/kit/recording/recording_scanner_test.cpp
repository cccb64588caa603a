#include "kit/recording/recording_scanner.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "kit/input_error.h"
#include "kit/recording/random_frames.h"
#include "kit/recording/recording_bytes.h"
#include "support/private_paths.h"

namespace {

using Kit::RecordingScanner;
using std::string_literals::operator""s;
using test_support::frame;
using test_support::header;
using test_support::record;
using test_support::word;
using testing::ElementsAre;

constexpr char kPath[] = "/tmp/radar_150525_093007_042.data";

/** An item in a word: "header", "record@40", "cut-short@53", "skipped@53+12". */
std::string name_of(RecordingScanner& scanner, RecordingScanner::Item item) {
    if (item == RecordingScanner::Item::kHeader) return "header";
    if (item == RecordingScanner::Item::kEnd) return "end";
    if (item == RecordingScanner::Item::kRecord) {
        return "record@" + std::to_string(scanner.record().offset);
    }
    Kit::Finding const& finding = scanner.finding();
    const std::string name = Kit::name_of(finding.kind) + "@"s + std::to_string(finding.offset);
    return finding.length == 0 ? name : name + "+" + std::to_string(finding.length);
}

/** What comes up to the next end. */
std::vector<std::string> items(RecordingScanner& scanner) {
    std::vector<std::string> names;
    for (;;) {
        const RecordingScanner::Item item = scanner.next();
        if (item == RecordingScanner::Item::kEnd) return names;
        names.push_back(name_of(scanner, item));
    }
}

class RecordingScannerTest : public test_support::PrivatePathsTest {
protected:
    /** What a scan of a file with these bytes gives. */
    static std::vector<std::string> scan(std::string const& bytes) {
        test_support::write_file(kPath, bytes);
        RecordingScanner scanner(kPath);
        return items(scanner);
    }

    /** The text of the first finding in these bytes. */
    static std::string text(std::string const& bytes) {
        test_support::write_file(kPath, bytes);
        RecordingScanner scanner(kPath);
        RecordingScanner::Item item = scanner.next();
        while (item != RecordingScanner::Item::kFinding && item != RecordingScanner::Item::kEnd) {
            item = scanner.next();
        }
        return item == RecordingScanner::Item::kFinding ? scanner.finding().text : "none";
    }

    static void append(std::string const& bytes) {
        std::ofstream(kPath, std::ios::binary | std::ios::app) << bytes;
    }

    // A record without targets and with a timestamp below 128 has 8 + 7 bytes: three of them stand
    // at 40, 55 and 70 and end at 85.
    const std::string first = record(frame(1));
    const std::string second = record(frame(2));
    const std::string third = record(frame(3));
};

TEST_F(RecordingScannerTest, AHeaderIsTold) {
    test_support::write_file(kPath, word(0xBADABADA) + word(5) + word(0xFFFFFFFF) + word(1) +
                                        "\0\0\0\0\0\0\x06\x40\0\0\0\0\0\0\xE0\xBF"s + word(2) +
                                        word(0));
    RecordingScanner scanner(kPath);
    ASSERT_EQ(scanner.next(), RecordingScanner::Item::kHeader);
    EXPECT_EQ(scanner.header().seconds, -1);
    EXPECT_EQ(scanner.header().daylight_saving, 1);
    EXPECT_EQ(scanner.header().height, 2.75);
    EXPECT_EQ(scanner.header().tilt, -0.5);
    EXPECT_EQ(scanner.header().sensitivity, 2);
    EXPECT_EQ(scanner.header().frame_count, 0u);
}

TEST_F(RecordingScannerTest, ARecordIsTold) {
    test_support::write_file(kPath, header(1) + record(frame(1000, 3)));
    RecordingScanner scanner(kPath);
    scanner.next();
    ASSERT_EQ(scanner.next(), RecordingScanner::Item::kRecord);
    EXPECT_EQ(scanner.record().offset, 40u);
    EXPECT_EQ(scanner.record().tag, 0xFEED0007u);
    EXPECT_EQ(scanner.record().payload, frame(1000, 3));
    EXPECT_EQ(scanner.record().frame.timestamp, 1000u);
    EXPECT_EQ(scanner.record().frame.targets, 3u);
}

TEST_F(RecordingScannerTest, AnUndamagedFileHasNoFindings) {
    EXPECT_THAT(scan(header(3) + first + second + third),
                ElementsAre("header", "record@40", "record@55", "record@70"));
}

TEST_F(RecordingScannerTest, AHeaderAloneIsARecordingWithoutFrames) {
    EXPECT_THAT(scan(header(0)), ElementsAre("header"));
}

TEST_F(RecordingScannerTest, NothingComesAfterTheEnd) {
    test_support::write_file(kPath, header(0));
    RecordingScanner scanner(kPath);
    items(scanner);
    EXPECT_EQ(scanner.next(), RecordingScanner::Item::kEnd);
}

TEST_F(RecordingScannerTest, AnEmptyFileIsTold) {
    EXPECT_THAT(scan(""), ElementsAre("empty@0"));
    EXPECT_EQ(text(""), "empty");
}

TEST_F(RecordingScannerTest, AFileCutInItsHeaderIsTold) {
    EXPECT_THAT(scan(header(0).substr(0, 1)), ElementsAre("short-header@0", "skipped@0+1"));
    EXPECT_THAT(scan(header(0).substr(0, 39)), ElementsAre("short-header@0", "skipped@0+39"));
    EXPECT_EQ(text(header(0).substr(0, 39)), "cut off inside the header: 39 of 40 bytes");
}

TEST_F(RecordingScannerTest, SomethingElseIsTold) {
    EXPECT_THAT(scan("#!/bin/sh\n"), ElementsAre("not-a-recording@0", "skipped@0+10"));
    EXPECT_EQ(text("#!/bin/sh\n"), "not a recording: 0x622F2123 in place of 0xBADABADA");
}

TEST_F(RecordingScannerTest, RecordsBehindADamagedMagicAreFound) {
    EXPECT_THAT(scan("xxxx" + header(2).substr(4) + first + second),
                ElementsAre("not-a-recording@0", "skipped@0+40", "record@40", "record@55"));
}

TEST_F(RecordingScannerTest, AnUnknownVersionIsTold) {
    EXPECT_THAT(scan(word(0xBADABADA) + word(6) + header(1).substr(8) + first),
                ElementsAre("unknown-version@0", "skipped@0+40", "record@40"));
    EXPECT_EQ(text(word(0xBADABADA) + word(6) + header(1).substr(8)),
              "format version 6 in place of 5");
}

TEST_F(RecordingScannerTest, RawDataIsTold) {
    EXPECT_THAT(scan(header(1) + "raw data of a radar"),
                ElementsAre("header", "raw-data@40", "skipped@40+19", "frame-count@36"));
    EXPECT_EQ(text(header(1) + "raw data of a radar"),
              "no record behind the header, 0x20776172 is no tag: raw data, or damage");
}

TEST_F(RecordingScannerTest, ADamagedTagCostsItsRecord) {
    const std::string damaged = word(0x0EED0007) + second.substr(4);
    EXPECT_THAT(scan(header(3) + first + damaged + third),
                ElementsAre("header", "record@40", "wrong-tag@55", "skipped@55+15", "record@70",
                            "frame-count@36"));
    EXPECT_EQ(text(header(3) + first + first + damaged),
              "no record: tag 0x0EED0007 in place of 0xFEED0007");
}

TEST_F(RecordingScannerTest, ARecordOfAnotherRecorderCountsAsDamage) {
    EXPECT_THAT(scan(header(3) + first + second + record(frame(9), 0xFEED0008) + third),
                ElementsAre("header", "record@40", "record@55", "wrong-tag@70", "skipped@70+15",
                            "record@85"));
}

TEST_F(RecordingScannerTest, AWrongTagOfTheFirstRecordCostsNoOther) {
    EXPECT_THAT(scan(header(3) + record(frame(1), 0xFEED0006) + second + third),
                ElementsAre("header", "record@40", "wrong-tag@55", "record@55", "record@70"));
}

TEST_F(RecordingScannerTest, ALengthBeyondTheLargestRecordIsTold) {
    for (const std::uint32_t length : {0x01000001u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_THAT(scan(header(3) + first + word(0xFEED0007) + word(length) + frame(2) + third),
                    ElementsAre("header", "record@40", "too-long@55", "skipped@55+15", "record@70",
                                "frame-count@36"))
            << length;
    }
}

TEST_F(RecordingScannerTest, ALengthBeyondTheEndIsTold) {
    EXPECT_THAT(scan(header(3) + first + word(0xFEED0007) + word(1000) + frame(2) + third),
                ElementsAre("header", "record@40", "cut-short@55", "skipped@55+15", "record@70",
                            "frame-count@36"));
}

TEST_F(RecordingScannerTest, ALengthThatIsOneOffCostsItsRecord) {
    for (const std::uint32_t length : {0u, 1u, 6u, 8u, 21u, 22u}) {
        EXPECT_THAT(scan(header(3) + first + word(0xFEED0007) + word(length) + frame(2) + third),
                    ElementsAre("header", "record@40", "undecodable@55", "skipped@55+15",
                                "record@70", "frame-count@36"))
            << length;
    }
}

TEST_F(RecordingScannerTest, EveryCutOfARecordIsTold) {
    for (std::size_t size = 1; size < third.size(); ++size) {
        EXPECT_THAT(scan(header(3) + first + second + third.substr(0, size)),
                    ElementsAre("header", "record@40", "record@55", "cut-short@70",
                                "skipped@70+" + std::to_string(size), "frame-count@36"));
    }
}

TEST_F(RecordingScannerTest, ACutSaysHowMuchIsThere) {
    EXPECT_EQ(text(header(1) + first.substr(0, 12)), "cut off inside a record: 12 of 15 bytes");
    EXPECT_EQ(text(header(1) + first.substr(0, 3)), "cut off inside a record: 3 bytes");
}

TEST_F(RecordingScannerTest, ATailOfZerosIsTold) {
    EXPECT_THAT(scan(header(1) + first + std::string(1000, '\0')),
                ElementsAre("header", "record@40", "zeros@55", "skipped@55+1000"));
}

TEST_F(RecordingScannerTest, AZeroedSectorInsideARecordCostsThatRecord) {
    std::string bytes = header(3) + first + record(frame(2, 300)) + third;
    bytes.replace(512, 512, 512, '\0');
    EXPECT_THAT(
        scan(bytes),
        ElementsAre("header", "record@40", "undecodable@55", testing::StartsWith("skipped@55+"),
                    "record@" + std::to_string(bytes.size() - third.size()), "frame-count@36"));
}

TEST_F(RecordingScannerTest, AZeroedSectorOverManyRecordsCostsThoseItTouches) {
    std::string bytes = header(100);
    for (int i = 0; i < 100; ++i) bytes += first;
    bytes.replace(512, 512, 512, '\0');
    // The records at 505 to 1015 are touched, the next one begins at 1030.
    const auto found = scan(bytes);
    EXPECT_THAT(found, testing::IsSupersetOf(
                           {"record@490", "undecodable@505", "skipped@505+525", "record@1030"}));
    EXPECT_EQ(found.size(), 1 + 65 + 1 + 1 + 1u);
}

TEST_F(RecordingScannerTest, AnIntactRecordBetweenTwoDamagedOnesIsFound) {
    const std::string damaged = word(0) + second.substr(4);
    EXPECT_THAT(scan(header(5) + first + first + damaged + second + damaged),
                ElementsAre("header", "record@40", "record@55", "zeros@70", "skipped@70+15",
                            "record@85", "zeros@100", "skipped@100+15", "frame-count@36"));
}

TEST_F(RecordingScannerTest, ADamagedPayloadHidesNoRecordThatItHolds) {
    // A recording in a field that frames do not have, in a frame that does not end as it has to.
    const std::string inner = header(2) + second + third;
    std::string payload = frame(1) + "\x7A" + static_cast<char>(inner.size()) + inner + "\x1A\x00"s;
    const std::string good = record(payload);
    payload.back() = '\x05';
    const std::string bad = record(payload);
    const std::string end = std::to_string(40 + good.size());
    EXPECT_THAT(scan(header(2) + good + third),
                ElementsAre("header", "record@40", "record@" + end));
    EXPECT_THAT(scan(header(1) + bad + third),
                ElementsAre("header", "undecodable@40", "skipped@40+" + std::to_string(bad.size()),
                            "record@" + end));
}

TEST_F(RecordingScannerTest, ALengthThatSwallowsWholeRecordsCostsNoOther) {
    const std::string damaged = word(0xFEED0007) + word(7 + 15) + second.substr(8);
    EXPECT_THAT(scan(header(5) + first + first + damaged + first + third),
                ElementsAre("header", "record@40", "record@55", "undecodable@70", "skipped@70+15",
                            "record@85", "record@100", "frame-count@36"));
}

TEST_F(RecordingScannerTest, TwoRecordingsThatWereJoinedAreTold) {
    EXPECT_THAT(scan(header(1) + first + header(1) + record(frame(2), 0xFEED0008)),
                ElementsAre("header", "record@40", "second-header@55", "header", "record@95"));
}

TEST_F(RecordingScannerTest, ACutRecordingThatWasJoinedWithAnotherCostsTheCutRecord) {
    EXPECT_THAT(scan(header(2) + first + second.substr(0, 10) + header(1) + third),
                ElementsAre("header", "record@40", "undecodable@55", "skipped@55+10",
                            "frame-count@36", "second-header@65", "header", "record@105"));
}

TEST_F(RecordingScannerTest, ACountThatDiffersIsTold) {
    for (const std::uint32_t count : {0u, 1u, 3u, 0xFFFFFFFFu}) {
        EXPECT_THAT(scan(header(count) + first + second),
                    ElementsAre("header", "record@40", "record@55", "frame-count@36"));
    }
    EXPECT_EQ(text(header(3) + first), "the header counts 3 frames, 1 were found");
}

TEST_F(RecordingScannerTest, AFrameWithAnotherMagicIsToldAndRead) {
    const std::string other = record("\x08\x05\x10\x02"s);
    EXPECT_THAT(scan(header(3) + first + other + third),
                ElementsAre("header", "record@40", "foreign-frame@55", "record@55", "record@67"));
    EXPECT_EQ(text(header(1) + other), "frame with magic 5 in place of 29061378");
}

TEST_F(RecordingScannerTest, AnEmptyPayloadIsReadWhereARecordFollows) {
    EXPECT_THAT(scan(header(2) + record("") + second),
                ElementsAre("header", "foreign-frame@40", "record@40", "record@48"));
}

TEST_F(RecordingScannerTest, TheLargestRecordIsRead) {
    std::string payload = frame(1);
    const std::size_t filling = Kit::kLargestPayload - payload.size() - 5;
    payload += "\x7A\x80\x80\x80\x08"s + std::string(filling, 'x');
    payload[payload.size() - filling - 4] = static_cast<char>(0x80 | (filling & 0x7F));
    payload[payload.size() - filling - 3] = static_cast<char>(0x80 | (filling >> 7 & 0x7F));
    payload[payload.size() - filling - 2] = static_cast<char>(0x80 | (filling >> 14 & 0x7F));
    payload[payload.size() - filling - 1] = static_cast<char>(filling >> 21);
    ASSERT_EQ(payload.size(), Kit::kLargestPayload);
    EXPECT_THAT(scan(header(2) + record(payload) + second),
                ElementsAre("header", "record@40", "record@16777264"));
}

TEST_F(RecordingScannerTest, RecordsThatLieAcrossBlocksAreRead) {
    std::string bytes = header(400);
    for (int i = 0; i < 400; ++i) bytes += record(frame(static_cast<std::uint64_t>(i), i % 300));
    ASSERT_GT(bytes.size(), Kit::BlockReader::kBlockSize);
    EXPECT_EQ(scan(bytes).size(), 401u);
}

TEST_F(RecordingScannerTest, DamageAcrossBlocksIsPassedOver) {
    const std::string noise(Kit::BlockReader::kBlockSize - 55 - 6, '\xFE');
    EXPECT_THAT(scan(header(3) + first + noise + second + third),
                ElementsAre("header", "record@40", "wrong-tag@55",
                            "skipped@55+" + std::to_string(noise.size()), "record@262138",
                            "record@262153"));
}

TEST_F(RecordingScannerTest, AHoleOfMegabytesIsPassedOver) {
    test_support::write_file(kPath, header(1) + first);
    ASSERT_EQ(truncate(kPath, 30'000'000), 0);
    append(second + third);
    RecordingScanner scanner(kPath);
    EXPECT_THAT(items(scanner),
                ElementsAre("header", "record@40", "zeros@55", "skipped@55+29999945",
                            "record@30000000", "record@30000015", "frame-count@36"));
}

TEST_F(RecordingScannerTest, AGrowingFileEndsAtItsLastWholeRecord) {
    test_support::write_file(kPath, header(0) + first + second.substr(0, 11));
    RecordingScanner scanner(kPath, RecordingScanner::Tail::kGrowing);
    EXPECT_THAT(items(scanner), ElementsAre("header", "record@40"));
    append(second.substr(11) + third.substr(0, 2));
    EXPECT_THAT(items(scanner), ElementsAre("record@55"));
    append(third.substr(2));
    EXPECT_THAT(items(scanner), ElementsAre("record@70"));
}

TEST_F(RecordingScannerTest, AGrowingFileMayLackItsHeader) {
    test_support::write_file(kPath, "");
    RecordingScanner scanner(kPath, RecordingScanner::Tail::kGrowing);
    EXPECT_THAT(items(scanner), ElementsAre());
    append(header(0).substr(0, 20));
    EXPECT_THAT(items(scanner), ElementsAre());
    append(header(0).substr(20) + first);
    EXPECT_THAT(items(scanner), ElementsAre("header", "record@40"));
}

TEST_F(RecordingScannerTest, DamageInAGrowingFileIsLeftBehindWhenARecordHasCome) {
    test_support::write_file(kPath, header(0) + first + second + "damage" + third.substr(0, 10));
    RecordingScanner scanner(kPath, RecordingScanner::Tail::kGrowing);
    EXPECT_THAT(items(scanner), ElementsAre("header", "record@40", "record@55", "wrong-tag@70"));
    append(third.substr(10));
    EXPECT_THAT(items(scanner), ElementsAre("skipped@70+6", "record@76"));
}

TEST_F(RecordingScannerTest, AFileThatIsTruncatedMeanwhileIsCutThere) {
    std::string bytes = header(40000);
    for (int i = 0; i < 40000; ++i) bytes += first;
    test_support::write_file(kPath, bytes);
    RecordingScanner scanner(kPath);
    scanner.next();
    scanner.next();
    ASSERT_EQ(truncate(kPath, 300'000), 0);
    EXPECT_THAT(items(scanner).back(), "frame-count@36");
    EXPECT_LE(scanner.offset(), 300'000u);
}

TEST_F(RecordingScannerTest, APipeIsScannedAsAFileIs) {
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    const std::string bytes = header(2) + first + "damage" + second;
    ASSERT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(ends[1]);
    RecordingScanner scanner("/dev/fd/" + std::to_string(ends[0]));
    EXPECT_THAT(items(scanner),
                ElementsAre("header", "record@40", "wrong-tag@55", "skipped@55+6", "record@61"));
    close(ends[0]);
}

TEST_F(RecordingScannerTest, CandidatesThatOverlapByMegabytesEnd) {
    // Each holds the next ones, and their lengths reach to the end or beyond.
    std::string bytes = header(2) + first + second + "damage";
    const std::string candidate =
        "\x7A\x0D" + word(0xFEED0007) + word(1 << 20) + frame(0).substr(0, 5);
    for (int i = 0; i < 140000; ++i) bytes += candidate;
    EXPECT_THAT(scan(bytes), ElementsAre("header", "record@40", "record@55", "wrong-tag@70",
                                         "skipped@70+" + std::to_string(bytes.size() - 70)));
}

TEST_F(RecordingScannerTest, ADeviceIsRefused) {
    EXPECT_THAT([] { RecordingScanner scanner("/dev/zero"); },
                testing::ThrowsMessage<Kit::InputError>("/dev/zero: Is a device"));
}

TEST_F(RecordingScannerTest, ADirectoryIsRefused) {
    EXPECT_THAT([] { RecordingScanner scanner("/tmp"); },
                testing::ThrowsMessage<Kit::InputError>("/tmp: Is a directory"));
}

TEST_F(RecordingScannerTest, ADanglingLinkIsRefused) {
    ASSERT_EQ(symlink("/tmp/nowhere", "/tmp/dangling"), 0);
    EXPECT_THAT(
        [] { RecordingScanner scanner("/tmp/dangling"); },
        testing::ThrowsMessage<Kit::InputError>("/tmp/dangling: No such file or directory"));
}

/** Recordings with damage at random places. */
class DamagedRecordingTest : public RecordingScannerTest {
protected:
    struct Place {
        std::size_t begin;
        std::size_t end;
    };

    std::string bytes;
    std::vector<Place> records;

    void add_record(std::string const& payload) {
        const std::string added = record(payload);
        records.push_back({bytes.size(), bytes.size() + added.size()});
        bytes += added;
    }

    void make_recording(test_support::Random& random, std::uint32_t most_targets) {
        bytes = header(40);
        records.clear();
        for (int i = 0; i < 40; ++i) {
            add_record(test_support::random_frame(random, most_targets).SerializeAsString());
        }
    }

    /** Overwrites a piece behind the third record and returns where. */
    Place damage(test_support::Random& random) {
        const std::size_t begin =
            records[2].end +
            random.below(static_cast<std::uint32_t>(bytes.size() - records[2].end));
        const std::uint32_t kind = random.below(4);
        const std::size_t size = kind == 0 ? 1 : kind == 1 ? 4 : 1 + random.below(600);
        const std::size_t end = std::min(begin + size, bytes.size());
        for (std::size_t i = begin; i < end; ++i) {
            bytes[i] = kind == 2 ? '\0' : static_cast<char>(random.below(256));
        }
        return {begin, end};
    }

    /** The records that do not lie in `damaged`, as a scan tells them. */
    std::vector<std::string> untouched(Place damaged) const {
        std::vector<std::string> names;
        for (Place const& place : records) {
            if (place.end <= damaged.begin || place.begin >= damaged.end) {
                names.push_back("record@" + std::to_string(place.begin));
            }
        }
        return names;
    }
};

TEST_F(DamagedRecordingTest, EveryRecordThatIsNotTouchedIsFound) {
    test_support::Random random(1);
    for (std::uint32_t i = 0; i < 1500; ++i) {
        make_recording(random, i % 3 * 10);
        const Place damaged = damage(random);
        ASSERT_THAT(scan(bytes), testing::IsSupersetOf(untouched(damaged)))
            << i << ": " << damaged.begin << " to " << damaged.end;
    }
}

TEST_F(DamagedRecordingTest, EveryByteIsAccountedFor) {
    test_support::Random random(2);
    for (std::uint32_t i = 0; i < 1500; ++i) {
        make_recording(random, 5);
        for (std::uint32_t n = random.below(4); n > 0; --n) damage(random);
        bytes.erase(random.below(static_cast<std::uint32_t>(bytes.size())), random.below(30));
        test_support::write_file(kPath, bytes);
        RecordingScanner scanner(kPath);
        std::uint64_t sum = 0;
        for (auto item = scanner.next(); item != RecordingScanner::Item::kEnd;
             item = scanner.next()) {
            if (item == RecordingScanner::Item::kHeader) sum += 40;
            if (item == RecordingScanner::Item::kRecord) sum += 8 + scanner.record().payload.size();
            if (item == RecordingScanner::Item::kFinding) sum += scanner.finding().length;
        }
        ASSERT_EQ(sum, bytes.size()) << i;
    }
}

TEST_F(DamagedRecordingTest, ABitThatFlipsCostsItsRecordAtMost) {
    bytes = header(6);
    const std::string filling = "\x7A\x0F" + std::string(15, 'x');
    for (std::uint64_t i = 0; i < 6; ++i) add_record(frame(i + 1) + filling);
    ASSERT_EQ(records[0].end - records[0].begin, 32u);
    for (std::size_t bit = 320; bit < 8 * bytes.size(); ++bit) {
        const char byte = bytes[bit / 8];
        bytes[bit / 8] = static_cast<char>(byte ^ 1 << bit % 8);
        ASSERT_THAT(scan(bytes), testing::IsSupersetOf(untouched({bit / 8, bit / 8 + 1}))) << bit;
        bytes[bit / 8] = byte;
    }
}

}  // namespace
