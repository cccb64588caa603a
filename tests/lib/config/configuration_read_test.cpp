#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "lib/config/configuration_fixture.h"
#include "lib/config/glib_calls.h"

namespace {

using Radar::Configuration;
using test_support::captured_formats;
using test_support::captured_log;
using test_support::integer_error_of;
using test_support::load_error_of;
using test_support::write_file;

class ConfigurationReadTest : public test_support::ConfigurationTest {
protected:
    /** The line that refuses the whole file. */
    Log refused() const {
        return {
            {1, "Could not read configuration from " + path + ": " + load_error_of(path) + "\n"}};
    }

    /** The line that refuses the value of `key`. */
    Log refused(std::string const& key) const {
        return {{1, "Could not read integer " + key + " from " + path + ": " +
                        integer_error_of(path, "Radar", key) + "\n"}};
    }
};

TEST_F(ConfigurationReadTest, ANewTableHoldsTheSettingsOfTheFile) {
    write_file(path, "[Radar]\na=1\nb=-2\n");
    EXPECT_EQ(Configuration(path).conf, (Settings{{"a", 1}, {"b", -2}}));
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(ConfigurationReadTest, ANewTableWithoutAFileIsEmptyAndSilent) {
    EXPECT_EQ(Configuration(path).conf, Settings{});
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(ConfigurationReadTest, ANewTableOfABadFileIsEmptyAndLogsOnce) {
    write_file(path, "[Radar\na=1\n");
    EXPECT_EQ(Configuration(path).conf, Settings{});
    EXPECT_EQ(captured_log(), refused());
}

TEST_F(ConfigurationReadTest, ANewTableOfAPartlyBadFileHoldsWhatCameBefore) {
    write_file(path, "[Radar]\na=1\nb=x\nc=3\n");
    EXPECT_EQ(Configuration(path).conf, (Settings{{"a", 1}}));
}

TEST_F(ConfigurationReadTest, ReadWithoutAFileFailsSilentlyAndKeepsTheTable) {
    Configuration settings(path);
    settings.conf = {{"k", 7}};
    EXPECT_EQ(settings.read(), -1);
    EXPECT_EQ(settings.conf, (Settings{{"k", 7}}));
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(ConfigurationReadTest, ReadMergesTheFileIntoTheTable) {
    Configuration settings(path);
    settings.conf = {{"only in memory", 1}, {"both", 2}};
    write_file(path, "[Radar]\nboth=3\nonly in file=4\n");
    EXPECT_EQ(settings.read(), 0);
    EXPECT_EQ(settings.conf, (Settings{{"only in memory", 1}, {"both", 3}, {"only in file", 4}}));
}

TEST_F(ConfigurationReadTest, ReadPicksUpWhatOthersHaveEdited) {
    write_file(path, "[Radar]\nk=1\n");
    Configuration settings(path);
    write_file(path, "[Radar]\nk=2\n");
    EXPECT_EQ(settings.get("k", 0), 1);
    EXPECT_EQ(settings.read(), 0);
    EXPECT_EQ(settings.get("k", 0), 2);
}

TEST_F(ConfigurationReadTest, OtherGroupsAreNotRead) {
    write_file(path, "[Other]\nk=text\n[Radar]\na=1\n[radar]\nb=2\n");
    EXPECT_EQ(Configuration(path).conf, (Settings{{"a", 1}}));
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(ConfigurationReadTest, AFileWithoutTheGroupReadsAsAnEmptyOne) {
    write_file(path, "[Other]\nk=1\n");
    Configuration settings(path);
    settings.conf = {{"k", 7}};
    EXPECT_EQ(settings.read(), 0);
    EXPECT_EQ(settings.conf, (Settings{{"k", 7}}));
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(ConfigurationReadTest, AnEmptyGroupReadsAsAnEmptyTable) {
    write_file(path, "[Radar]\n");
    Configuration settings(path);
    EXPECT_EQ(settings.read(), 0);
    EXPECT_EQ(settings.conf, Settings{});
}

TEST_F(ConfigurationReadTest, AFileThatStartsWithoutAGroupIsLikeAMissingOne) {
    write_file(path, "k=1\n");
    Configuration settings(path);
    EXPECT_EQ(settings.read(), -1);
    EXPECT_EQ(settings.conf, Settings{});
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(ConfigurationReadTest, AValueThatIsNoIntegerEndsTheReading) {
    Configuration settings(path);
    write_file(path, "[Radar]\na=1\nb=x\nc=3\n");
    EXPECT_EQ(settings.read(), -1);
    EXPECT_EQ(settings.conf, (Settings{{"a", 1}}));
    EXPECT_EQ(captured_log(), refused("b"));
}

TEST_F(ConfigurationReadTest, AKeyThatCannotBeReadKeepsItsEarlierValue) {
    Configuration settings(path);
    settings.conf = {{"b", 7}};
    write_file(path, "[Radar]\na=1\nb=x\n");
    EXPECT_EQ(settings.read(), -1);
    EXPECT_EQ(settings.conf, (Settings{{"a", 1}, {"b", 7}}));
}

TEST_F(ConfigurationReadTest, AFileThatCannotBeLoadedKeepsTheTable) {
    Configuration settings(path);
    settings.conf = {{"k", 7}};
    write_file(path, "[Radar\nk=1\n");
    EXPECT_EQ(settings.read(), -1);
    EXPECT_EQ(settings.conf, (Settings{{"k", 7}}));
    EXPECT_EQ(captured_log(), refused());
}

TEST_F(ConfigurationReadTest, ADirectoryInPlaceOfTheFileIsLogged) {
    std::filesystem::create_directory(path);
    EXPECT_EQ(Configuration(path).conf, Settings{});
    EXPECT_EQ(captured_log(), refused());
}

TEST_F(ConfigurationReadTest, ALinkThatLeadsToItselfIsLogged) {
    std::filesystem::create_symlink(path, path);
    EXPECT_EQ(Configuration(path).conf, Settings{});
    EXPECT_EQ(captured_log(), refused());
}

TEST_F(ConfigurationReadTest, AFileThatMayNotBeReadIsLogged) {
    write_file(path, "[Radar]\nk=1\n");
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    if (seteuid(65534) != 0) GTEST_SKIP() << "this user cannot give up its rights";
    EXPECT_EQ(Configuration(path).conf, Settings{});
    EXPECT_EQ(captured_log(), refused());
    ASSERT_EQ(seteuid(0), 0);
}

TEST_F(ConfigurationReadTest, AMessageIsPassedOnWithItsPercentSigns) {
    write_file(path, "[Radar]\n%s%d=x\n");
    const Configuration settings(path);
    EXPECT_EQ(captured_log(), refused("%s%d"));
    EXPECT_EQ(captured_formats(), std::vector<std::string>{"%s"});
}

TEST_F(ConfigurationReadTest, AnErrorWithoutTextEndsTheMessageThere) {
    test_support::KeyFileCalls calls;
    calls.load = test_support::fails_without_message(2);
    const Configuration settings(path);
    EXPECT_EQ(captured_log(), (Log{{1, "Could not read configuration from " + path + ": "}}));
}

/** What one file content gives: the result of read() and the table. */
struct Content {
    char const* name;
    std::string text;
    int result;
    std::unordered_map<std::string, int> settings;
};

void PrintTo(Content const& content, std::ostream* os) {
    *os << content.name;
}

class KeyFileContentTest : public test_support::ConfigurationTest,
                           public testing::WithParamInterface<Content> {};

TEST_P(KeyFileContentTest, GivesThatResultAndTable) {
    Configuration settings(path);
    write_file(path, GetParam().text);
    EXPECT_EQ(settings.read(), GetParam().result);
    EXPECT_EQ(settings.conf, GetParam().settings);
    EXPECT_EQ(captured_log().size(), GetParam().result == 0 ? 0U : 1U);
}

std::string many_settings() {
    std::string text = "[Radar]\n";
    for (int i = 0; i < 20000; ++i)
        text += "k" + std::to_string(i % 10) + "=" + std::to_string(i) + "\n";
    return text;
}

std::vector<Content> contents() {
    using namespace std::string_literals;
    return {
        {"Empty", "", 0, {}},
        {"Comments", "# one\n[Radar]\n# two\nk=1\n", 0, {{"k", 1}}},
        {"Blanks", "[Radar]\n k = 1\n", 0, {{"k", 1}}},
        {"TrailingBlank", "[Radar]\nk=1 \n", 0, {{"k", 1}}},
        {"PlusSign", "[Radar]\nk=+1\n", 0, {{"k", 1}}},
        {"LineEndsOfWindows", "[Radar]\r\na=1\r\nb=2\r\n", 0, {{"a", 1}, {"b", 2}}},
        {"NoLastLineEnd", "[Radar]\nk=1", 0, {{"k", 1}}},
        {"KeyTwice", "[Radar]\nk=1\nk=2\n", 0, {{"k", 2}}},
        {"GroupTwice", "[Radar]\na=1\n[Other]\nb=2\n[Radar]\nc=3\n", 0, {{"a", 1}, {"c", 3}}},
        {"ManyLines",
         many_settings(),
         0,
         {{"k0", 19990},
          {"k1", 19991},
          {"k2", 19992},
          {"k3", 19993},
          {"k4", 19994},
          {"k5", 19995},
          {"k6", 19996},
          {"k7", 19997},
          {"k8", 19998},
          {"k9", 19999}}},
        {"Zero", "[Radar]\na=0\nb=00\nc=-0\n", 0, {{"a", 0}, {"b", 0}, {"c", 0}}},
        {"Lowest", "[Radar]\nk=-2147483648\n", 0, {{"k", -2147483647 - 1}}},
        {"Highest", "[Radar]\nk=2147483647\n", 0, {{"k", 2147483647}}},
        {"TooHigh", "[Radar]\nk=2147483648\n", -1, {}},
        {"TwentyDigits", "[Radar]\nk=12345678901234567890\n", -1, {}},
        {"ALongValue", "[Radar]\nk=" + std::string(1 << 20, '1') + "\n", -1, {}},
        {"EmptyValue", "[Radar]\nk=\n", -1, {}},
        {"DigitsThenLetters", "[Radar]\nk=12abc\n", -1, {}},
        {"Hexadecimal", "[Radar]\nk=0x10\n", -1, {}},
        {"Fraction", "[Radar]\nk=1.5\n", -1, {}},
        {"TwoNumbers", "[Radar]\nk=1 2\n", 0, {{"k", 1}}},
        {"NoEqualsSign", "[Radar]\na=1\nk\n", -1, {}},
        {"NoKey", "[Radar]\n=1\n", -1, {}},
        {"EmptyGroupName", "[]\nk=1\n", -1, {}},
        {"ByteOrderMark", "\xEF\xBB\xBF[Radar]\nk=1\n", -1, {}},
        {"ZeroByteInAValue", "[Radar]\nk=1\0002\n"s, 0, {{"k", 1}}},
        {"InvalidUtf8InAValue", "[Radar]\nk=\xFF\xFE\n", -1, {}},
        {"AnImage", "\x89PNG\r\n\x1A\n\0\0\0\rIHDR"s, -1, {}},
    };
}

INSTANTIATE_TEST_SUITE_P(Corpus, KeyFileContentTest, testing::ValuesIn(contents()),
                         [](auto const& named) { return std::string(named.param.name); });

}  // namespace
