// The program as a whole: what every verb has in common.

#include "tools/program.h"

#include <gmock/gmock.h>

#include <regex>
#include <sstream>

#include "tests/support/process.h"
#include "tools/verbs.h"

namespace {

using test_support::Outcome;
using test_support::run;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

struct Case {
    char const* name;
    std::vector<std::string> arguments;
    int status;
    char const* out_begins;  // empty: nothing on standard output
    char const* err_begins;  // empty: nothing on standard error
};

std::ostream& operator<<(std::ostream& os, Case const& tested) {
    return os << tested.name;
}

class CommandLineTest : public testing::TestWithParam<Case> {};

void expect_begin(std::string const& text, std::string const& begin) {
    if (begin.empty()) {
        EXPECT_EQ(text, "");
    } else {
        EXPECT_THAT(text, StartsWith(begin));
    }
}

TEST_P(CommandLineTest, IsAnsweredOnTheRightStreamWithTheRightStatus) {
    const Outcome outcome = run(GetParam().arguments);
    EXPECT_EQ(outcome.status, GetParam().status);
    expect_begin(outcome.out, GetParam().out_begins);
    expect_begin(outcome.err, GetParam().err_begins);
}

const Case kCases[] = {
    {"Nothing", {}, 2, "", "Examples:\n  petrelradar "},
    {"Help", {"--help"}, 0, "Examples:\n  petrelradar ", ""},
    {"ShortHelp", {"-h"}, 0, "Examples:\n  petrelradar ", ""},
    {"HelpOfAVerb", {"listen", "--help"}, 0, "Examples:\n  petrelradar listen", ""},
    {"Version", {"--version"}, 0, "petrelradar 0.", ""},
    {"UnknownVerb",
     {"lisen"},
     2,
     "",
     "petrelradar: unknown verb 'lisen'\nTry 'petrelradar --help'.\n"},
    {"UnknownOption",
     {"--bogus"},
     2,
     "",
     "petrelradar: unknown option '--bogus'\nTry 'petrelradar --help'.\n"},
    {"UnknownOptionOfAVerb",
     {"listen", "--bogus"},
     2,
     "",
     "petrelradar listen: The following argument was not expected: --bogus\n"
     "Try 'petrelradar listen --help'.\n"},
    {"OneArgumentTooMany",
     {"listen", "unix:/a", "unix:/b"},
     2,
     "",
     "petrelradar listen: The following argument was not expected: unix:/b\n"},
    {"OptionWithoutItsValue", {"listen", "--frames"}, 2, "", "petrelradar listen: --frames"},
    {"NoFrames",
     {"listen", "--frames", "0"},
     2,
     "",
     "petrelradar listen: --frames: '0' is not a whole number above 0\n"},
    {"NegativeFrames",
     {"listen", "--frames=-1"},
     2,
     "",
     "petrelradar listen: --frames: '-1' is not a whole number above 0\n"},
    {"FramesThatAreNoNumber",
     {"listen", "--frames", "12abc"},
     2,
     "",
     "petrelradar listen: --frames: '12abc' is not a whole number above 0\n"},
    {"MoreFramesThanANumberHolds",
     {"listen", "--frames", "18446744073709551616"},
     2,
     "",
     "petrelradar listen: --frames: '18446744073709551616' is not a whole number above 0\n"},
    {"UnknownFormat",
     {"listen", "--format", "xml"},
     2,
     "",
     "petrelradar listen: --format: unknown value 'xml' (expected one of lines, text, ndjson, "
     "csv)\n"},
};

INSTANTIATE_TEST_SUITE_P(, CommandLineTest, testing::ValuesIn(kCases),
                         [](auto const& tested) { return tested.param.name; });

TEST(ProgramTest, EveryVerbHasExamplesThatBeginWithItsName) {
    for (Tools::Verb const& verb : Tools::all_verbs()) {
        EXPECT_THAT(verb.examples, testing::Not(IsEmpty())) << verb.name;
        for (auto const& example : verb.examples) {
            EXPECT_EQ(example.arguments.substr(0, example.arguments.find(' ')), verb.name);
        }
    }
}

TEST(ProgramTest, TheHelpListsEveryVerb) {
    const std::string help = std::regex_replace(run({"--help"}).out, std::regex("\\s+"), " ");
    for (Tools::Verb const& verb : Tools::all_verbs()) {
        EXPECT_THAT(help, HasSubstr(" " + verb.name + " " + verb.summary + " "));
    }
}

TEST(ProgramTest, TheHelpFitsATerminalOfAHundredColumns) {
    for (Tools::Verb const& verb : Tools::all_verbs()) {
        std::istringstream help(run({verb.name, "--help"}).out);
        for (std::string line; std::getline(help, line);) EXPECT_LE(line.size(), 100U) << line;
    }
}

TEST(ProgramTest, HelpThatNobodyReadsEndsQuietly) {
    test_support::Program program({"--help"});
    program.stop_reading();
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
}

TEST(ProgramTest, AMessageIsColouredOnATerminal) {
    EXPECT_THAT(run({"bogus"}, {{}, 80, 24, true}).out, HasSubstr("\x1b[31munknown verb 'bogus'"));
}

TEST(ProgramTest, AMessageIsNotColouredWithNoColor) {
    EXPECT_THAT(run({"bogus"}, {{"NO_COLOR=1"}, 80, 24, true}).out,
                testing::Not(HasSubstr("\x1b")));
}

TEST(ProgramTest, AMessageIsNotColouredOnATerminalThatCannotDoIt) {
    EXPECT_THAT(run({"bogus"}, {{"TERM=dumb"}, 80, 24, true}).out,
                HasSubstr("petrelradar: unknown verb 'bogus'"));
}

}  // namespace
