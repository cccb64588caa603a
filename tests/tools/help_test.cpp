#include "tools/help.h"

#include <gmock/gmock.h>

#include "tests/support/process.h"
#include "tools/verbs.h"

namespace {

using test_support::Outcome;
using test_support::run;

std::vector<std::string> with(std::string const& first, std::vector<std::string> words) {
    words.insert(words.begin(), first);
    return words;
}

/** "help" and the words print what the words and --help do. */
void expect_same_help(std::vector<std::string> const& words) {
    std::vector<std::string> asked = words;
    asked.push_back("--help");
    const Outcome outcome = run(with("help", words));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, run(asked).out);
    EXPECT_EQ(outcome.err, "");
}

TEST(HelpTest, WithoutAVerbItIsTheHelpOfTheProgram) {
    expect_same_help({});
}

TEST(HelpTest, OfAVerbItIsWhatItsOptionPrints) {
    for (Tools::Verb const& verb : Tools::all_verbs()) expect_same_help({verb.name});
}

TEST(HelpTest, OfAVerbThatAnotherOneDividesIntoItIsWhatItsOptionPrints) {
    expect_same_help({"regs", "read"});
    expect_same_help({"settings", "set"});
}

TEST(HelpTest, AnUnknownVerbIsAUsageError) {
    for (std::vector<std::string> const& words :
         {std::vector<std::string>{"frob"}, {"regs", "frob"}, {"cut", "frob"}}) {
        const Outcome outcome = run(with("help", words));
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err,
                  "petrelradar help: unknown verb 'frob'\nTry 'petrelradar help --help'.\n");
    }
}

}  // namespace
