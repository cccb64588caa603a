// petrelradar settings list and get

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "kit/settings/table.h"
#include "tests/tools/settings/fixture.h"

namespace {

using nlohmann::json;
using test_support::Outcome;
using test_support::read_file;
using test_support::write_file;
using tools_test::kDefault;
using tools_test::kFile;
using tools_test::SettingsTest;

using SettingsListTest = SettingsTest;
using SettingsGetTest = SettingsTest;

TEST_F(SettingsListTest, ASettingHasValueDefaultUnitReaderAndMeaning) {
    const Outcome outcome = run("[Radar]\nFileWriterFileTime=60\n", {"list"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.out,
                testing::ContainsRegex("\nFileWriterFileTime +60 +900 +s +objects +how old"));
}

TEST_F(SettingsListTest, ASettingThatIsNotInTheFileHasNoValue) {
    EXPECT_THAT(run("", {"list"}).out, testing::ContainsRegex("\nTargetLimit +- +128 +targets"));
}

TEST_F(SettingsListTest, WhatNobodyUnderstandsIsListedLast) {
    EXPECT_THAT(run("[Radar]\nMine=3\n", {"list"}).out,
                testing::ContainsRegex("\nMine +3 +- +- +- +not understood\n$"));
}

TEST_F(SettingsListTest, AsJsonItIsOneDocument) {
    const json list = json::parse(
        run("[Radar]\nFileWriterFileTime=60\nMine=3\n", {"list", "--format", "json"}).out);
    EXPECT_EQ(list["file"], kFile);
    EXPECT_EQ(list["settings"].front(), json({{"name", "FileWriterEnabled"},
                                              {"value", nullptr},
                                              {"understood", true},
                                              {"default", 1},
                                              {"unit", nullptr},
                                              {"of", "objects"},
                                              {"meaning", "1 records, 0 does not"}}));
    EXPECT_EQ(list["settings"].back(),
              json({{"name", "Mine"}, {"value", 3}, {"understood", false}}));
}

TEST_F(SettingsListTest, WithoutAFileTheServicesIsMeant) {
    write_file(kDefault, "[Radar]\nTargetLimit=77\n");
    EXPECT_THAT(test_support::run_inside({"settings", "list"}).out,
                testing::ContainsRegex("\nTargetLimit +77 "));
}

TEST_F(SettingsListTest, WithoutTheServicesFileEverythingHasItsDefault) {
    const Outcome outcome = test_support::run_inside({"settings", "list"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err,
              "petrelradar settings list: /etc/radar/radar.conf: not found; every setting has its "
              "default\n");
}

TEST_F(SettingsListTest, ASettingThatIsThereTwiceIsReported) {
    EXPECT_EQ(run("[Radar]\nTargetLimit=1\nTargetLimit=2\n", {"list"}).err,
              "petrelradar settings list: /tmp/etc/radar.conf: TargetLimit occurs 2 times; line "
              "3 counts\n");
}

TEST_F(SettingsListTest, EverySettingOfTheServiceIsListed) {
    const json list = json::parse(run("", {"list", "--format", "json"}).out);
    EXPECT_EQ(list["settings"].size(), Kit::all_settings().size());
}

TEST_F(SettingsGetTest, PrintsTheValueAndNothingElse) {
    const Outcome outcome = run("[Radar]\nTargetLimit=5\n", {"get", "TargetLimit"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "5\n");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(SettingsGetTest, PrintsTheDefaultAndSaysSo) {
    const Outcome outcome = run("", {"get", "TargetLimit"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "128\n");
    EXPECT_EQ(outcome.err,
              "petrelradar settings get: TargetLimit is not set; this is its default\n");
}

TEST_F(SettingsGetTest, WithoutValueAndDefaultItFails) {
    const Outcome outcome = run("[Radar]\nTargetLimit=5\n", {"get", "Mine"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "petrelradar settings get: Mine is not set, and has no default\n");
}

TEST_F(SettingsGetTest, WritesNothingToTheFile) {
    run("# c\n[Radar]\n", {"get", "TargetLimit"});
    EXPECT_EQ(read_file(kFile), "# c\n[Radar]\n");
}

TEST_F(SettingsGetTest, AFileThatWasNamedHasToBeThere) {
    const Outcome outcome = run_on("/tmp/none", {"get", "TargetLimit"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "petrelradar settings get: /tmp/none: No such file or directory\n");
}

}  // namespace
