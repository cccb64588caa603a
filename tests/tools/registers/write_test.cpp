#include "tests/tools/registers/fixture.h"

/** petrelradar regs write */
namespace {

using test_support::Outcome;
using testing::HasSubstr;
using tools_test::RegsCase;

class RegsWriteTest : public tools_test::RegsTest {
protected:
    uint32_t control() { return chip_.chip.read(0x0010); }
    uint32_t scratch() { return chip_.chip.read(0x0008); }
};

class RegsWriteRefusalTest : public tools_test::RegsTest,
                             public testing::WithParamInterface<RegsCase> {};

TEST_P(RegsWriteRefusalTest, SaysWhyAndTouchesNothing) {
    const Outcome outcome = regs(GetParam().arguments);
    EXPECT_EQ(outcome.status, GetParam().status);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "petrelradar regs write: " + GetParam().err + "\n" +
                  (GetParam().status == 2 ? "Try 'petrelradar regs write --help'.\n" : ""));
    EXPECT_EQ(traffic(), 0);
}

const RegsCase kCases[] = {
    {"ValueAboveAField",
     {"write", "control.enable=2"},
     2,
     "",
     "control.enable: '2' is not a number from 0 to 1"},
    {"ValueAboveARegister",
     {"write", "scratch=0x100000000"},
     2,
     "",
     "scratch: '0x100000000' is not a number from 0 to 4294967295"},
    {"NegativeValue",
     {"write", "scratch=-1"},
     2,
     "",
     "scratch: '-1' is not a number from 0 to 4294967295"},
    {"ValueThatIsNoNumber",
     {"write", "scratch=12abc"},
     2,
     "",
     "scratch: '12abc' is not a number from 0 to 4294967295"},
    {"EmptyValue",
     {"write", "scratch="},
     2,
     "",
     "scratch: '' is not a number from 0 to 4294967295"},
    {"NoValue", {"write", "scratch"}, 2, "", "'scratch' is not written NAME=VALUE"},
    {"UnknownName",
     {"write", "scrtch=1"},
     2,
     "",
     "'scrtch' is not a register or field in /tmp/chip.map"},
    {"OneOfSeveral",
     {"write", "scratch=1", "control.enable=7"},
     2,
     "",
     "control.enable: '7' is not a number from 0 to 1"},
    {"RegisterThatCanOnlyBeRead", {"write", "version=1"}, 1, "", "version can only be read"},
    {"FieldThatCanOnlyBeRead",
     {"write", "status.running=1"},
     1,
     "",
     "status.running can only be read"},
    {"RegisterThatReadingClears", {"write", "events=0"}, 1, "", "events can only be read"},
    {"VerificationOfWhatCannotBeRead",
     {"write", "scratch=1", "reset=1", "--verify"},
     1,
     "",
     "reset can only be written, so --verify cannot look at it"},
};

INSTANTIATE_TEST_SUITE_P(, RegsWriteRefusalTest, testing::ValuesIn(kCases),
                         [](auto const& tested) { return tested.param.name; });

TEST_F(RegsWriteTest, ARegisterIsWrittenWithoutAWord) {
    const Outcome outcome = regs({"write", "scratch=0xfedcba98"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(scratch(), 0xFEDCBA98U);
    EXPECT_EQ(chip_.reads, 0);
}

TEST_F(RegsWriteTest, AnAddressIsWritten) {
    EXPECT_EQ(regs({"write", "0x0008=7"}).status, 0);
    EXPECT_EQ(scratch(), 7U);
}

TEST_F(RegsWriteTest, AFieldLeavesTheOtherBits) {
    EXPECT_EQ(regs({"write", "control.frame_rate=30"}).status, 0);
    EXPECT_EQ(control(), 0x00401E00U);
}

TEST_F(RegsWriteTest, FieldsOfARegisterAreWrittenInTheirOrder) {
    EXPECT_EQ(regs({"write", "control.frame_rate=30", "control.enable=1"}).status, 0);
    EXPECT_EQ(control(), 0x00401E01U);
    EXPECT_EQ(chip_.writes, 2);
}

TEST_F(RegsWriteTest, AFieldBehindItsWholeRegisterStartsFromTheNewValue) {
    EXPECT_EQ(regs({"write", "control.frame_rate=30", "control=0", "control.enable=1"}).status, 0);
    EXPECT_EQ(control(), 0x00000001U);
}

TEST_F(RegsWriteTest, VerifiedAWriteIsReadBack) {
    EXPECT_EQ(regs({"write", "scratch=5", "--verify"}).status, 0);
    EXPECT_EQ(chip_.reads, 1);
}

TEST_F(RegsWriteTest, AVerificationThatFailsTellsBothValuesAndEndsTheRun) {
    chip_.answers[0x0008] = 0x12;
    const Outcome outcome = regs({"write", "scratch=0x1234", "control=1", "--verify"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "petrelradar regs write: scratch: wrote 0x00001234, read back 0x00000012; what "
              "follows was not written\n");
    EXPECT_EQ(control(), 0x00400000U);
}

TEST_F(RegsWriteTest, AFieldIsVerifiedByItsOwnBits) {
    chip_.answers[0x0010] = 0x00001C01;
    EXPECT_EQ(regs({"write", "control.frame_rate=30", "--verify"}).err,
              "petrelradar regs write: control.frame_rate: wrote 0x1e, read back 0x1c\n");
}

TEST_F(RegsWriteTest, AWriteThatFailsNamesTheRegisterAndTheReason) {
    calls_.ioctl = test_support::fails_with(ENOTCONN);
    const Outcome outcome = regs({"write", "scratch=1"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
              "petrelradar regs write: scratch (0x0008) cannot be written: SPI communication "
              "failed: Transport endpoint is not connected\n");
}

TEST_F(RegsWriteTest, AFieldWhoseRegisterReadingChangesIsRefused) {
    const std::string map = "flags 0x24 0 32 rc\nmask 0x24 8 8 rw\n";
    EXPECT_THAT(regs_with_map(map, {"write", "mask=1"}).err,
                HasSubstr("mask: reading flags changes it (use --force"));
    EXPECT_EQ(traffic(), 0);
}

TEST_F(RegsWriteTest, ForcedSuchAFieldIsWritten) {
    const std::string map = "flags 0x08 0 32 rc\nmask 0x08 8 8 rw\n";
    EXPECT_EQ(regs_with_map(map, {"write", "mask=1", "--force"}).status, 0);
    EXPECT_EQ(scratch(), 0x0100U);
}

TEST_F(RegsWriteTest, AFieldWhoseRegisterCannotBeReadIsRefused) {
    const std::string map = "command 0x0c 0 32 w\ncommand.code 0x0c 0 8 w\n";
    EXPECT_THAT(regs_with_map(map, {"write", "command.code=1"}).err,
                HasSubstr("command.code: command cannot be read, so it has to be written as a "
                          "whole"));
    EXPECT_EQ(traffic(), 0);
}

}  // namespace
