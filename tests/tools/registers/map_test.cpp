#include "tools/registers/map.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kit/base/input_error.h"
#include "kit/demo_chip/registers.h"
#include "tests/support/private_paths.h"

namespace {

using testing::HasSubstr;
using Tools::NamedBits;
using Tools::RegisterMap;

struct BadMap {
    char const* name;
    std::string text;
    std::string problem;
};

std::ostream& operator<<(std::ostream& os, BadMap const& tested) {
    return os << tested.name;
}

std::string problem_of(std::string const& text) {
    try {
        RegisterMap("my.map", text);
    } catch (Kit::InputError const& error) {
        return error.what();
    }
    return "none";
}

class BadMapTest : public testing::TestWithParam<BadMap> {};

TEST_P(BadMapTest, IsRefusedWithLineAndColumn) {
    EXPECT_EQ(problem_of(GetParam().text), "my.map" + GetParam().problem);
}

constexpr char kNameRule[] = " is not a name: a letter, then letters, digits, '.', '-' and '_'";

const BadMap kBadMaps[] = {
    {"Empty", "", ": names no register"},
    {"OnlyComments", "# name address\n\n   # more\n", ": names no register"},
    {"NameWithADigitFirst", "0x10 0 0 32 r\n", std::string(":1:1: '0x10'") + kNameRule},
    {"NameWithAnEqualsSign", "a=b 0 0 32 r\n", std::string(":1:1: 'a=b'") + kNameRule},
    {"NulByte", std::string("a\0b 0 0 32 r\n", 13), std::string(":1:1: 'a?b'") + kNameRule},
    {"ByteOrderMark", "\xef\xbb\xbfname 0 0 32 r\n",
     std::string(":1:1: '\xef\xbb\xbfname'") + kNameRule},
    {"NameTwice", "a 0 0 32 r\n\n  a 4 0 32 r\n", ":3:3: the name 'a' was given in line 1"},
    {"NoAddress", "control", ":1:8: the address is missing"},
    {"AddressThatIsNoNumber", "a 0x 0 32 r\n", ":1:3: '0x' is not a valid address (0 to 65535)"},
    {"AddressBeyondTheBus", "a 0x10000 0 32 r\n",
     ":1:3: '0x10000' is not a valid address (0 to 65535)"},
    {"NegativeAddress", "a -4 0 32 r\n", ":1:3: '-4' is not a valid address (0 to 65535)"},
    {"ShiftBeyondTheRegister", "a 0 32 1 r\n", ":1:5: '32' is not a valid shift (0 to 31)"},
    {"NoWidth", "a 0 0 0 r\n", ":1:7: '0' is not a valid width (1 to 32)"},
    {"WidthBeyondTheRegister", "a 0 0 33 r\n", ":1:7: '33' is not a valid width (1 to 32)"},
    {"FieldAcrossTheEnd", "a 0 20 16 r\n",
     ":1:8: bits 20 to 35 are more than a register has, which is 0 to 31"},
    {"NumberWithTail", "a 0 0x1g 1 r\n", ":1:5: '0x1g' is not a valid shift (0 to 31)"},
    {"HugeNumber", "a 99999999999999999999 0 1 r\n",
     ":1:3: '99999999999999999999' is not a valid address (0 to 65535)"},
    {"NoAccess", "a 0 0 1\n", ":1:8: the access is missing"},
    {"UnknownAccess", "a\t0\t0\t1\trx\n", ":1:9: 'rx' is not an access: r, w, rw or rc"},
};

INSTANTIATE_TEST_SUITE_P(, BadMapTest, testing::ValuesIn(kBadMaps),
                         [](auto const& tested) { return tested.param.name; });

TEST(RegisterMapTest, AnEntryKeepsWhatItsLineSays) {
    const RegisterMap map("m", "  ctrl.rate\t16  8 4 rw   frames a second \r\n");
    NamedBits const* const bits = map.find("ctrl.rate");
    ASSERT_NE(bits, nullptr);
    EXPECT_EQ(bits->bits.address, 16);
    EXPECT_EQ(bits->bits.shift, 8);
    EXPECT_EQ(bits->bits.width, 4);
    EXPECT_TRUE(bits->is_readable && bits->is_writable);
    EXPECT_EQ(bits->description, "frames a second");
}

TEST(RegisterMapTest, ALineNeedsNoDescriptionAndNoEnd) {
    EXPECT_NE(RegisterMap("m", "a 0 0 32 r").find("a"), nullptr);
}

TEST(RegisterMapTest, AccessTellsWhatMayBeDone) {
    const RegisterMap map("m", "r 0 0 32 r\nw 4 0 32 w\nrw 8 0 32 rw\nrc 12 0 32 rc\n");
    EXPECT_TRUE(map.find("r")->is_readable && !map.find("r")->is_writable);
    EXPECT_TRUE(!map.find("w")->is_readable && map.find("w")->is_writable);
    EXPECT_TRUE(map.find("rw")->is_readable && map.find("rw")->is_writable);
    EXPECT_TRUE(map.find("rc")->is_readable && !map.find("rc")->is_writable);
    EXPECT_FALSE(map.register_at(8).changes_by_reading);
    EXPECT_TRUE(map.register_at(12).changes_by_reading);
}

TEST(RegisterMapTest, ARegisterHasWhatItsFieldsHave) {
    const RegisterMap map("m", "a 0 0 32 r\na.x 0 0 1 w\na.y 0 1 1 rc\n");
    EXPECT_TRUE(map.register_at(0).is_writable);
    EXPECT_TRUE(map.register_at(0).changes_by_reading);
}

TEST(RegisterMapTest, OfTwoNamesOfARegisterTheFirstIsShown) {
    const RegisterMap map("m", "a 0 0 32 r\nb 0 0 32 w\n");
    EXPECT_EQ(map.register_at(0).name, "a");
    EXPECT_NE(map.find("b"), nullptr);
}

TEST(RegisterMapTest, AFieldOfAnotherNameThanItsRegisterKeepsItWhole) {
    const RegisterMap map("m", "a 0 0 32 r\na.x 0 0 1 r\nother 0 1 1 r\na. 0 2 1 r\n");
    const Tools::MappedRegister whole = map.register_at(0);
    EXPECT_EQ(whole.short_name(whole.fields[0]), "x");
    EXPECT_EQ(whole.short_name(whole.fields[1]), "other");
    EXPECT_EQ(whole.short_name(whole.fields[2]), "a.");
}

TEST(RegisterMapTest, TheShippedMapIsThatOfTheDemoChip) {
    const RegisterMap map =
        Tools::load_register_map(std::string(PETRELRADAR_SOURCE_DIR) + "/chip/demo-chip.map");
    for (auto const& entry : Kit::DemoChip::register_map()) {
        NamedBits const* const bits = map.find(entry.name);
        ASSERT_NE(bits, nullptr) << entry.name;
        EXPECT_EQ(bits->bits.address, entry.address);
        EXPECT_EQ(bits->bits.shift, entry.shift);
        EXPECT_EQ(bits->bits.width, entry.width);
        EXPECT_EQ(bits->is_readable, entry.access != "w");
        EXPECT_EQ(bits->is_writable, entry.access == "w" || entry.access == "rw");
        EXPECT_EQ(bits->description, entry.description);
    }
}

class RegisterMapFileTest : public test_support::PrivatePathsTest {
protected:
    static std::string problem_of_file(std::string const& path) {
        try {
            Tools::load_register_map(path);
        } catch (Kit::InputError const& error) {
            return error.what();
        }
        return "none";
    }
};

TEST_F(RegisterMapFileTest, AMissingFileIsRefused) {
    EXPECT_EQ(problem_of_file("/tmp/none"), "/tmp/none: No such file or directory");
}

TEST_F(RegisterMapFileTest, ADirectoryIsRefused) {
    EXPECT_EQ(problem_of_file("/tmp"), "/tmp: not a regular file");
}

TEST_F(RegisterMapFileTest, AFifoIsRefusedWithoutWaitingForItsWriter) {
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0);
    EXPECT_EQ(problem_of_file("/tmp/fifo"), "/tmp/fifo: not a regular file");
}

TEST_F(RegisterMapFileTest, AnEndlessDeviceIsRefused) {
    EXPECT_EQ(problem_of_file("/dev/zero"), "/dev/zero: not a regular file");
}

TEST_F(RegisterMapFileTest, AFileTooLargeForAMapIsRefused) {
    test_support::write_file("/tmp/large", "");
    ASSERT_EQ(truncate("/tmp/large", (16 << 20) + 1), 0);
    EXPECT_EQ(problem_of_file("/tmp/large"), "/tmp/large: larger than 16 MiB");
}

}  // namespace
