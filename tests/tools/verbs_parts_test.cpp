// Verbs that divide into verbs of their own.

#include <gmock/gmock.h>

#include <sstream>

#include "tests/support/inside.h"
#include "tests/support/private_paths.h"
#include "tools/verbs.h"

namespace {

using test_support::Outcome;
using test_support::run_inside;
using testing::HasSubstr;
using testing::StartsWith;

class SubVerbTest : public test_support::PrivatePathsTest {
protected:
    /** The verbs below others, with the name of the one above. */
    static std::vector<std::pair<std::string, Tools::Verb>> all() {
        std::vector<std::pair<std::string, Tools::Verb>> found;
        for (Tools::Verb const& verb : Tools::all_verbs()) {
            for (Tools::Verb const& part : verb.verbs) found.emplace_back(verb.name, part);
        }
        EXPECT_GE(found.size(), 8U);
        return found;
    }
};

TEST_F(SubVerbTest, HelpOpensWithExamplesOfTheVerbItself) {
    for (auto const& [above, verb] : all()) {
        const Outcome outcome = run_inside({above, verb.name, "--help"});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "");
        EXPECT_THAT(outcome.out, StartsWith("Examples:\n  petrelradar " + above + " " + verb.name));
        EXPECT_THAT(outcome.out, HasSubstr("\nUsage: petrelradar " + above + " " + verb.name));
    }
}

TEST_F(SubVerbTest, HelpFitsATerminalOfAHundredColumns) {
    for (auto const& [above, verb] : all()) {
        std::istringstream help(run_inside({above, verb.name, "--help"}).out);
        for (std::string line; std::getline(help, line);) EXPECT_LE(line.size(), 100U) << line;
    }
}

TEST_F(SubVerbTest, TheHelpOfTheVerbAboveListsThem) {
    for (auto const& [above, verb] : all()) {
        const std::string help = run_inside({above, "--help"}).out;
        EXPECT_THAT(help, StartsWith("Examples:\n  petrelradar " + above + " "));
        EXPECT_THAT(help, HasSubstr("\n  " + verb.name + " "));
    }
}

TEST_F(SubVerbTest, WithoutOneTheVerbAbovePrintsItsHelp) {
    const Outcome outcome = run_inside({"regs"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, StartsWith("Examples:\n  petrelradar regs read control\n"));
}

TEST_F(SubVerbTest, AnUnknownOneIsNamed) {
    const Outcome outcome = run_inside({"regs", "raed", "control"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err,
              "petrelradar regs: unknown verb 'raed'\nTry 'petrelradar regs --help'.\n");
}

TEST_F(SubVerbTest, AnUnknownOptionOfTheVerbAboveIsNamed) {
    EXPECT_EQ(
        run_inside({"settings", "--bogus"}).err,
        "petrelradar settings: unknown option '--bogus'\nTry 'petrelradar settings --help'.\n");
}

TEST_F(SubVerbTest, AnUnknownOptionOfOneIsItsOwnProblem) {
    EXPECT_EQ(run_inside({"settings", "list", "--bogus"}).err,
              "petrelradar settings list: The following argument was not expected: --bogus\n"
              "Try 'petrelradar settings list --help'.\n");
}

}  // namespace
