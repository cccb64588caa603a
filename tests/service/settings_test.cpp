#include "service/settings.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "kit/base/input_error.h"
#include "kit/settings/table.h"
#include "tests/support/private_paths.h"

namespace {

using Service::Settings;
using test_support::write_file;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kFile[] = "/tmp/settings.conf";

class SettingsTest : public test_support::PrivatePathsTest {
protected:
    static Settings load(std::string const& content) {
        write_file(kFile, content);
        return Service::load_settings(kFile);
    }

    static std::string refusal(std::string const& file) {
        try {
            Service::load_settings(file);
        } catch (Kit::InputError const& error) {
            return error.what();
        }
        return "";
    }

    static std::string refusal_of(std::string const& content) {
        write_file(kFile, content);
        return refusal(kFile);
    }
};

TEST_F(SettingsTest, AValueOfTheFileIsFound) {
    EXPECT_EQ(load("[Radar]\nTargetLimit=9\n").value("TargetLimit"), 9);
}

TEST_F(SettingsTest, AnAbsentKeyHasItsDefault) {
    EXPECT_EQ(load("[Radar]\n").value("TargetLimit"), 128);
}

TEST_F(SettingsTest, LookingUpAnAbsentKeyLeavesTheFileAlone) {
    load("[Radar]\n# mine\n").value("TargetLimit");
    EXPECT_EQ(test_support::read_file(kFile), "[Radar]\n# mine\n");
}

TEST_F(SettingsTest, AnEmptyFileHasNoSettings) {
    EXPECT_EQ(load("").value("TargetLimit"), 128);
}

TEST_F(SettingsTest, AFileWithOtherGroupsOnlyHasNoSettings) {
    EXPECT_EQ(load("[Other]\nTargetLimit=word\n").value("TargetLimit"), 128);
}

TEST_F(SettingsTest, WithoutAFileTheProcessHasNoSettings) {
    EXPECT_EQ(Service::load_settings("").value("TargetLimit"), 128);
}

TEST_F(SettingsTest, TheFileOfTheProcessIsNamed) {
    EXPECT_EQ(Service::load_settings("").file(), "/etc/radar/radar.conf");
}

TEST_F(SettingsTest, ABadFileOfTheProcessIsRefused) {
    write_file("/etc/radar/radar.conf", "no group = 1\n");
    EXPECT_THAT(refusal(""), StartsWith("/etc/radar/radar.conf: "));
}

TEST_F(SettingsTest, AKeyThatMeansNothingIsToldApart) {
    EXPECT_EQ(
        load("[Radar]\nTargetLimit=3\nWatchdogTimeout=4\nFileWriterEnable=1\n").unknown_keys(),
        (std::vector<std::string>{"FileWriterEnable"}));
}

TEST_F(SettingsTest, AMissingFileIsRefused) {
    EXPECT_EQ(refusal("/tmp/none.conf"), "/tmp/none.conf: No such file or directory");
}

TEST_F(SettingsTest, ADirectoryIsRefused) {
    EXPECT_EQ(refusal("/tmp"), "/tmp: not a regular file");
}

TEST_F(SettingsTest, AFifoIsRefusedWithoutWaitingForItsWriter) {
    ASSERT_EQ(mkfifo("/tmp/fifo.conf", 0600), 0);
    EXPECT_EQ(refusal("/tmp/fifo.conf"), "/tmp/fifo.conf: not a regular file");
}

TEST_F(SettingsTest, ALineOutsideAGroupIsRefused) {
    EXPECT_THAT(refusal_of("FileWriterEnabled=1\n[Radar]\n"),
                AllOf(StartsWith("/tmp/settings.conf: "), HasSubstr("group")));
}

TEST_F(SettingsTest, ALineThatIsNoSettingIsRefused) {
    EXPECT_THAT(refusal_of("[Radar]\nFileWriterEnabled\n"),
                AllOf(StartsWith("/tmp/settings.conf: "), HasSubstr("FileWriterEnabled")));
}

TEST_F(SettingsTest, AValueThatIsNoIntegerIsRefusedWithItsKey) {
    EXPECT_THAT(refusal_of("[Radar]\nFileWriterFileTime=ten\n"),
                AllOf(StartsWith("/tmp/settings.conf: "), HasSubstr("FileWriterFileTime")));
}

TEST_F(SettingsTest, ARefusalIsOneLine) {
    EXPECT_THAT(refusal_of("[Radar]\nx=\xff\xfe\n"), testing::Not(HasSubstr("\n")));
    EXPECT_NE(refusal_of("[Radar]\nx=\xff\xfe\n"), "");
}

TEST_F(SettingsTest, AKeyThatDoesNotExistHasNoDefault) {
    EXPECT_THROW(load("").value("TargetLimits"), std::logic_error);
}

TEST_F(SettingsTest, AValueOutsideOfItsRangeIsRefusedWithTheRange) {
    EXPECT_EQ(refusal_of("[Radar]\nWatchdogTimeout=0\n"),
              "/tmp/settings.conf: WatchdogTimeout is 0, not between 1 and 86400");
    EXPECT_EQ(refusal_of("[Radar]\nTargetLimit=-1\n"),
              "/tmp/settings.conf: TargetLimit is -1, not between 1 and 65536");
}

TEST_F(SettingsTest, EverySettingHasItsRangeChecked) {
    for (Kit::Setting const& setting : Kit::all_settings()) {
        const std::string lines = std::string("[Radar]\n") + setting.name + "=" +
                                  std::to_string(setting.lowest - 1) + "\n";
        const std::string finding = Kit::outside_of_range(setting, setting.lowest - 1);
        if (setting.outside == Kit::Setting::Outside::kRefused) {
            EXPECT_THAT(refusal_of(lines), HasSubstr(finding));
        } else {
            EXPECT_THAT(load(lines).warnings(), ElementsAre(HasSubstr(finding)));
        }
    }
}

TEST_F(SettingsTest, AnUnknownLocationIsRefused) {
    EXPECT_EQ(refusal_of("[Radar]\nDataFileWriterLocation=2\n"),
              "/tmp/settings.conf: DataFileWriterLocation is 2, not between 0 and 1");
}

TEST_F(SettingsTest, ASettingInAnotherGroupIsReported) {
    EXPECT_THAT(load("[radar]\nFileWriterLocation=1\n").warnings(),
                ElementsAre("/tmp/settings.conf: FileWriterLocation stands in the group [radar] "
                            "and is ignored: move it to [Radar]"));
}

TEST_F(SettingsTest, UnknownSettingsAreNamedUpToANumber) {
    std::string content = "[Radar]\n";
    for (int i = 0; i < 1000; ++i) content += "Mine" + std::to_string(i) + "=1\n";
    const auto warnings = load(content).warnings();
    EXPECT_EQ(warnings.size(), 9U);
    EXPECT_EQ(warnings[0], "/tmp/settings.conf: no such setting: Mine0");
    EXPECT_EQ(warnings[8], "/tmp/settings.conf: 992 more settings that do not exist");
}

}  // namespace
