// docs/command-line.md knows every verb, leads to pages that are there, and names what the
// documents hold.

#include <gmock/gmock.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>

#include "tests/tools/registers/fixture.h"
#include "tools/verbs.h"

namespace {

using nlohmann::json;
using test_support::Outcome;
using test_support::read_file;
using testing::HasSubstr;

constexpr char kDocs[] = PETRELRADAR_SOURCE_DIR "/docs/";

std::string page() {
    return read_file(std::string(kDocs) + "command-line.md");
}

/** Everything between back quotes. */
std::set<std::string> words_of_code() {
    const std::string text = page();
    const std::regex code("`([^`\n]+)`");
    std::set<std::string> words;
    for (std::sregex_iterator found(text.begin(), text.end(), code), end; found != end; ++found) {
        words.insert((*found)[1]);
    }
    return words;
}

TEST(CommandLinePageTest, HasARowForEveryVerbInTheOrderOfTheHelp) {
    size_t position = 0;
    for (Tools::Verb const& verb : Tools::all_verbs()) {
        const size_t row = page().find("\n| `" + verb.name + "` | ");
        ASSERT_NE(row, std::string::npos) << verb.name;
        EXPECT_GT(row, position) << verb.name;
        position = row;
    }
}

TEST(CommandLinePageTest, NamesTheVerbsBelowOthers) {
    const std::set<std::string> words = words_of_code();
    for (Tools::Verb const& verb : Tools::all_verbs()) {
        for (Tools::Verb const& part : verb.verbs) EXPECT_EQ(words.count(part.name), 1U);
    }
}

/** What a heading is called in a link: "JSON of regs" is json-of-regs. */
std::string anchor(std::string const& heading) {
    std::string name;
    for (const char each : heading) {
        const auto c = static_cast<unsigned char>(each);
        if (each == ' ') name += '-';
        if (std::isalnum(c) != 0 || each == '-') name += static_cast<char>(std::tolower(c));
    }
    return name;
}

bool has_heading(std::string const& text, std::string const& wanted) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const size_t begin = line.find_first_not_of('#');
        if (begin == 0 || begin == std::string::npos || line[begin] != ' ') continue;
        if (anchor(line.substr(begin + 1)) == wanted) return true;
    }
    return false;
}

TEST(CommandLinePageTest, LeadsToPagesAndHeadingsThatAreThere) {
    const std::string text = page();
    const std::regex link(R"(\]\(([^)#]*)(?:#([^)]*))?\))");
    int count = 0;
    for (std::sregex_iterator found(text.begin(), text.end(), link), end; found != end; ++found) {
        ++count;
        const std::string file = (*found)[1];
        const std::string target = file.empty() ? text : read_file(kDocs + file);
        EXPECT_TRUE(!(*found)[2].matched || has_heading(target, (*found)[2])) << found->str();
    }
    EXPECT_GT(count, 15);
}

/** Adds the names of all fields, but for those of objects that have names of the chip's. */
void add_names(json const& document, std::set<std::string>& names) {
    for (auto const& [key, value] : document.items()) {
        if (document.is_object()) names.insert(key);
        if (key == "fields") {
            if (!value.empty() && value.front().is_object()) add_names(value.front(), names);
        } else if (value.is_structured()) {
            add_names(value, names);
        }
    }
}

void expect_on_page(Outcome const& outcome) {
    std::set<std::string> names;
    add_names(json::parse(outcome.out), names);
    EXPECT_GT(names.size(), 1U);
    const std::set<std::string> words = words_of_code();
    for (std::string const& name : names) {
        EXPECT_GT(words.count(name) + words.count(name + "[]"), 0U) << name;
    }
}

class CommandLinePageJsonTest : public tools_test::RegsTest {};

TEST_F(CommandLinePageJsonTest, NamesTheFieldsOfRegsRead) {
    expect_on_page(regs({"read", "control", "--format", "json"}));
}

TEST_F(CommandLinePageJsonTest, NamesTheFieldsOfRegsDump) {
    expect_on_page(regs({"dump", "--format", "json"}));
}

TEST_F(CommandLinePageJsonTest, NamesTheFieldsOfRegsDiff) {
    test_support::write_file("/tmp/before", regs({"dump"}).out);
    regs({"write", "control.frame_rate=31"});
    expect_on_page(regs({"diff", "/tmp/before", "--format", "json"}));
}

TEST_F(CommandLinePageJsonTest, NamesTheFieldsOfRegsWatch) {
    expect_on_page(regs({"watch", "control", "--format", "ndjson", "--count", "1"}));
}

TEST_F(CommandLinePageJsonTest, NamesTheFieldsOfSettings) {
    expect_on_page(test_support::run_inside({"settings", "list", "--format", "json"}));
}

}  // namespace
