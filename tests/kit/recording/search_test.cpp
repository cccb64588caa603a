// How a scan goes on behind damage.

#include "kit/recording/search.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "kit/recording/scanner.h"
#include "tests/kit/recording/scan_items.h"
#include "tests/support/live_bytes.h"
#include "tests/support/private_paths.h"
#include "tests/support/random_frames.h"
#include "tests/support/recording_bytes.h"

namespace {

using Kit::RecordingScanner;
using std::string_literals::operator""s;
using test_support::frame;
using test_support::header;
using test_support::items;
using test_support::record;
using test_support::word;
using testing::ElementsAre;

constexpr char kPath[] = "/tmp/radar_150525_093007_042.data";

class RecordSearchTest : public test_support::PrivatePathsTest {
protected:
    /** What a scan of a file with these bytes gives. */
    static std::vector<std::string> scan(std::string const& bytes) {
        test_support::write_file(kPath, bytes);
        RecordingScanner scanner(kPath);
        return items(scanner);
    }

    static void append(std::string const& bytes) {
        std::ofstream(kPath, std::ios::binary | std::ios::app) << bytes;
    }

    // Records of 15 bytes each.
    const std::string first = record(frame(1));
    const std::string second = record(frame(2));
    const std::string third = record(frame(3));
};

TEST_F(RecordSearchTest, AZeroedSectorInsideARecordCostsThatRecord) {
    std::string bytes = header(3) + first + record(frame(2, 300)) + third;
    bytes.replace(512, 512, 512, '\0');
    EXPECT_THAT(
        scan(bytes),
        ElementsAre("header", "record@40", "undecodable@55", testing::StartsWith("skipped@55+"),
                    "record@" + std::to_string(bytes.size() - third.size()), "frame-count@36"));
}

TEST_F(RecordSearchTest, AZeroedSectorOverManyRecordsCostsThoseItTouches) {
    std::string bytes = header(100);
    for (int i = 0; i < 100; ++i) bytes += first;
    bytes.replace(512, 512, 512, '\0');
    // The records at 505 to 1015 are touched, the next one begins at 1030.
    const auto found = scan(bytes);
    EXPECT_THAT(found, testing::IsSupersetOf(
                           {"record@490", "undecodable@505", "skipped@505+525", "record@1030"}));
    EXPECT_EQ(found.size(), 1 + 65 + 1 + 1 + 1u);
}

TEST_F(RecordSearchTest, AnIntactRecordBetweenTwoDamagedOnesIsFound) {
    const std::string damaged = word(0) + second.substr(4);
    EXPECT_THAT(scan(header(5) + first + first + damaged + second + damaged),
                ElementsAre("header", "record@40", "record@55", "zeros@70", "skipped@70+15",
                            "record@85", "zeros@100", "skipped@100+15", "frame-count@36"));
}

TEST_F(RecordSearchTest, ADamagedPayloadHidesNoRecordThatItHolds) {
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

TEST_F(RecordSearchTest, ALengthThatSwallowsWholeRecordsCostsNoOther) {
    const std::string damaged = word(0xFEED0007) + word(7 + 15) + second.substr(8);
    EXPECT_THAT(scan(header(5) + first + first + damaged + first + third),
                ElementsAre("header", "record@40", "record@55", "undecodable@70", "skipped@70+15",
                            "record@85", "record@100", "frame-count@36"));
}

TEST_F(RecordSearchTest, DamageAcrossBlocksIsPassedOver) {
    const std::string noise(Kit::BlockReader::kBlockSize - 55 - 6, '\xFE');
    EXPECT_THAT(scan(header(3) + first + noise + second + third),
                ElementsAre("header", "record@40", "wrong-tag@55",
                            "skipped@55+" + std::to_string(noise.size()), "record@262138",
                            "record@262153"));
}

TEST_F(RecordSearchTest, AHoleOfMegabytesIsPassedOver) {
    test_support::write_file(kPath, header(1) + first);
    ASSERT_EQ(truncate(kPath, 30'000'000), 0);
    append(second + third);
    RecordingScanner scanner(kPath);
    EXPECT_THAT(items(scanner),
                ElementsAre("header", "record@40", "zeros@55", "skipped@55+29999945",
                            "record@30000000", "record@30000015", "frame-count@36"));
}

TEST_F(RecordSearchTest, DamageInAGrowingFileIsLeftBehindWhenARecordHasCome) {
    test_support::write_file(kPath, header(0) + first + second + "damage" + third.substr(0, 10));
    RecordingScanner scanner(kPath, RecordingScanner::Tail::kGrowing);
    EXPECT_THAT(items(scanner), ElementsAre("header", "record@40", "record@55", "wrong-tag@70"));
    append(third.substr(10));
    EXPECT_THAT(items(scanner), ElementsAre("skipped@70+6", "record@76"));
}

TEST_F(RecordSearchTest, CandidatesThatOverlapByMegabytesEnd) {
    // Each holds the next ones, and their lengths reach to the end or beyond.
    std::string bytes = header(2) + first + second + "damage";
    const std::string candidate =
        "\x7A\x0D" + word(0xFEED0007) + word(1 << 20) + frame(0).substr(0, 5);
    for (int i = 0; i < 140000; ++i) bytes += candidate;
    EXPECT_THAT(scan(bytes), ElementsAre("header", "record@40", "record@55", "wrong-tag@70",
                                         "skipped@70+" + std::to_string(bytes.size() - 70)));
}

TEST_F(RecordSearchTest, LengthsThatAreNotTrueCostNoMoreMemoryThanTheLargestRecord) {
    std::string bytes = header(2) + first + second + "damage";
    for (uint32_t length = 100000; length <= Kit::kLargestPayload; length += 100000) {
        bytes += word(0xFEED0007) + word(length) + frame(0).substr(0, 5);
    }
    test_support::write_file(kPath, bytes);
    ASSERT_EQ(truncate(kPath, 40'000'000), 0);
    const test_support::LiveBytes memory;
    RecordingScanner scanner(kPath);
    EXPECT_EQ(items(scanner).back(), "skipped@70+39999930");
    RecordProperty("peak", std::to_string(memory.peak()));
    EXPECT_LT(memory.peak(), 26U << 20U);
}

/** Recordings with damage at random places. */
class DamagedRecordingTest : public RecordSearchTest {
protected:
    struct Place {
        size_t begin;
        size_t end;
    };

    std::string bytes;
    std::vector<Place> records;

    void add_record(std::string const& payload) {
        const std::string added = record(payload);
        records.push_back({bytes.size(), bytes.size() + added.size()});
        bytes += added;
    }

    void make_recording(test_support::Random& random, uint32_t most_targets) {
        bytes = header(40);
        records.clear();
        for (int i = 0; i < 40; ++i) {
            add_record(test_support::random_frame(random, most_targets).SerializeAsString());
        }
    }

    /** Overwrites a piece behind the third record and returns where. */
    Place damage(test_support::Random& random) {
        const size_t begin =
            records[2].end + random.below(static_cast<uint32_t>(bytes.size() - records[2].end));
        const uint32_t kind = random.below(4);
        const size_t size = kind == 0 ? 1 : kind == 1 ? 4 : 1 + random.below(600);
        const size_t end = std::min(begin + size, bytes.size());
        for (size_t i = begin; i < end; ++i) {
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
    for (uint32_t i = 0; i < 1500; ++i) {
        make_recording(random, i % 3 * 10);
        const Place damaged = damage(random);
        ASSERT_THAT(scan(bytes), testing::IsSupersetOf(untouched(damaged)))
            << i << ": " << damaged.begin << " to " << damaged.end;
    }
}

TEST_F(DamagedRecordingTest, EveryByteIsAccountedFor) {
    test_support::Random random(2);
    for (uint32_t i = 0; i < 1500; ++i) {
        make_recording(random, 5);
        for (uint32_t n = random.below(4); n > 0; --n) damage(random);
        bytes.erase(random.below(static_cast<uint32_t>(bytes.size())), random.below(30));
        test_support::write_file(kPath, bytes);
        RecordingScanner scanner(kPath);
        uint64_t sum = 0;
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
    for (uint64_t i = 0; i < 6; ++i) add_record(frame(i + 1) + filling);
    ASSERT_EQ(records[0].end - records[0].begin, 32u);
    for (size_t bit = 320; bit < 8 * bytes.size(); ++bit) {
        const char byte = bytes[bit / 8];
        bytes[bit / 8] = static_cast<char>(byte ^ 1 << bit % 8);
        ASSERT_THAT(scan(bytes), testing::IsSupersetOf(untouched({bit / 8, bit / 8 + 1}))) << bit;
        bytes[bit / 8] = byte;
    }
}

}  // namespace
