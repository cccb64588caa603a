#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>

#include "kit/settings/table.h"
#include "kit/status/document.h"
#include "service/command_line.h"
#include "tests/support/private_paths.h"

/** What the page about the service has to name. */
namespace {

class ServicePageTest : public testing::Test {
protected:
    void expect_on_page(std::string const& name) const {
        // In code letters, perhaps behind other names or with a value behind it.
        const std::regex code("`[^`\n]*" + name + "[^`\n]*`");
        EXPECT_TRUE(std::regex_search(page_, code)) << name;
    }

    std::string page_ =
        test_support::read_file(std::string(PETRELRADAR_SOURCE_DIR) + "/docs/service.md");
};

void collect_names(nlohmann::json const& value, std::set<std::string>& names) {
    if (value.is_array()) {
        for (auto const& element : value) collect_names(element, names);
    } else if (value.is_object()) {
        for (auto const& [name, member] : value.items()) {
            names.insert(name);
            collect_names(member, names);
        }
    }
}

TEST_F(ServicePageTest, NamesEveryOption) {
    std::ostringstream help;
    char const* const arguments[] = {"petrelradard", "--help"};
    Service::parse_options(2, arguments, help);
    const std::string text = help.str();
    const std::regex option("\n  (--[a-z-]+)");
    int found = 0;
    for (std::sregex_iterator match(text.begin(), text.end(), option), end; match != end; ++match) {
        expect_on_page((*match)[1]);
        ++found;
    }
    EXPECT_EQ(found, 11);
}

TEST_F(ServicePageTest, NamesEverySetting) {
    for (Kit::Setting const& setting : Kit::all_settings()) expect_on_page(setting.name);
}

TEST_F(ServicePageTest, NamesEveryFieldOfTheStatus) {
    Kit::Status status;
    status.recorders["objects"] = {};
    status.stream.clients.push_back({});
    status.failures.push_back({});
    std::set<std::string> names;
    collect_names(nlohmann::json::parse(Kit::status_document(status)), names);
    EXPECT_GT(names.size(), 40U);
    for (std::string const& name : names) expect_on_page(name);
}

}  // namespace
