// The manual pages, as a formatter shows them, beside what --help prints.

#include "tools/man_page.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <regex>
#include <sstream>

#include "tests/support/private_paths.h"
#include "tests/support/process.h"
#include "tests/support/shell.h"
#include "tools/command_line.h"
#include "tools/verbs.h"

namespace {

using test_support::run;
using test_support::run_in_shell;
using testing::HasSubstr;

/** A text without the line breaks, the spaces and the hyphens that laying it out puts in. */
std::string plain(std::string const& text) {
    std::string result = std::regex_replace(text, std::regex("-\\n\\s*"), "-");
    result.erase(std::remove_if(result.begin(), result.end(),
                                [](char c) { return c == ' ' || c == '\n' || c == '\t'; }),
                 result.end());
    return result;
}

class ManPageTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        if (run_in_shell("command -v mandoc").status != 0) GTEST_SKIP() << "mandoc is missing";
    }

    /** The page of a verb, laid out without bold and underlined characters. */
    static std::string page(std::string const& name) {
        write_page(name);
        return plain(run_in_shell("mandoc -T ascii /tmp/page.1 | sed 's/.\\x08//g'").out);
    }

    static void write_page(std::string const& name) {
        const std::vector<Tools::Verb> verbs = Tools::all_verbs();
        const auto pages = Tools::man_pages(Tools::command_tree(verbs), verbs);
        test_support::write_file("/tmp/page.1", pages.at(name));
    }

    /** Every line of a help text that explains an option, an argument or a verb. */
    static void expect_page_says_what_help_says(std::string const& name,
                                                std::vector<std::string> arguments) {
        arguments.emplace_back("--help");
        const std::string text = page(name);
        std::istringstream help(run(arguments).out);
        bool any = false;
        for (std::string line; std::getline(help, line);) {
            if (line.rfind("  ", 0) != 0) continue;  // a heading, or the details
            line = std::regex_replace(line, std::regex("^ *-h,--help "), "");
            std::istringstream columns(line);
            for (std::string word; columns >> word;) EXPECT_THAT(text, HasSubstr(word)) << line;
            any = true;
        }
        EXPECT_TRUE(any);
    }
};

TEST_F(ManPageTest, EveryVerbHasOne) {
    const std::vector<Tools::Verb> verbs = Tools::all_verbs();
    EXPECT_EQ(Tools::man_pages(Tools::command_tree(verbs), verbs).size(), verbs.size() + 1);
}

TEST_F(ManPageTest, EachSaysOfEveryOptionWhatTheHelpSays) {
    for (Tools::Verb const& verb : Tools::all_verbs()) {
        expect_page_says_what_help_says("petrelradar-" + verb.name + ".1", {verb.name});
    }
}

TEST_F(ManPageTest, AVerbsVerbsStandOnItsPage) {
    for (Tools::Verb const& verb : Tools::all_verbs()) {
        for (Tools::Verb const& part : verb.verbs) {
            expect_page_says_what_help_says("petrelradar-" + verb.name + ".1",
                                            {verb.name, part.name});
        }
    }
}

TEST_F(ManPageTest, EachHasTheDetailsOfTheHelp) {
    for (Tools::Verb const& verb : Tools::all_verbs()) {
        EXPECT_THAT(page("petrelradar-" + verb.name + ".1"), HasSubstr(plain(verb.details)));
    }
}

TEST_F(ManPageTest, TheProgramsListsTheVerbs) {
    expect_page_says_what_help_says("petrelradar.1", {});
}

/** But for the date: a page is that of a version, whenever it was built. */
TEST_F(ManPageTest, NoneHasAFaultThatTheFormatterFinds) {
    std::vector<std::string> names = {"petrelradar.1"};
    for (Tools::Verb const& verb : Tools::all_verbs()) {
        names.push_back("petrelradar-" + verb.name + ".1");
    }
    for (std::string const& name : names) {
        write_page(name);
        EXPECT_EQ(
            run_in_shell("mandoc -T lint -W warning /tmp/page.1 | grep -v 'missing date'").out, "")
            << name;
    }
}

}  // namespace
