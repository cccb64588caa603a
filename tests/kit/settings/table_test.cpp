#include "kit/settings/table.h"

#include <gmock/gmock.h>

#include <set>

namespace {

using Kit::all_settings;
using Kit::Setting;
using testing::AnyOf;
using testing::Not;
using testing::StrEq;

TEST(SettingsTableTest, EveryDefaultIsInItsRange) {
    for (Setting const& setting : all_settings()) {
        EXPECT_TRUE(setting.accepts(setting.default_value)) << setting.name;
    }
}

TEST(SettingsTableTest, EveryNameStandsThereOnce) {
    std::set<std::string> names;
    for (Setting const& setting : all_settings()) names.insert(setting.name);
    EXPECT_EQ(names.size(), all_settings().size());
}

TEST(SettingsTableTest, EverySettingHasAReaderAndAMeaning) {
    for (Setting const& setting : all_settings()) {
        EXPECT_THAT(setting.reader,
                    AnyOf(StrEq("objects"), StrEq("raw"), StrEq("objects, raw"),
                          StrEq("objects, raw, diagnostics"), StrEq("diagnostics"), StrEq("host")))
            << setting.name;
        EXPECT_THAT(setting.meaning, Not(StrEq(""))) << setting.name;
    }
}

TEST(SettingsTableTest, ASettingIsFoundByItsName) {
    EXPECT_STREQ(Kit::find_setting("TargetLimit")->unit, "targets");
    EXPECT_EQ(Kit::find_setting("TargetLimits"), nullptr);
}

TEST(SettingsTableTest, TheRangeIsPartOfTheMessage) {
    EXPECT_EQ(Kit::outside_of_range(*Kit::find_setting("FileWriterLocation"), 7),
              "FileWriterLocation is 7, not between 0 and 1");
}

}  // namespace
