#include "kit/base/text.h"

#include <gmock/gmock.h>

namespace {

TEST(TextTest, ControlCharactersOfBothSetsAreReplaced) {
    EXPECT_EQ(Kit::printable("a\tb\x7f\xc2\x80\xc2\x9f\xc2\xa0z"), "a?b???\xc2\xa0z");
}

TEST(TextTest, BytesThatAreNotUtf8StayPrintable) {
    EXPECT_EQ(Kit::printable("\xc2"), "\xc2");
    EXPECT_EQ(Kit::printable("a\xffz"), "a\xffz");
}

TEST(TextTest, AQuotedWordIsPrintable) {
    EXPECT_EQ(Kit::quoted("a\nb"), "'a?b'");
}

TEST(TextTest, OneThingIsSingular) {
    EXPECT_EQ(Kit::count_text(0, "frame"), "0 frames");
    EXPECT_EQ(Kit::count_text(1, "frame"), "1 frame");
    EXPECT_EQ(Kit::count_text(18446744073709551615U, "byte"), "18446744073709551615 bytes");
}

TEST(TextTest, WordsAreJoinedBySeparatorsBetweenThem) {
    EXPECT_EQ(Kit::joined({"a", "b", "c"}, ", "), "a, b, c");
    EXPECT_EQ(Kit::joined({"a"}, ", "), "a");
    EXPECT_EQ(Kit::joined({}, ", "), "");
}

TEST(TextTest, CharactersOfEverySizeAreValid) {
    EXPECT_EQ(Kit::valid_utf8("m\u00fcnchen \u20ac \U0001F600"), "m\u00fcnchen \u20ac \U0001F600");
}

TEST(TextTest, EveryByteOfNoCharacterIsReplaced) {
    EXPECT_EQ(Kit::valid_utf8("a\xff\xc3"), "a??");
    EXPECT_EQ(Kit::valid_utf8("\xed\xa0\x80"), "???");       // half of a surrogate pair
    EXPECT_EQ(Kit::valid_utf8("\xc0\xaf"), "??");            // a slash in two bytes
    EXPECT_EQ(Kit::valid_utf8("\xf4\x90\x80\x80"), "????");  // beyond Unicode
    EXPECT_EQ(Kit::valid_utf8("\xef\xbf\xbf"), "???");       // no character, and none of XML's
}

TEST(TextTest, CharactersAreParted) {
    EXPECT_THAT(Kit::characters_of("a\u20ac\xffz"),
                testing::ElementsAre("a", "\u20ac", "\xff", "z"));
}

}  // namespace
