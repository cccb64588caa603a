#include "service/settings.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "kit/base/input_error.h"
#include "tests/support/private_paths.h"

namespace {

using Entries = std::vector<std::pair<std::string, int>>;
using Service::Settings;
using test_support::write_file;
using testing::AllOf;
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
    EXPECT_EQ(load("[Radar]\nTargetLimit=9\n").value("TargetLimit", 1), 9);
}

TEST_F(SettingsTest, AnAbsentKeyHasTheValueThatIsAskedFor) {
    EXPECT_EQ(load("[Radar]\n").value("TargetLimit", 42), 42);
}

TEST_F(SettingsTest, LookingUpAnAbsentKeyLeavesTheFileAlone) {
    load("[Radar]\n# mine\n").value("TargetLimit", 42);
    EXPECT_EQ(test_support::read_file(kFile), "[Radar]\n# mine\n");
}

TEST_F(SettingsTest, AnEmptyFileHasNoSettings) {
    EXPECT_EQ(load("").value("TargetLimit", 42), 42);
}

TEST_F(SettingsTest, AFileWithOtherGroupsOnlyHasNoSettings) {
    EXPECT_EQ(load("[Other]\nTargetLimit=word\n").value("TargetLimit", 42), 42);
}

TEST_F(SettingsTest, WithoutAFileTheProcessHasNoSettings) {
    EXPECT_EQ(Service::load_settings("").value("TargetLimit", 42), 42);
}

TEST_F(SettingsTest, TheFileOfTheProcessIsNamed) {
    EXPECT_EQ(Service::load_settings("").file(), "/etc/radar/radar.conf");
}

TEST_F(SettingsTest, ABadFileOfTheProcessIsRefused) {
    write_file("/etc/radar/radar.conf", "no group = 1\n");
    EXPECT_THAT(refusal(""), StartsWith("/etc/radar/radar.conf: "));
}

TEST_F(SettingsTest, ARecorderIsSwitchedOnWhenItHasItsOtherSettings) {
    EXPECT_EQ(load("[Radar]\nFileWriterEnabled=1\nFileWriterMaxFileCount=3\nFileWriterFileTime=5\n"
                   "FileWriterMaxFileSize=9\nFileWriterLocation=1\n")
                  .recorder_entries(),
              (Entries{{"FileWriterLocation", 1},
                       {"FileWriterFileTime", 5},
                       {"FileWriterMaxFileSize", 9},
                       {"FileWriterMaxFileCount", 3},
                       {"FileWriterEnabled", 1}}));
}

TEST_F(SettingsTest, ObjectsAreRecordedUnlessTheSettingsSayOtherwise) {
    EXPECT_EQ(load("[Radar]\n").recorder_entries(), (Entries{{"FileWriterEnabled", 1}}));
    EXPECT_EQ(load("[Radar]\nFileWriterEnabled=0\n").recorder_entries(),
              (Entries{{"FileWriterEnabled", 0}}));
}

TEST_F(SettingsTest, EveryKeyOfEveryRecorderIsHandedOver) {
    std::string content = "[Radar]\n";
    size_t keys = 0;
    for (std::string const prefix : {"FileWriter", "DataFileWriter", "DiagnosticFileWriter"}) {
        for (char const* const name :
             {"Enabled", "FileTime", "Location", "MaxFileCount", "MaxFileSize"}) {
            content += prefix + name + "=1\n";
            ++keys;
        }
    }
    // The raw recorder shares its size limit, and the place of diagnostics is fixed.
    EXPECT_EQ(load(content).recorder_entries().size(), keys - 2);
    EXPECT_EQ(
        load(content).unknown_keys(),
        (std::vector<std::string>{"DataFileWriterMaxFileSize", "DiagnosticFileWriterLocation"}));
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

TEST_F(SettingsTest, AValueThatTheServiceCannotWorkWithIsRefused) {
    EXPECT_EQ(refusal_of("[Radar]\nWatchdogTimeout=0\n"),
              "/tmp/settings.conf: WatchdogTimeout is 0, not between 1 and 86400");
    EXPECT_EQ(refusal_of("[Radar]\nTargetLimit=-1\n"),
              "/tmp/settings.conf: TargetLimit is -1, not between 1 and 65536");
}

}  // namespace
