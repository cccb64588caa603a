// Every cut and every flipped bit of a recording, for each verb that reads recordings.

#include <gmock/gmock.h>

#include "tests/support/inside.h"
#include "tests/support/private_paths.h"
#include "tests/support/recording_bytes.h"

namespace {

using test_support::frame;
using test_support::header;
using test_support::Outcome;
using test_support::read_file;
using test_support::record;
using test_support::run_inside;
using test_support::write_file;

constexpr char kPath[] = "/tmp/radar_150525_093007_042.data";
constexpr char kSaved[] = "/tmp/saved/radar_150525_093007_042.data";

/** The payloads of a recording: frames of the times 1000 and on, with 0 to 2 targets. */
std::vector<std::string> payloads(int count) {
    std::vector<std::string> all;
    for (int i = 0; i < count; ++i) {
        all.push_back(frame(1747301407000000 + static_cast<uint64_t>(i) * 50000, i % 3));
    }
    return all;
}

std::string recording(std::vector<std::string> const& frames) {
    std::string bytes = header(static_cast<uint32_t>(frames.size()));
    for (std::string const& payload : frames) bytes += record(payload);
    return bytes;
}

class DamageSweepTest : public test_support::PrivatePathsTest {
protected:
    static Outcome recover() {
        return run_inside({"recover", kPath, "-o", "/tmp/saved", "--force"});
    }
};

TEST_F(DamageSweepTest, EveryCutLeavesTheWholeRecordsBeforeIt) {
    const std::vector<std::string> all = payloads(8);
    const std::string whole = recording(all);
    for (size_t size = 40; size <= whole.size(); ++size) {
        std::vector<std::string> kept;
        size_t end = 40;
        while (kept.size() < all.size() && end + 8 + all[kept.size()].size() <= size) {
            end += 8 + all[kept.size()].size();
            kept.push_back(all[kept.size()]);
        }
        write_file(kPath, whole.substr(0, size));
        ASSERT_EQ(recover().status, size == whole.size() ? 0 : 3) << size;
        ASSERT_EQ(read_file(kSaved), recording(kept)) << size;
        ASSERT_EQ(run_inside({"doctor", kSaved}).status, 0) << size;
    }
}

TEST_F(DamageSweepTest, ACutInTheHeaderLeavesNothing) {
    const std::string whole = recording(payloads(1));
    for (size_t size = 0; size < 40; ++size) {
        write_file(kPath, whole.substr(0, size));
        ASSERT_EQ(recover().status, 1) << size;
    }
    EXPECT_TRUE(test_support::list_directory("/tmp/saved").empty());
}

/** What a flipped bit does. */
enum class Harm {
    kNone,   // nothing that can be noticed
    kMagic,  // the frame has another magic
    kDamage
};

Harm harm_of(std::string const& payload) {
    RO::RadarObjects message;
    if (!message.ParseFromString(payload)) return Harm::kDamage;
    return message.magic() == 29061378 ? Harm::kNone : Harm::kMagic;
}

/** What is the matter with a recording in which the byte at `place` was changed. */
Harm harm_of(std::string const& bytes, size_t place) {
    if (place < 40) return place < 8 || place >= 36 ? Harm::kDamage : Harm::kNone;
    size_t begin = 40;
    for (std::string const& payload : payloads(4)) {
        const size_t end = begin + 8 + payload.size();
        if (place < begin + 8) return Harm::kDamage;
        if (place < end) return harm_of(bytes.substr(begin + 8, payload.size()));
        begin = end;
    }
    return Harm::kNone;
}

struct Sweep {
    char const* name;
    std::vector<std::string> arguments;
    int status_of_foreign_frame;
};

std::ostream& operator<<(std::ostream& os, Sweep const& sweep) {
    return os << sweep.name;
}

class BitFlipTest : public test_support::PrivatePathsTest,
                    public testing::WithParamInterface<Sweep> {};

TEST_P(BitFlipTest, EveryFlippedBitIsAnsweredWithTheRightStatus) {
    const std::string whole = recording(payloads(4));
    for (size_t bit = 0; bit < 8 * whole.size(); ++bit) {
        std::string bytes = whole;
        bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ (1 << bit % 8));
        write_file(kPath, bytes);
        const Harm harm = harm_of(bytes, bit / 8);
        const int status = harm == Harm::kMagic ? GetParam().status_of_foreign_frame
                                                : (harm == Harm::kNone ? 0 : 3);
        const Outcome outcome = run_inside(GetParam().arguments);
        ASSERT_EQ(outcome.status, status) << "bit " << bit << "\n" << outcome.out << outcome.err;
        ASSERT_TRUE(outcome.err.empty() || harm != Harm::kNone) << "bit " << bit;
        ASSERT_TRUE(!outcome.err.empty() || status == 0) << "bit " << bit;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Verbs, BitFlipTest,
    testing::Values(Sweep{"Doctor", {"doctor", kPath}, 0}, Sweep{"Info", {"info", kPath}, 0},
                    Sweep{"Cat", {"cat", kPath}, 0},
                    Sweep{"Export", {"export", kPath, "-o", "/tmp/saved.csv", "--force"}, 0},
                    Sweep{"Recover", {"recover", kPath, "-o", "/tmp/saved", "--force"}, 3}),
    [](auto const& test) { return test.param.name; });

}  // namespace
