#include "tests/tools/registers/fixture.h"

/** petrelradar regs read */
namespace {

using test_support::Outcome;
using testing::HasSubstr;
using tools_test::RegsCase;

using RegsReadTest = tools_test::RegsTest;

class RegsReadTableTest : public tools_test::RegsTest,
                          public testing::WithParamInterface<RegsCase> {};

TEST_P(RegsReadTableTest, GivesTheExpectedStatusAndOutput) {
    const Outcome outcome = regs(GetParam().arguments);
    EXPECT_EQ(outcome.status, GetParam().status);
    EXPECT_EQ(outcome.out, GetParam().out);
    EXPECT_EQ(outcome.err, GetParam().err);
}

constexpr char kTryRead[] = "Try 'petrelradar regs read --help'.\n";

std::string usage(std::string const& problem) {
    return "petrelradar regs read: " + problem + "\n" + kTryRead;
}

const RegsCase kCases[] = {
    {"ARegisterComesWithItsFields",
     {"read", "control"},
     0,
     "control=0x00400000\ncontrol.enable=0\ncontrol.frame_rate=0\ncontrol.max_targets=64\n",
     ""},
    {"AFieldComesAlone", {"read", "control.max_targets"}, 0, "control.max_targets=64\n", ""},
    {"SeveralComeInTheirOrder",
     {"read", "version.major", "identification"},
     0,
     "version.major=1\nidentification=0x31445250\n",
     ""},
    {"AnAddressOfTheMapHasItsName", {"read", "0x0008"}, 0, "scratch=0x00000000\n", ""},
    {"AnAddressMayBeDecimal", {"read", "8"}, 0, "scratch=0x00000000\n", ""},
    {"AnAddressOutsideTheMapIsRead", {"read", "0x0f00"}, 0, "0x0f00=0x00000000\n", ""},
    {"ARegisterMayHaveTheNameOfAVerb",
     {"read", "status.running", "status.event"},
     0,
     "status.running=0\nstatus.event=0\n",
     ""},
    {"AnUnknownNameIsRefused",
     {"read", "contrl"},
     2,
     "",
     usage("'contrl' is not a register or field in /tmp/chip.map")},
    {"AnEmptyNameIsRefused",
     {"read", ""},
     2,
     "",
     usage("'' is not a register or field in /tmp/chip.map")},
    {"AnAddressBeyondTheBusIsRefused",
     {"read", "0x10000"},
     2,
     "",
     usage("'0x10000' is not a valid address (0 to 0xffff)")},
    {"AnAddressThatIsNoNumberIsRefused",
     {"read", "0x1g"},
     2,
     "",
     usage("'0x1g' is not a valid address (0 to 0xffff)")},
    {"ThereHasToBeAName", {"read"}, 2, "", usage("NAME is required")},
    {"AnOddCommandByteIsRefused",
     {"read", "control", "--command-byte", "0x21"},
     2,
     "",
     usage("--command-byte: '0x21' is not an even number from 0 to 0xfe")},
    {"ARegisterThatReadingChangesIsRefused",
     {"read", "events"},
     1,
     "",
     "petrelradar regs read: events: reading it changes it (use --force to read it)\n"},
    {"ItsAddressIsRefusedToo",
     {"read", "0x0024"},
     1,
     "",
     "petrelradar regs read: events: reading it changes it (use --force to read it)\n"},
    {"AndSoIsAFieldOfIt",
     {"read", "events.cut"},
     1,
     "",
     "petrelradar regs read: events.cut: reading events changes it (use --force to read it)\n"},
    {"ARegisterThatCanOnlyBeWrittenIsRefused",
     {"read", "reset"},
     1,
     "",
     "petrelradar regs read: reset can only be written\n"},
    {"AnotherCommandByteIsForAnotherChip",
     {"read", "identification", "--command-byte", "0x40"},
     0,
     "identification=0x00000000\n",
     ""},
};

INSTANTIATE_TEST_SUITE_P(, RegsReadTableTest, testing::ValuesIn(kCases),
                         [](auto const& tested) { return tested.param.name; });

TEST_F(RegsReadTest, AsJsonItIsOneDocument) {
    EXPECT_EQ(regs({"read", "control.max_targets", "--format", "json"}).out,
              "{\n  \"values\": [\n    {\n      \"name\": \"control.max_targets\",\n"
              "      \"address\": 16,\n      \"shift\": 16,\n      \"width\": 7,\n"
              "      \"value\": 64\n    }\n  ]\n}\n");
}

TEST_F(RegsReadTest, ARegisterIsReadOnceForAllItsFields) {
    chip_.answers[0x0010] = 0xFFFFFFFF;
    EXPECT_EQ(regs({"read", "control.enable", "control.frame_rate", "control.max_targets"}).out,
              "control.enable=1\ncontrol.frame_rate=255\ncontrol.max_targets=127\n");
    EXPECT_EQ(traffic(), 1);
}

TEST_F(RegsReadTest, NothingIsReadWhenOneOfTheNamesIsRefused) {
    regs({"read", "control", "events"});
    EXPECT_EQ(traffic(), 0);
}

TEST_F(RegsReadTest, ForcedAllFlagsOfARegisterThatIsClearedAreSeen) {
    measure_disturbed_frame();
    EXPECT_EQ(regs({"read", "events.interference", "events.saturation", "--force"}).out,
              "events.interference=1\nevents.saturation=1\n");
}

TEST_F(RegsReadTest, AFieldOfAllBitsUpToTheLastIsNotNegative) {
    chip_.answers[0x0018] = 0xFFFF0000;
    EXPECT_EQ(regs({"read", "range_gate.farthest"}).out, "range_gate.farthest=65535\n");
}

TEST_F(RegsReadTest, ADeviceThatCannotBeOpenedIsNamed) {
    calls_.open = [](char const* path, int flags) {
        if (std::strcmp(path, "/dev/spidev0.0") != 0) return test_support::real_open(path, flags);
        errno = EACCES;
        return -1;
    };
    const Outcome outcome = regs({"read", "control"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "petrelradar regs read: Could not open SPI device /dev/spidev0.0: Permission "
              "denied\n");
}

TEST_F(RegsReadTest, AReadThatFailsNamesTheRegisterAndTheReason) {
    calls_.ioctl = test_support::fails_with(EIO);
    const Outcome outcome = regs({"read", "control.enable"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "petrelradar regs read: control (0x0010) cannot be read: SPI communication failed: "
              "Input/output error\n");
}

TEST_F(RegsReadTest, AnAddressThatOnlyFieldsHaveIsReadUnderItsAddress) {
    EXPECT_EQ(regs_with_map("enable 0x10 0 1 rw\n", {"read", "0x10"}).out,
              "0x0010=0x00400000\nenable=0\n");
}

TEST_F(RegsReadTest, AFieldThatReadingChangesProtectsItsWholeRegister) {
    const std::string map = "all 0x24 0 32 r\none 0x24 0 1 rc\n";
    EXPECT_THAT(regs_with_map(map, {"read", "all"}).err, HasSubstr("all: reading it changes it"));
}

TEST_F(RegsReadTest, AMissingMapIsNamed) {
    const Outcome outcome = test_support::run_inside({"regs", "read", "x", "--map", "/tmp/none"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "petrelradar regs read: /tmp/none: No such file or directory\n");
}

TEST_F(RegsReadTest, WithoutAMapThatCanBeFoundOneHasToBeNamed) {
    const Outcome outcome = test_support::run_inside({"regs", "read", "x"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("demo-chip.map: No such file or directory; name a map with "
                                       "--map\n"));
}

}  // namespace
