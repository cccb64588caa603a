#include "tools/screen/line.h"

#include <gmock/gmock.h>

#include "tools/cli/ansi.h"

namespace {

using testing::ElementsAre;
using Tools::fit_lines;
using Tools::Ansi::kRed;

TEST(ScreenLineTest, ThereAreAsManyLinesAsTheWindowHas) {
    EXPECT_THAT(fit_lines({{"", "a"}, {"", "b"}, {"", "c"}}, {80, 2}, false),
                ElementsAre("a", "b"));
}

TEST(ScreenLineTest, ALineIsCutAtTheWindowsWidth) {
    EXPECT_THAT(fit_lines({{"", "abcdef"}, {"", "ab"}}, {3, 24}, false), ElementsAre("abc", "ab"));
}

TEST(ScreenLineTest, ALineIsCutBetweenCharacters) {
    EXPECT_THAT(fit_lines({{"", "µµµµ"}}, {3, 24}, false), ElementsAre("µµµ"));
}

TEST(ScreenLineTest, AColourTakesNoRoom) {
    EXPECT_THAT(fit_lines({{kRed, "abcdef"}}, {3, 24}, true), ElementsAre("\x1b[31mabc\x1b[0m"));
}

TEST(ScreenLineTest, WithoutColoursOnlyTheTextIsLeft) {
    EXPECT_THAT(fit_lines({{kRed, "abc"}}, {3, 24}, false), ElementsAre("abc"));
}

}  // namespace
