// The completion scripts, as the shells themselves take them.

#include "tools/completion.h"

#include <gmock/gmock.h>

#include <sstream>

#include "tests/support/private_paths.h"
#include "tests/support/shell.h"
#include "tools/verbs.h"

namespace {

using test_support::run_in_shell;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

std::vector<std::string> lines_of(std::string const& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

/** A shell, with the program's completion in the file kScript. */
class CompletionTest : public test_support::PrivatePathsTest {
protected:
    static constexpr char kScript[] = "/tmp/completion";

    void use(std::string const& shell) {
        if (run_in_shell("command -v " + shell).status != 0) GTEST_SKIP() << shell << " is missing";
        const auto made = run_in_shell(PETRELRADAR_PROGRAM " completion " + shell);
        ASSERT_EQ(made.status, 0);
        test_support::write_file(kScript, made.out);
    }
};

class BashCompletionTest : public CompletionTest {
protected:
    void SetUp() override {
        CompletionTest::SetUp();
        if (!IsSkipped()) use("bash");
    }

    /** What bash offers for the last of the words, in /tmp with two files. */
    static std::vector<std::string> offers(std::string const& words) {
        test_support::write_file("/tmp/offers.sh",
                                 "cd /tmp; touch radar_1.data 'radar 2.data'; . /tmp/completion\n"
                                 "COMP_WORDS=(petrelradar " +
                                     words +
                                     ")\n"
                                     "COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
                                     "_petrelradar\n"
                                     "printf '%s\\n' \"${COMPREPLY[@]}\"\n");
        return lines_of(run_in_shell("bash --norc -u /tmp/offers.sh").out);
    }
};

TEST_F(BashCompletionTest, OffersEveryVerb) {
    for (Tools::Verb const& verb : Tools::all_verbs()) {
        EXPECT_THAT(offers("''"), Contains(verb.name));
    }
}

TEST_F(BashCompletionTest, CompletesAVerb) {
    EXPECT_THAT(offers("doc"), ElementsAre("doctor"));
}

TEST_F(BashCompletionTest, OffersTheVerbsOfAVerb) {
    EXPECT_THAT(offers("settings ''"), ElementsAre("list", "get", "set"));
}

TEST_F(BashCompletionTest, CompletesAnOptionOfTheVerb) {
    EXPECT_THAT(offers("cat --fol"), ElementsAre("--follow"));
}

TEST_F(BashCompletionTest, CompletesAnOptionOfAVerbsVerb) {
    EXPECT_THAT(offers("regs write --ver"), ElementsAre("--verify"));
}

TEST_F(BashCompletionTest, OffersNoOptionOfAnotherVerb) {
    EXPECT_THAT(offers("info --fol"), Not(Contains("--follow")));
}

TEST_F(BashCompletionTest, OffersTheValuesOfAChoice) {
    EXPECT_THAT(offers("cat --format ''"), ElementsAre("text", "ndjson", "csv"));
}

TEST_F(BashCompletionTest, OffersFilesForASource) {
    EXPECT_THAT(offers("info radar"), UnorderedElementsAre("radar_1.data", "radar 2.data"));
}

TEST_F(BashCompletionTest, OffersFilesForAnOptionThatTakesOne) {
    EXPECT_THAT(offers("export radar_1.data -o rada"), Contains("radar_1.data"));
}

TEST_F(BashCompletionTest, OffersNoFilesForAnOptionThatTakesNone) {
    EXPECT_THAT(offers("cat --start rada"), Not(Contains("radar_1.data")));
}

class FishCompletionTest : public CompletionTest {
protected:
    void SetUp() override {
        CompletionTest::SetUp();
        if (!IsSkipped()) use("fish");
    }

    /** What fish offers for the end of the line: words, each with a tab and what it means. */
    static std::vector<std::string> offers(std::string const& line) {
        return lines_of(run_in_shell("cd /tmp && touch radar_1.data && HOME=/tmp fish -N -c "
                                     "'source /tmp/completion; complete -C \"petrelradar " +
                                     line + "\"'")
                            .out);
    }
};

TEST_F(FishCompletionTest, CompletesAVerbAndTellsWhatItDoes) {
    EXPECT_THAT(offers("inf"), ElementsAre("info\tTell what there is to know of a recording"));
}

TEST_F(FishCompletionTest, CompletesAnOptionOfTheVerb) {
    EXPECT_THAT(offers("cat --fol"), ElementsAre(testing::StartsWith("--follow\tGo on")));
}

TEST_F(FishCompletionTest, OffersTheValuesOfAChoice) {
    const std::vector<std::string> words = offers("cat --format nd");
    ASSERT_THAT(words, Not(IsEmpty()));
    EXPECT_THAT(words.front(), testing::StartsWith("ndjson"));
}

TEST_F(FishCompletionTest, KeepsTheVerbsOfAVerbApart) {
    EXPECT_THAT(offers("regs diff --brie"), IsEmpty());
}

TEST_F(FishCompletionTest, OffersFilesForASource) {
    EXPECT_THAT(offers("info rada"), Contains(testing::StartsWith("radar_1.data")));
}

class ZshCompletionTest : public CompletionTest {
protected:
    void SetUp() override {
        CompletionTest::SetUp();
        if (!IsSkipped()) use("zsh");
    }

    /** What a zsh in a terminal makes of a line after the tab key, between < and >. */
    static std::string complete(std::string const& line) {
        test_support::write_file("/tmp/.zshrc",
                                 "mkdir /tmp/desk; cd /tmp/desk; : > radar_1.data; PS1='READY '\n"
                                 "autoload -U compinit; compinit -u -D; . /tmp/completion\n"
                                 "show() { print -r -- \"<$BUFFER>\" }; zle -N show\n"
                                 "bindkey '^Xq' show\n");
        test_support::write_file("/tmp/complete.zsh",
                                 "zmodload zsh/zpty\n"
                                 "zpty z 'HOME=/tmp ZDOTDIR=/tmp TERM=dumb zsh -i'\n"
                                 "zpty -r z reply '*READY *'\n"
                                 "zpty -w -n z $'petrelradar " +
                                     line +
                                     "\\t\\C-xq'\n"
                                     "zpty -r z reply '*<*>*'\n"
                                     "print -r -- $reply\n"
                                     "zpty -d z\n");
        return run_in_shell("timeout 20 zsh -f /tmp/complete.zsh").out;
    }
};

TEST_F(ZshCompletionTest, CompletesAVerb) {
    EXPECT_THAT(complete("doct"), testing::HasSubstr("<petrelradar doctor >"));
}

TEST_F(ZshCompletionTest, CompletesAnOptionOfAVerbsVerb) {
    EXPECT_THAT(complete("regs write --ver"),
                testing::HasSubstr("<petrelradar regs write --verify"));
}

TEST_F(ZshCompletionTest, CompletesTheValueOfAChoice) {
    EXPECT_THAT(complete("cat --format nd"),
                testing::HasSubstr("<petrelradar cat --format ndjson"));
}

TEST_F(ZshCompletionTest, CompletesAFileForASource) {
    EXPECT_THAT(complete("info rada"), testing::HasSubstr("<petrelradar info radar_1.data"));
}

}  // namespace
