#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>

#include "config/configuration.h"
#include "inside.h"
#include "service/settings.h"
#include "support/captured_log.h"
#include "support/private_paths.h"
#include "support/system_calls.h"
#include "tools/settings_keys.h"

/** petrelradar settings list, get and set */
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test_support::fails_with;
using test_support::list_directory;
using test_support::read_file;
using test_support::write_file;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using tools_test::Outcome;

constexpr char kFile[] = "/tmp/etc/radar.conf";
constexpr char kDefault[] = "/etc/radar/radar.conf";

class SettingsTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        fs::remove(kDefault);
        fs::remove_all("/tmp/etc");
        fs::create_directory("/tmp/etc");
    }

    /** "petrelradar settings VERB ..." of a file with this text. */
    static Outcome run(std::string const& text, std::vector<std::string> arguments) {
        write_file(kFile, text);
        return run_on(kFile, std::move(arguments));
    }

    static Outcome run_on(std::string const& file, std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "settings");
        arguments.insert(arguments.end(), {"--file", file});
        return tools_test::run_inside(arguments);
    }

    static mode_t mode_of(char const* path) {
        struct stat status = {};
        EXPECT_EQ(stat(path, &status), 0);
        return status.st_mode & 07777;
    }

    static uid_t owner_of(char const* path) {
        struct stat status = {};
        EXPECT_EQ(stat(path, &status), 0);
        return status.st_uid;
    }
};

using SettingsListTest = SettingsTest;
using SettingsGetTest = SettingsTest;
using SettingsSetTest = SettingsTest;

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
    EXPECT_THAT(tools_test::run_inside({"settings", "list"}).out,
                testing::ContainsRegex("\nTargetLimit +77 "));
}

