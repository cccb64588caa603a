#include "tools/settings/text.h"

#include <gmock/gmock.h>

#include <limits>

#include "kit/base/input_error.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Tools::SettingsText;

std::string after_setting(std::string const& text, std::string const& key, int32_t value) {
    SettingsText settings("f", text);
    settings.set(key, value);
    return settings.text();
}

std::string problem_of(std::string const& text) {
    try {
        return SettingsText("f", text).problem();
    } catch (Kit::InputError const& error) {
        return std::string("refused: ") + error.what();
    }
}

struct Edit {
    char const* name;
    std::string before;
    std::string after;
};

std::ostream& operator<<(std::ostream& os, Edit const& tested) {
    return os << tested.name;
}

class EditTest : public testing::TestWithParam<Edit> {};

TEST_P(EditTest, SettingAToSevenChangesThatLineOnly) {
    EXPECT_EQ(after_setting(GetParam().before, "A", 7), GetParam().after);
}

const Edit kEdits[] = {
    {"Empty", "", "[Radar]\nA=7\n"},
    {"InPlace", "[Radar]\nA=1\nB=2\n", "[Radar]\nA=7\nB=2\n"},
    {"LastLineWithoutItsEnd", "[Radar]\nA=1", "[Radar]\nA=7"},
    {"EmptyValue", "[Radar]\nA=\nB=2\n", "[Radar]\nA=7\nB=2\n"},
    {"BlanksStay", "[Radar]\n  A \t=  1  \n", "[Radar]\n  A \t=  7\n"},
    {"LineEndsStay", "[Radar]\r\nA=1\r\nB=2\r\n", "[Radar]\r\nA=7\r\nB=2\r\n"},
    {"CommentsStay", "# a\n[Radar]\n# A=1\nA=1\n\n#b\n", "# a\n[Radar]\n# A=1\nA=7\n\n#b\n"},
    {"TheLastOfSeveralCounts", "[Radar]\nA=1\nA=2\n", "[Radar]\nA=1\nA=7\n"},
    {"OfTheGroupOnly", "[X]\nA=1\n[Radar]\nA=2\n[Y]\nA=3\n", "[X]\nA=1\n[Radar]\nA=7\n[Y]\nA=3\n"},
    {"GroupThatContinuesLater", "[Radar]\nA=1\n[X]\nB=1\n[Radar]\nA=2\n",
     "[Radar]\nA=1\n[X]\nB=1\n[Radar]\nA=7\n"},
    {"AddedBehindTheLastSetting", "[Radar]\nB=1\n\n# tail\n[X]\nA=1\n",
     "[Radar]\nB=1\nA=7\n\n# tail\n[X]\nA=1\n"},
    {"AddedToAnEmptyGroup", "[Radar]\n\n[X]\nA=1\n", "[Radar]\nA=7\n\n[X]\nA=1\n"},
    {"AddedBehindALineWithoutItsEnd", "[Radar]\nB=1", "[Radar]\nB=1\nA=7\n"},
    {"AddedWithTheGroup", "# only\n[X]\nA=1", "# only\n[X]\nA=1\n\n[Radar]\nA=7\n"},
    {"AddedWithTheFilesLineEnds", "[Radar]\r\nB=1\r\n", "[Radar]\r\nB=1\r\nA=7\r\n"},
    {"OtherCaseIsAnotherKey", "[Radar]\na=1\n", "[Radar]\na=1\nA=7\n"},
    {"CommentBehindTheValueStays", "[Radar]\nA=1  # why\nB=2\n", "[Radar]\nA=7  # why\nB=2\n"},
    {"CommentBehindAValueThatWasNoInteger", "[Radar]\nA=x # why\r\n", "[Radar]\nA=7 # why\r\n"},
    {"CommentInThePlaceOfAValueStays", "[Radar]\nA= # why\n", "[Radar]\nA= 7 # why\n"},
    {"OtherWordsBehindTheValueGo", "[Radar]\nA=1 2#3 #4\n", "[Radar]\nA=7 #4\n"},
    {"ValueThatWasNoInteger", "[Radar]\nA=abc\n", "[Radar]\nA=7\n"},
};

INSTANTIATE_TEST_SUITE_P(, EditTest, testing::ValuesIn(kEdits),
                         [](auto const& tested) { return tested.param.name; });

struct BadText {
    char const* name;
    std::string text;
    std::string problem;
};

std::ostream& operator<<(std::ostream& os, BadText const& tested) {
    return os << tested.name;
}

class BadSettingsTest : public testing::TestWithParam<BadText> {};

TEST_P(BadSettingsTest, AreReportedWithTheLine) {
    EXPECT_EQ(problem_of(GetParam().text), GetParam().problem);
}

