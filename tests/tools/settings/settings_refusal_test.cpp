// What petrelradar settings refuses

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/tools/settings/fixture.h"

namespace {

namespace fs = std::filesystem;
using test_support::list_directory;
using test_support::Outcome;
using test_support::read_file;
using test_support::write_file;
using testing::ElementsAre;
using testing::StartsWith;
using tools_test::kFile;
using tools_test::SettingsTest;

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
     "TargetLimit: '' is not an integer from -2147483648 to 2147483647"},
    {"Word",
     {"TargetLimit=many"},
     2,
     "TargetLimit: 'many' is not an integer from -2147483648 to 2147483647"},
    {"Hexadecimal",
     {"TargetLimit=0x10"},
     2,
     "TargetLimit: '0x10' is not an integer from -2147483648 to 2147483647"},
    {"MoreThan32Bits",
     {"TargetLimit=2147483648"},
     2,
     "TargetLimit: '2147483648' is not an integer from -2147483648 to 2147483647"},
    {"Fraction",
     {"TargetLimit=1.5"},
     2,
     "TargetLimit: '1.5' is not an integer from -2147483648 to 2147483647"},
    {"NoName", {"=5"}, 2, "'' is not a name of a setting"},
    {"NameThatIsNone", {"a b=5", "--force"}, 2, "'a b' is not a name of a setting"},
    {"NameWithAnotherLine", {"a\nb=5", "--force"}, 2, "'a?b' is not a name of a setting"},
    {"UnknownName", {"Mine=5"}, 1, "unknown setting 'Mine' (use --force to set it)"},
    {"ValueTheHostRefuses",
     {"WatchdogTimeout=0"},
     1,
     "WatchdogTimeout takes 1 to 86400, not 0 (use --force to set it)"},
    {"OneOfSeveral",
     {"TargetLimit=6", "Mine=5"},
     1,
     "unknown setting 'Mine' (use --force to set it)"},
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
     "holds a NUL byte, so it is not a key file"},
    {"NoGroup", [](char const* path) { write_file(path, "TargetLimit=5\n"); },
     "line 1 stands outside a group; a service would replace this file"},
};

INSTANTIATE_TEST_SUITE_P(, BadSettingsFileTest, testing::ValuesIn(kBadFiles),
                         [](auto const& tested) { return tested.param.name; });

}  // namespace