TEST_F(SettingsListTest, WithoutTheServicesFileEverythingHasItsDefault) {
    const Outcome outcome = tools_test::run_inside({"settings", "list"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err,
              "petrelradar settings list: there is no /etc/radar/radar.conf; every setting has its "
              "default\n");
}

TEST_F(SettingsListTest, ASettingThatIsThereTwiceIsReported) {
    EXPECT_EQ(run("[Radar]\nTargetLimit=1\nTargetLimit=2\n", {"list"}).err,
              "petrelradar settings list: /tmp/etc/radar.conf: TargetLimit is there 2 times; line "
              "3 counts\n");
}

TEST_F(SettingsListTest, TheKeysAreThoseThatTheServiceKnows) {
    std::unordered_map<std::string, int> table;
    for (auto const& key : Tools::setting_keys()) table[key.name] = key.without;
    const Service::Settings settings("", table);
    EXPECT_THAT(settings.unknown_keys(), IsEmpty());
    std::set<std::string> recorded;
    for (auto const& [key, value] : settings.recorder_entries()) recorded.insert(key);
    EXPECT_EQ(recorded.size() + 2, Tools::setting_keys().size());
}

TEST_F(SettingsListTest, TheDefaultsOfTheHostAreItsOwn) {
    EXPECT_EQ(Tools::find_setting_key(Service::kWatchdogTimeoutKey)->without,
              Service::kDefaultWatchdogTimeout);
    EXPECT_EQ(Tools::find_setting_key(Service::kTargetLimitKey)->without,
              Service::kDefaultTargetLimit);
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

TEST_F(SettingsSetTest, ChangesTheValueAndNothingElse) {
    const Outcome outcome =
        run("# c\n[X]\nn=a\n[Radar]\nTargetLimit=5\n", {"set", "TargetLimit=6"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "TargetLimit: 5 -> 6\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(read_file(kFile), "# c\n[X]\nn=a\n[Radar]\nTargetLimit=6\n");
    EXPECT_THAT(list_directory("/tmp/etc"), ElementsAre("radar.conf"));
}

TEST_F(SettingsSetTest, AZeroForAnAbsentSettingIsWritten) {
    EXPECT_EQ(run("", {"set", "FileWriterFileTime=0"}).out, "FileWriterFileTime: not set -> 0\n");
    EXPECT_EQ(Radar::Configuration(kFile).conf.at("FileWriterFileTime"), 0);
}

TEST_F(SettingsSetTest, AValueThatIsThereAlreadyTouchesNothing) {
    const std::string text = "[Radar]\nTargetLimit = 0005\n";
    const Outcome outcome = run(text, {"set", "TargetLimit=5"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "petrelradar settings set: TargetLimit is 5 already\n");
    EXPECT_EQ(read_file(kFile), text);
}

TEST_F(SettingsSetTest, SeveralAreSetInTheirOrder) {
    EXPECT_EQ(run("", {"set", "TargetLimit=5", "WatchdogTimeout=9", "TargetLimit=6"}).out,
              "TargetLimit: not set -> 5\nWatchdogTimeout: not set -> 9\nTargetLimit: 5 -> 6\n");
    EXPECT_EQ(read_file(kFile), "[Radar]\nTargetLimit=6\nWatchdogTimeout=9\n");
}

TEST_F(SettingsSetTest, AFileThatIsMissingIsMade) {
    const Outcome outcome = run_on(kFile, {"set", "TargetLimit=5"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "petrelradar settings set: /tmp/etc/radar.conf is new\n");
    EXPECT_EQ(read_file(kFile), "[Radar]\nTargetLimit=5\n");
    EXPECT_EQ(mode_of(kFile), 0644U);
}

TEST_F(SettingsSetTest, ModeAndOwnerStay) {
    write_file(kFile, "");
    ASSERT_EQ(chmod(kFile, 0640), 0);
    if (chown(kFile, 12, 34) != 0) GTEST_SKIP() << "this user cannot give files away";
    EXPECT_EQ(run_on(kFile, {"set", "TargetLimit=5"}).status, 0);
    EXPECT_EQ(mode_of(kFile), 0640U);
    EXPECT_EQ(owner_of(kFile), 12U);
}

TEST_F(SettingsSetTest, ASymbolicLinkStaysOne) {
    write_file(kFile, "");
    fs::create_symlink(kFile, "/tmp/link");
    EXPECT_EQ(run_on("/tmp/link", {"set", "TargetLimit=5"}).status, 0);
    EXPECT_TRUE(fs::is_symlink("/tmp/link"));
    EXPECT_EQ(read_file(kFile), "[Radar]\nTargetLimit=5\n");
}

TEST_F(SettingsSetTest, AWrongValueElsewhereIsRefusedAndMendedByItsOwn) {
    const std::string text = "[Radar]\nTargetLimit=x\nWatchdogTimeout=3\n";
    EXPECT_EQ(run(text, {"set", "WatchdogTimeout=4"}).err,
              "petrelradar settings set: /tmp/etc/radar.conf: line 2: TargetLimit is 'x', which is "
              "no 32-bit integer\n");
    EXPECT_EQ(read_file(kFile), text);
    EXPECT_EQ(run(text, {"set", "TargetLimit=4"}).status, 0);
}

TEST_F(SettingsSetTest, ForcedWhatNobodyUnderstandsIsSet) {
    EXPECT_EQ(run("", {"set", "My-own.key_1=-2147483648", "--force"}).status, 0);
    EXPECT_EQ(read_file(kFile), "[Radar]\nMy-own.key_1=-2147483648\n");
}

struct Refusal {
    char const* name;
    std::vector<std::string> assignments;
    int status;
    std::string err;
};

std::ostream& operator<<(std::ostream& os, Refusal const& tested) {
    return os << tested.name;
}

class SettingsRefusalTest : public SettingsTest, public testing::WithParamInterface<Refusal> {};

TEST_P(SettingsRefusalTest, SaysWhyAndLeavesTheFile) {
    std::vector<std::string> arguments = GetParam().assignments;
    arguments.insert(arguments.begin(), "set");
    const Outcome outcome = run("[Radar]\nTargetLimit=5\n", arguments);
    EXPECT_EQ(outcome.status, GetParam().status);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, StartsWith("petrelradar settings set: " + GetParam().err + "\n"));
    EXPECT_EQ(read_file(kFile), "[Radar]\nTargetLimit=5\n");
}

const Refusal kRefusals[] = {
    {"NoValue", {"TargetLimit"}, 2, "'TargetLimit' is not written SETTING=VALUE"},
    {"EmptyValue",
     {"TargetLimit="},
     2,
     "TargetLimit: '' is no integer from -2147483648 to 2147483647"},
    {"Word",
     {"TargetLimit=many"},
     2,
     "TargetLimit: 'many' is no integer from -2147483648 to 2147483647"},
    {"Hexadecimal",
     {"TargetLimit=0x10"},
     2,
     "TargetLimit: '0x10' is no integer from -2147483648 to 2147483647"},
    {"MoreThan32Bits",
     {"TargetLimit=2147483648"},
     2,
     "TargetLimit: '2147483648' is no integer from -2147483648 to 2147483647"},
    {"Fraction",
     {"TargetLimit=1.5"},
     2,
     "TargetLimit: '1.5' is no integer from -2147483648 to 2147483647"},
    {"NoName", {"=5"}, 2, "'' is no name of a setting"},
    {"NameThatIsNone", {"a b=5", "--force"}, 2, "'a b' is no name of a setting"},
    {"NameWithAnotherLine", {"a\nb=5", "--force"}, 2, "'a?b' is no name of a setting"},
    {"UnknownName", {"Mine=5"}, 1, "nobody understands Mine; --force sets it all the same"},
    {"ValueTheHostRefuses",
     {"WatchdogTimeout=0"},
     1,
     "WatchdogTimeout takes 1 to 86400, not 0; --force sets it all the same"},
    {"OneOfSeveral",
     {"TargetLimit=6", "Mine=5"},
     1,
     "nobody understands Mine; --force sets it all the same"},
};

INSTANTIATE_TEST_SUITE_P(, SettingsRefusalTest, testing::ValuesIn(kRefusals),
                         [](auto const& tested) { return tested.param.name; });

/** What stands in the place of the file, and what each verb says of it. */
struct BadFile {
    char const* name;
    void (*make)(char const* path);
    std::string problem;
};

std::ostream& operator<<(std::ostream& os, BadFile const& tested) {
    return os << tested.name;
}

class BadSettingsFileTest : public SettingsTest, public testing::WithParamInterface<BadFile> {};

TEST_P(BadSettingsFileTest, IsRefusedByEveryVerbInOneLine) {
    GetParam().make(kFile);
    const std::string problem = ": /tmp/etc/radar.conf: " + GetParam().problem + "\n";
    EXPECT_EQ(run_on(kFile, {"list"}).err, "petrelradar settings list" + problem);
    EXPECT_EQ(run_on(kFile, {"get", "TargetLimit"}).err, "petrelradar settings get" + problem);
    const Outcome outcome = run_on(kFile, {"set", "TargetLimit=5"});
    EXPECT_EQ(outcome.err, "petrelradar settings set" + problem);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(list_directory("/tmp/etc"), ElementsAre("radar.conf"));
}

const BadFile kBadFiles[] = {
    {"Directory", [](char const* path) { fs::create_directory(path); }, "not a regular file"},
    {"Fifo", [](char const* path) { ASSERT_EQ(mkfifo(path, 0600), 0); }, "not a regular file"},
    {"Device", [](char const* path) { fs::create_symlink("/dev/zero", path); },
     "not a regular file"},
    {"DanglingLink", [](char const* path) { fs::create_symlink("/tmp/nowhere", path); },
     "a symbolic link that leads nowhere: No such file or directory"},
    {"LinkToItself", [](char const* path) { fs::create_symlink(path, path); },
     "a symbolic link that leads nowhere: Too many levels of symbolic links"},
    {"TooLarge",
     [](char const* path) {
         write_file(path, "");
         ASSERT_EQ(truncate(path, (16 << 20) + 1), 0);
     },
     "larger than 16 MiB"},
    {"Zeros", [](char const* path) { write_file(path, std::string(512, '\0')); },
     "holds a NUL byte, so it is no key file"},
    {"NoGroup", [](char const* path) { write_file(path, "TargetLimit=5\n"); },
     "line 1 stands outside a group; a service would replace this file"},
};

INSTANTIATE_TEST_SUITE_P(, BadSettingsFileTest, testing::ValuesIn(kBadFiles),
                         [](auto const& tested) { return tested.param.name; });

/** Saving, made to fail: the file is what it was, and nothing is left beside it. */
class SettingsFailureTest : public SettingsTest {
protected:
    void expect_failure(std::string const& problem) {
        const Outcome outcome = run_on(kFile, {"set", "TargetLimit=6"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "petrelradar settings set: /tmp/etc/radar.conf: " + problem + "\n");
        EXPECT_EQ(read_file(kFile), "[Radar]\nTargetLimit=5\n");
        EXPECT_THAT(list_directory("/tmp/etc"), ElementsAre("radar.conf"));
    }

    void SetUp() override {
        SettingsTest::SetUp();
        if (!IsSkipped()) write_file(kFile, "[Radar]\nTargetLimit=5\n");
    }

    test_support::SystemCalls calls_;
};

TEST_F(SettingsFailureTest, ACardThatIsFull) {
    calls_.write = [](int fd, void const* bytes, size_t size) {
        if (fd <= 2) return test_support::real_write(fd, bytes, size);
        errno = ENOSPC;
        return ssize_t{-1};
    };
    expect_failure("cannot be written: No space left on device");
}

TEST_F(SettingsFailureTest, AFlushThatFails) {
    calls_.fsync = fails_with(EIO);
    expect_failure("cannot be written: Input/output error");
}

TEST_F(SettingsFailureTest, ARenameThatFails) {
    calls_.rename = fails_with(EBUSY);
    expect_failure("cannot be replaced: Device or resource busy");
}

TEST_F(SettingsFailureTest, ATextThatDoesNotReadBack) {
    calls_.fsync = [](int fd) { return ftruncate(fd, 0); };
    expect_failure("would not read back as it is meant, so nothing was changed");
}

TEST_F(SettingsFailureTest, AChangeBySomebodyElseMeanwhile) {
    calls_.fsync = [](int) {
        write_file(kFile, "[Radar]\nTargetLimit=77\n");
        return 0;
    };
    const Outcome outcome = run_on(kFile, {"set", "TargetLimit=6"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("was changed by somebody else meanwhile; nothing was "
                                       "written"));
    EXPECT_EQ(read_file(kFile), "[Radar]\nTargetLimit=77\n");
}

TEST_F(SettingsFailureTest, AWriteInPiecesIsStillWhole) {
    calls_.write = [](int fd, void const* bytes, size_t size) {
        return test_support::real_write(fd, bytes, std::min<size_t>(size, 3));
    };
    EXPECT_EQ(run_on(kFile, {"set", "TargetLimit=6"}).status, 0);
    EXPECT_EQ(read_file(kFile), "[Radar]\nTargetLimit=6\n");
}

TEST_F(SettingsFailureTest, ADirectoryThatIsMissing) {
    EXPECT_EQ(run_on("/tmp/no/radar.conf", {"set", "TargetLimit=6"}).err,
              "petrelradar settings set: /tmp/no/radar.conf: no file can be made in its "
              "directory: No such file or directory\n");
}

TEST_F(SettingsFailureTest, TheLibraryLogsNothingOfItsOwn) {
    test_support::clear_log();
    run_on(kFile, {"set", "TargetLimit=6"});
    EXPECT_THAT(test_support::captured_log(), IsEmpty());
}

}  // namespace