const BadText kBadTexts[] = {
    {"OutsideAGroup", "# c\nA=1\n[Radar]\n",
     "refused: f: line 2 stands outside a group; a service would replace this file"},
    {"OnlyASetting", "A=1",
     "refused: f: line 1 stands outside a group; a service would replace this file"},
    {"NoSetting", "[Radar]\nhello\n",
     "refused: f: Key file contains line “hello” which is not a key-value pair, group, or "
     "comment"},
    {"ByteOrderMark", "\xef\xbb\xbf[Radar]\nA=1\n", "refused: f: begins with a byte-order mark"},
    {"NulByte", std::string("[Radar]\nA=1\0\n", 13),
     "refused: f: holds a NUL byte, so it is not a key file"},
    {"Letters", "[Radar]\n\nA=12abc\n", "f: line 3: A is '12abc', which is not a 32-bit integer"},
    {"Hexadecimal", "[Radar]\nA=0x10\n", "f: line 2: A is '0x10', which is not a 32-bit integer"},
    {"Nothing", "[Radar]\nA=\n", "f: line 2: A is '', which is not a 32-bit integer"},
    {"TooLarge", "[Radar]\nA=2147483648\n",
     "f: line 2: A is '2147483648', which is not a 32-bit integer"},
    {"TwentyDigits", "[Radar]\nA=99999999999999999999\n",
     "f: line 2: A is '99999999999999999999', which is not a 32-bit integer"},
    {"TheLineThatCounts", "[Radar]\nA=1\nA=x\n",
     "f: line 3: A is 'x', which is not a 32-bit integer"},
    {"LongValue", "[Radar]\nA=" + std::string(1000, 'x') + "\n",
     "f: line 2: A is '" + std::string(40, 'x') + "'..., which is not a 32-bit integer"},
};

INSTANTIATE_TEST_SUITE_P(, BadSettingsTest, testing::ValuesIn(kBadTexts),
                         [](auto const& tested) { return tested.param.name; });

struct GoodText {
    char const* name;
    std::string text;
    int32_t value;
};

std::ostream& operator<<(std::ostream& os, GoodText const& tested) {
    return os << tested.name;
}

class GoodSettingsTest : public testing::TestWithParam<GoodText> {};

TEST_P(GoodSettingsTest, AHasItsValue) {
    EXPECT_EQ(problem_of(GetParam().text), "");
    EXPECT_EQ(SettingsText("f", GetParam().text).value("A"), GetParam().value);
}

const GoodText kGoodTexts[] = {
    {"Plain", "[Radar]\nA=5\n", 5},
    {"Negative", "[Radar]\nA=-5\n", -5},
    {"LeadingZeros", "[Radar]\nA=0010\n", 10},
    {"BlanksAround", "[Radar]\n A = 5 \n", 5},
    {"LineEndsOfDos", "[Radar]\r\nA=5\r\n", 5},
    {"Largest", "[Radar]\nA=2147483647\n", std::numeric_limits<int32_t>::max()},
    {"Smallest", "[Radar]\nA=-2147483648\n", std::numeric_limits<int32_t>::min()},
    {"LastOfSeveral", "[Radar]\nA=1\nA=2\n", 2},
    {"InvalidUtf8Elsewhere", "#\xff\n[Radar]\nA=5\n", 5},
};

INSTANTIATE_TEST_SUITE_P(, GoodSettingsTest, testing::ValuesIn(kGoodTexts),
                         [](auto const& tested) { return tested.param.name; });

TEST(SettingsTextTest, KeysComeInTheOrderOfTheFileAndOnce) {
    EXPECT_THAT(SettingsText("f", "[X]\nq=1\n[Radar]\nb=1\na=2\nb=3\n").keys(),
                ElementsAre("b", "a"));
}

TEST(SettingsTextTest, ATextWithoutTheGroupHasNoSettings) {
    EXPECT_THAT(SettingsText("f", "# c\n[X]\nA=text\n").keys(), IsEmpty());
}

TEST(SettingsTextTest, AKeyThatIsThereTwiceIsReported) {
    EXPECT_THAT(SettingsText("f", "[Radar]\nA=1\nB=1\nA=2\n").repetitions(),
                ElementsAre("f: A occurs 2 times; line 4 counts"));
}

TEST(SettingsTextTest, AValueThatIsSetIsReadBack) {
    SettingsText settings("f", "[Radar]\nA=1\n");
    settings.set("A", std::numeric_limits<int32_t>::min());
    settings.set("Z", 0);
    EXPECT_EQ(settings.value("A"), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(settings.value("Z"), 0);
}

TEST(SettingsTextTest, AValueThatWasWrongIsMended) {
    SettingsText settings("f", "[Radar]\nA=x\nB=5\n");
    settings.set("A", 1);
    EXPECT_EQ(settings.problem(), "");
    EXPECT_EQ(settings.value("B"), 5);
}

TEST(SettingsTextTest, FiftyThousandSettingsAreNoProblem) {
    std::string text = "[Radar]\n";
    for (int i = 0; i < 50000; ++i)
        text += "k" + std::to_string(i) + "=" + std::to_string(i) + "\n";
    SettingsText settings("f", text);
    settings.set("k25000", -1);
    EXPECT_EQ(settings.value("k49999"), 49999);
    EXPECT_THAT(settings.repetitions(), IsEmpty());
}

}  // namespace
