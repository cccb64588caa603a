#include <sys/mount.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "lib/config/configuration_fixture.h"
#include "lib/config/glib_calls.h"

namespace {

using Radar::Configuration;
using test_support::captured_formats;
using test_support::captured_log;
using test_support::fails_with;
using test_support::load_error_of;
using test_support::read_file;
using test_support::write_file;
using testing::StartsWith;

class ConfigurationWriteTest : public test_support::ConfigurationTest {
protected:
    /** Checks that one line was logged, at level 1, that begins with `what`. */
    static void expect_problem(std::string const& what) {
        ASSERT_EQ(captured_log().size(), 1U);
        EXPECT_EQ(captured_log()[0].level, 1);
        EXPECT_THAT(captured_log()[0].text, StartsWith(what));
        EXPECT_GT(captured_log()[0].text.size(), what.size() + 1) << "no reason is given";
        EXPECT_EQ(captured_log()[0].text.back(), '\n');
        EXPECT_EQ(captured_formats(), std::vector<std::string>{"%s"});
    }

    /** Checks that saving over a file fails, is logged, and leaves the file as it was. */
    void expect_that_saving_fails() {
        Configuration settings(path);
        settings.conf["k"] = 5;
        EXPECT_EQ(settings.write(), -1);
        expect_problem("Could not save configuration to " + path + ": ");
    }
};

TEST_F(ConfigurationWriteTest, CreatesAMissingFile) {
    Configuration settings(path);
    settings.conf = {{"k", 5}};
    EXPECT_EQ(settings.write(), 0);
    EXPECT_EQ(read_file(path), "[Radar]\nk=5\n");
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(ConfigurationWriteTest, EntriesAreWrittenInTheOrderOfTheTable) {
    Configuration settings(path);
    for (int i = 0; i < 20; ++i) settings.conf["key" + std::to_string(i)] = i - 10;
    std::string expected = "[Radar]\n";
    for (auto const& [key, value] : settings.conf) {
        expected += key + "=" + std::to_string(value) + "\n";
    }
    EXPECT_EQ(settings.write(), 0);
    EXPECT_EQ(read_file(path), expected);
}

TEST_F(ConfigurationWriteTest, KeepsOtherGroupsAndKeysAndDropsComments) {
    write_file(path, "# top\n[Other]\nname=some text\n# inside\n[Radar]\ntheirs=1\nours=2\n");
    Configuration settings(path);
    settings.conf = {{"ours", 3}};
    EXPECT_EQ(settings.write(), 0);
    EXPECT_EQ(read_file(path), "[Other]\nname=some text\n\n[Radar]\ntheirs=1\nours=3\n");
}

TEST_F(ConfigurationWriteTest, KeepsAValueOfAnotherKeyThatIsNoInteger) {
    write_file(path, "[Radar]\ntheirs=some text\n");
    Configuration settings(path);
    settings.conf = {{"ours", 3}};
    EXPECT_EQ(settings.write(), 0);
    EXPECT_EQ(read_file(path), "[Radar]\ntheirs=some text\nours=3\n");
}

TEST_F(ConfigurationWriteTest, AnEntryThatWasDeletedFromTheFileReappears) {
    Configuration settings(path);
    settings.set("deleted", 1);
    write_file(path, "[Radar]\n");
    settings.set("other", 2);
    EXPECT_EQ(Configuration(path).conf, (Settings{{"deleted", 1}, {"other", 2}}));
}

TEST_F(ConfigurationWriteTest, AFileThatStartsWithoutAGroupIsReplaced) {
    write_file(path, "k=1\n");
    Configuration settings(path);
    settings.conf = {{"k", 5}};
    EXPECT_EQ(settings.write(), 0);
    EXPECT_EQ(read_file(path), "[Radar]\nk=5\n");
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(ConfigurationWriteTest, AFileThatCannotBeLoadedIsNotChanged) {
    Configuration settings(path);
    settings.conf = {{"k", 5}};
    write_file(path, "[Radar\nk=1\n");
    EXPECT_EQ(settings.write(), -1);
    EXPECT_EQ(read_file(path), "[Radar\nk=1\n");
    EXPECT_EQ(captured_log(), (Log{{1, "Could not read configuration from " + path + ": " +
                                           load_error_of(path) + "\n"}}));
}

TEST_F(ConfigurationWriteTest, ADirectoryInPlaceOfTheFileIsLogged) {
    Configuration settings(path);
    std::filesystem::create_directory(path);
    EXPECT_EQ(settings.write(), -1);
    EXPECT_EQ(captured_log(), (Log{{1, "Could not read configuration from " + path + ": " +
                                           load_error_of(path) + "\n"}}));
}

TEST_F(ConfigurationWriteTest, AMissingDirectoryIsLogged) {
    Configuration settings("/tmp/none/settings.conf");
    EXPECT_EQ(settings.write(), -1);
    expect_problem("Could not save configuration to /tmp/none/settings.conf: ");
}

TEST_F(ConfigurationWriteTest, AFailedWriteOfTheFileIsLogged) {
    system_calls.write = fails_with(EIO);
    expect_that_saving_fails();
}

TEST_F(ConfigurationWriteTest, AFailedFlushOfTheFileIsLogged) {
    write_file(path, "[Radar]\nk=1\n");
    system_calls.fsync = fails_with(EIO);
    expect_that_saving_fails();
    EXPECT_EQ(read_file(path), "[Radar]\nk=1\n");
}

TEST_F(ConfigurationWriteTest, AFailedReplacementOfTheFileIsLogged) {
    write_file(path, "[Radar]\nk=1\n");
    system_calls.rename = fails_with(EROFS);
    expect_that_saving_fails();
    EXPECT_EQ(read_file(path), "[Radar]\nk=1\n");
}

TEST_F(ConfigurationWriteTest, AFullDiskIsLoggedAndKeepsTheOldFile) {
    const std::string disk = "/tmp/disk";
    std::filesystem::create_directory(disk);
    if (mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=16k") != 0) GTEST_SKIP() << "cannot mount";
    const std::string on_disk = disk + "/settings.conf";
    write_file(on_disk, "[Radar]\nk=1\n");
    EXPECT_THROW(write_file(disk + "/filler", std::string(64 << 10, 'x')), std::runtime_error);

    Configuration settings(on_disk);
    settings.conf["k"] = 5;
    EXPECT_EQ(settings.write(), -1);
    expect_problem("Could not save configuration to " + on_disk + ": ");
    EXPECT_EQ(read_file(on_disk), "[Radar]\nk=1\n");
}

TEST_F(ConfigurationWriteTest, AnErrorOfSavingWithoutTextEndsTheMessageThere) {
    test_support::KeyFileCalls calls;
    calls.save = test_support::fails_without_message(2);
    Configuration settings(path);
    EXPECT_EQ(settings.write(), -1);
    EXPECT_EQ(captured_log(), (Log{{1, "Could not save configuration to " + path + ": "}}));
}

TEST_F(ConfigurationWriteTest, AValueThatCouldNotBeWrittenStaysInMemory) {
    Configuration settings(path);
    system_calls.rename = fails_with(EIO);
    settings.set("k", 5);
    EXPECT_EQ(settings.get("k", 0), 5);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(ConfigurationWriteTest, AValueThatCouldNotBeWrittenIsWrittenWithTheNextChange) {
    Configuration settings(path);
    system_calls.rename = fails_with(EIO);
    settings.set("k", 5);
    system_calls.rename = nullptr;
    settings.set("other", 6);
    EXPECT_EQ(Configuration(path).conf, (Settings{{"k", 5}, {"other", 6}}));
}

TEST_F(ConfigurationWriteTest, SettingTheSameValueDoesNotRetryAFailedWrite) {
    Configuration settings(path);
    system_calls.rename = fails_with(EIO);
    settings.set("k", 5);
    system_calls.rename = nullptr;
    settings.set("k", 5);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(ConfigurationWriteTest, GetReturnsItsDefaultWhenItCannotBeWritten) {
    Configuration settings("/tmp/none/settings.conf");
    EXPECT_EQ(settings.get("k", 5), 5);
    EXPECT_EQ(settings.conf, (Settings{{"k", 5}}));
    expect_problem("Could not save configuration to /tmp/none/settings.conf: ");
}

}  // namespace
