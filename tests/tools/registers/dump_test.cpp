#include <nlohmann/json.hpp>

#include "tests/tools/registers/fixture.h"

/** petrelradar regs dump and regs diff */
namespace {

using nlohmann::json;
using test_support::Outcome;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char kSmallMap[] =
    "control 0x10 0 32 rw\n"
    "control.enable 0x10 0 1 rw\n"
    "reset 0x0c 0 32 w\n"
    "events 0x24 0 32 rc\n"
    "scratch 0x08 0 32 rw\n"
    "nearest 0x18 0 16 rw\n";

constexpr char kDump[] =
    "# Registers of a chip: address, name, value, fields.\n"
    "0x0008 scratch 0x00000000\n"
    "# 0x000c reset skipped: it can only be written\n"
    "0x0010 control 0x00400000 enable=0\n"
    "0x0018 - 0x00000000 nearest=0\n"
    "# 0x0024 events skipped: reading changes it\n";

class RegsDumpTest : public tools_test::RegsTest {
protected:
    void SetUp() override {
        RegsTest::SetUp();
        if (!IsSkipped()) test_support::write_file(tools_test::kMap, kSmallMap);
    }

    /** Keeps a dump of the chip as it is in a file. */
    static std::string keep_dump(std::string const& path, std::vector<std::string> options = {}) {
        options.insert(options.begin(), "dump");
        test_support::write_file(path, regs(options).out);
        return path;
    }
};

TEST_F(RegsDumpTest, HasALineForEveryRegisterByAddress) {
    EXPECT_EQ(regs({"dump"}).out, kDump);
}

TEST_F(RegsDumpTest, NamesOnStandardErrorWhatItLeftOut) {
    const Outcome outcome = regs({"dump"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err,
              "petrelradar regs dump: skipped: reset (it can only be written); events (reading "
              "changes it; use --force to read it)\n");
}

TEST_F(RegsDumpTest, DoesNotReadWhatItLeavesOut) {
    measure_disturbed_frame();
    regs({"dump"});
    EXPECT_EQ(chip_.chip.read(0x0024), 3U);
}

TEST_F(RegsDumpTest, ForcedItReadsWhatReadingChanges) {
    measure_disturbed_frame();
    const Outcome outcome = regs({"dump", "--force"});
    EXPECT_THAT(outcome.out, EndsWith("0x0024 events 0x00000003\n"));
    EXPECT_THAT(outcome.err, Not(HasSubstr("events")));
}

TEST_F(RegsDumpTest, OfTheSameValuesIsTheSameText) {
    EXPECT_EQ(regs({"dump"}).out, regs({"dump"}).out);
}

TEST_F(RegsDumpTest, AsJsonItHoldsTheSame) {
    const json dump = json::parse(regs({"dump", "--format", "json"}).out);
    EXPECT_EQ(dump["registers"][1], json({{"address", 16},
                                          {"name", "control"},
                                          {"value", 0x00400000},
                                          {"fields", {{"enable", 0}}}}));
    EXPECT_EQ(dump["registers"][2]["name"], nullptr);
    EXPECT_EQ(dump["left_out"][1],
              json({{"address", 36}, {"name", "events"}, {"reason", "reading changes it"}}));
}

TEST_F(RegsDumpTest, PrintsNothingWhenTheChipIsLost) {
    int left = 2;
    const auto answer = calls_.ioctl;
    calls_.ioctl = [&, answer](int fd, unsigned long request, void* argument) {
        if (--left >= 0) return answer(fd, request, argument);
        errno = ENOTCONN;
        return -1;
    };
    const Outcome outcome = regs({"dump"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, StartsWith("petrelradar regs dump: 0x0018 cannot be read: "));
}

using RegsDiffTest = RegsDumpTest;

TEST_F(RegsDiffTest, OfADumpWithAChipThatIsTheSameIsEmpty) {
    const Outcome outcome = regs({"diff", keep_dump("/tmp/a")});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
}

TEST_F(RegsDiffTest, ShowsWhatHasChangedOnTheChip) {
    keep_dump("/tmp/a");
    chip_.chip.write(0x0010, 1, 0xFFFFFFFF);
    const Outcome outcome = regs({"diff", "/tmp/a"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "0x0010 control 0x00400000 -> 0x00000001 enable=0->1\n");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(RegsDiffTest, OfTwoDumpsDoesNotTouchTheChip) {
    keep_dump("/tmp/a");
    chip_.chip.write(0x0008, 7, 0xFFFFFFFF);
    keep_dump("/tmp/b", {"--format", "json"});
    calls_.ioctl = test_support::fails_with(EIO);
    EXPECT_EQ(regs({"diff", "/tmp/a", "/tmp/b"}).out, "0x0008 scratch 0x00000000 -> 0x00000007\n");
}

TEST_F(RegsDiffTest, ReadsADumpFromStandardInput) {
    keep_dump("/tmp/a");
    EXPECT_EQ(regs({"diff", "-", "/tmp/a"}, kDump).status, 0);
}

TEST_F(RegsDiffTest, AsJsonItIsOneDocument) {
    keep_dump("/tmp/a");
    chip_.chip.write(0x0010, 1, 0xFFFFFFFF);
    const json diff = json::parse(regs({"diff", "/tmp/a", "--format", "json"}).out);
    EXPECT_EQ(diff["differences"],
              json::array({{{"address", 16},
                            {"name", "control"},
                            {"before", 0x00400000},
                            {"after", 1},
                            {"fields", {{"enable", {{"before", 0}, {"after", 1}}}}}}}));
}

TEST_F(RegsDiffTest, ARegisterThatOneDumpDoesNotHaveDiffers) {
    keep_dump("/tmp/a");
    keep_dump("/tmp/b", {"--force"});
    const Outcome outcome = regs({"diff", "/tmp/a", "/tmp/b"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "0x0024 events none -> 0x00000000\n");
}

TEST_F(RegsDiffTest, WhatReadingChangesIsNotReadToBeCompared) {
    keep_dump("/tmp/a", {"--force"});
    measure_disturbed_frame();
    chip_.chip.write(0x0010, 0x00400000, 0xFFFFFFFF);
    const Outcome outcome = regs({"diff", "/tmp/a"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(
        outcome.err,
        "petrelradar regs diff: skipped: events (reading changes it; use --force to read it)\n");
    EXPECT_EQ(chip_.chip.read(0x0024), 3U);
}

TEST_F(RegsDiffTest, WhatTheMapDoesNotHaveIsNotRead) {
    const Outcome outcome = regs({"diff", "-"}, "0x0100 - 0x00000000\n");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err,
              "petrelradar regs diff: skipped: 0x0100 (not in the map; use --force to read it)\n");
    EXPECT_EQ(traffic(), 0);
}

struct BadDump {
    char const* name;
    std::string text;
    std::string problem;
};

std::ostream& operator<<(std::ostream& os, BadDump const& tested) {
    return os << tested.name;
}

class BadDumpTest : public tools_test::RegsTest, public testing::WithParamInterface<BadDump> {};

TEST_P(BadDumpTest, IsRefusedWithThePlaceAndTheReason) {
    test_support::write_file("/tmp/bad", GetParam().text);
    const Outcome outcome = regs({"diff", "/tmp/bad"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "petrelradar regs diff: /tmp/bad" + GetParam().problem + "\n");
    EXPECT_EQ(traffic(), 0);
}

const BadDump kBadDumps[] = {
    {"Empty", "", ": holds no register"},
    {"OnlyComments", "# nothing\n\n", ": holds no register"},
    {"Word", "hello\n", ":1:1: 'hello' is not a valid address (0 to 65535)"},
    {"NoName", "0x10", ":1:5: the name is missing"},
    {"NoValue", "0x10 a\n", ":1:7: the value is missing"},
    {"BadValue", "0x10 a 0x1ffffffff\n",
     ":1:8: '0x1ffffffff' is not a valid value (0 to 4294967295)"},
    {"BadField", "0x0 a 0\n0x10 a 0 b\n", ":2:10: 'b' is not a field (expected NAME=VALUE)"},
    {"BadFieldValue", "0x10 a 0 b=x\n", ":1:10: 'b=x' is not a field (expected NAME=VALUE)"},
    {"ControlCharacters", "\x1b[31m\n", ":1:1: '?[31m' is not a valid address (0 to 65535)"},
    {"Twice", "0x10 a 0\n16 b 0\n", ": holds 0x0010 twice"},
    {"CutJson", "{\"registers\": [\n  {\"address\"", ":2:13: no valid JSON"},
    {"ForeignJson", "{\"state\": 1}", ": no dump of registers"},
    {"JsonWithoutAddress", "{\"registers\": [{\"value\": 1}]}",
     ": register 1: 'address' is not a number from 0 to 65535"},
    {"JsonWithTextAsValue", "{\"registers\": [{\"address\": 1, \"value\": \"1\"}]}",
     ": register 1: 'value' is not a number from 0 to 4294967295"},
    {"JsonWithNegativeField",
     "{\"registers\": [{\"address\": 1, \"value\": 1, \"fields\": {\"f\": -1}}]}",
     ": register 1: 'f' is not a number from 0 to 4294967295"},
    {"JsonWithNumbersForRegisters", "{\"registers\": [7]}",
     ": register 1: 'address' is not a number from 0 to 65535"},
};

INSTANTIATE_TEST_SUITE_P(, BadDumpTest, testing::ValuesIn(kBadDumps),
                         [](auto const& tested) { return tested.param.name; });

}  // namespace
