#include "config/configuration.h"

#include <filesystem>
#include <limits>
#include <sstream>
#include <stdexcept>

#include "lib/config/configuration_fixture.h"
#include "lib/virtual_slots.h"

namespace {

using Radar::Configuration;
using test_support::read_file;
using test_support::write_file;

class ConfigurationTest : public test_support::ConfigurationTest {
protected:
    ConfigurationTest() {
        system_calls.rename = [this](char const* from, char const* to) {
            ++saves;
            return test_support::real_rename(from, to);
        };
    }

    /** How often a file was saved. */
    int saves = 0;
};

TEST_F(ConfigurationTest, GetOfAnAbsentKeyReturnsTheDefaultAndStoresIt) {
    Configuration settings(path);
    EXPECT_EQ(settings.get("k", 5), 5);
    EXPECT_EQ(settings.conf, (Settings{{"k", 5}}));
    EXPECT_EQ(read_file(path), "[Radar]\nk=5\n");
}

TEST_F(ConfigurationTest, GetOfAKeyThatIsThereReturnsItsValueAndTouchesNoFile) {
    write_file(path, "[Radar]\nk=7\n");
    Configuration settings(path);
    EXPECT_EQ(settings.get("k", 5), 7);
    EXPECT_EQ(settings.conf, (Settings{{"k", 7}}));
    EXPECT_EQ(saves, 0);
}

TEST_F(ConfigurationTest, GetOfAnAbsentKeyWithDefaultZeroEntersItAndWritesNothing) {
    Configuration settings(path);
    EXPECT_EQ(settings.get("k", 0), 0);
    EXPECT_EQ(settings.conf, (Settings{{"k", 0}}));
    settings.set("k", 0);
    EXPECT_EQ(saves, 0);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(ConfigurationTest, SetOfANewValueWritesTheFile) {
    write_file(path, "[Radar]\nk=7\n");
    Configuration settings(path);
    settings.set("k", -3);
    EXPECT_EQ(settings.conf, (Settings{{"k", -3}}));
    EXPECT_EQ(read_file(path), "[Radar]\nk=-3\n");
    EXPECT_EQ(saves, 1);
}

TEST_F(ConfigurationTest, SetOfTheValueThatIsStoredTouchesNoFile) {
    write_file(path, "[Radar]\nk=7\n");
    Configuration settings(path);
    settings.set("k", 7);
    EXPECT_EQ(saves, 0);
}

TEST_F(ConfigurationTest, SetOfAnAbsentKeyToZeroEntersItAndWritesNothing) {
    Configuration settings(path);
    settings.set("k", 0);
    EXPECT_EQ(settings.conf, (Settings{{"k", 0}}));
    EXPECT_EQ(saves, 0);
}

TEST_F(ConfigurationTest, SetOfAStoredValueToZeroWritesTheFile) {
    write_file(path, "[Radar]\nk=7\n");
    Configuration settings(path);
    settings.set("k", 0);
    EXPECT_EQ(read_file(path), "[Radar]\nk=0\n");
}

TEST_F(ConfigurationTest, AZeroThatWasNotWrittenIsWrittenWithTheNextChange) {
    Configuration settings(path);
    settings.set("zero", 0);
    settings.set("one", 1);
    EXPECT_EQ(Configuration(path).conf, (Settings{{"zero", 0}, {"one", 1}}));
}

TEST_F(ConfigurationTest, AddOfAnAbsentKeyStoresAndWritesIt) {
    Configuration settings(path);
    settings.add("k", 5);
    EXPECT_EQ(settings.conf, (Settings{{"k", 5}}));
    EXPECT_EQ(read_file(path), "[Radar]\nk=5\n");
}

TEST_F(ConfigurationTest, AddOfAKeyThatIsThereChangesNothing) {
    write_file(path, "[Radar]\nk=7\n");
    Configuration settings(path);
    settings.add("k", 5);
    EXPECT_EQ(settings.conf, (Settings{{"k", 7}}));
    EXPECT_EQ(saves, 0);
}

TEST_F(ConfigurationTest, AddOfAnAbsentKeyWithZeroEntersItAndWritesNothing) {
    Configuration settings(path);
    settings.add("k", 0);
    EXPECT_EQ(settings.conf, (Settings{{"k", 0}}));
    EXPECT_EQ(saves, 0);
}

TEST_F(ConfigurationTest, TheWholeRangeOfAnIntegerIsKept) {
    constexpr int lowest = std::numeric_limits<int>::min();
    constexpr int highest = std::numeric_limits<int>::max();
    {
        Configuration settings(path);
        settings.set("lowest", lowest);
        settings.set("highest", highest);
    }
    EXPECT_EQ(Configuration(path).conf, (Settings{{"lowest", lowest}, {"highest", highest}}));
}

TEST_F(ConfigurationTest, KeysAreCaseSensitive) {
    Configuration settings(path);
    settings.set("key", 1);
    settings.set("Key", 2);
    EXPECT_EQ(Configuration(path).conf, (Settings{{"key", 1}, {"Key", 2}}));
}

TEST_F(ConfigurationTest, DestructionWritesNothing) {
    {
        Configuration settings(path);
        settings.conf["k"] = 5;
    }
    EXPECT_EQ(saves, 0);
    EXPECT_FALSE(std::filesystem::exists(path));
}

/** Counts the calls of the operations that the others are made of. */
class CountingConfiguration : public Configuration {
public:
    using Configuration::Configuration;
    int read() override {
        ++reads;
        return Configuration::read();
    }
    int write() override {
        ++writes;
        return -1;
    }

    int reads = 0;
    int writes = 0;
};

TEST_F(ConfigurationTest, SetWritesThroughAnOverride) {
    CountingConfiguration settings(path);
    settings.set("k", 5);
    EXPECT_EQ(settings.writes, 1);
    EXPECT_EQ(saves, 0);
}

TEST_F(ConfigurationTest, ConstructionDoesNotReadThroughAnOverride) {
    write_file(path, "[Radar]\nk=7\n");
    const CountingConfiguration settings(path);
    EXPECT_EQ(settings.reads, 0);
    EXPECT_EQ(settings.conf, (Settings{{"k", 7}}));
}

/** Remembers what was to be set and sets nothing. */
class RefusingConfiguration : public Configuration {
public:
    using Configuration::Configuration;
    void set(std::string key, int value) override { asked[key] = value; }

    std::unordered_map<std::string, int> asked;
};

TEST_F(ConfigurationTest, GetOfAnAbsentKeySetsThroughAnOverride) {
    RefusingConfiguration settings(path);
    EXPECT_EQ(settings.get("k", 5), 5);
    EXPECT_EQ(settings.asked, (Settings{{"k", 5}}));
    EXPECT_EQ(settings.conf, Settings{});
}

TEST_F(ConfigurationTest, AddOfAnAbsentKeySetsThroughAnOverride) {
    RefusingConfiguration settings(path);
    settings.add("k", 5);
    EXPECT_EQ(settings.asked, (Settings{{"k", 5}}));
    EXPECT_EQ(settings.conf, Settings{});
}

/** Cannot store anything. */
class FullConfiguration : public Configuration {
public:
    using Configuration::Configuration;
    void set(std::string, int) override { throw std::out_of_range("full"); }
};

TEST_F(ConfigurationTest, WhatStoringThrowsReachesTheCallerOfGetAndAdd) {
    FullConfiguration settings(path);
    EXPECT_THROW(settings.get("k", 5), std::out_of_range);
    EXPECT_THROW(settings.add("k", 5), std::out_of_range);
}

TEST_F(ConfigurationTest, OperationsKeepTheirPlacesAroundTheDestructor) {
    using test_support::slot_of;
    EXPECT_EQ(slot_of(&Configuration::read), 0);
    EXPECT_EQ(slot_of(&Configuration::write), 1);
    EXPECT_EQ(slot_of(&Configuration::get), 4);
    EXPECT_EQ(slot_of(&Configuration::set), 5);
    EXPECT_EQ(slot_of(&Configuration::add), 6);
}

class ConfigurationPrinterTest : public testing::Test {
protected:
    static std::string printed(std::unordered_map<std::string, int> const& map) {
        std::ostringstream os;
        EXPECT_EQ(&(os << map), &os);
        return os.str();
    }
};

TEST_F(ConfigurationPrinterTest, AnEmptyTablePrintsItsHeaderLine) {
    EXPECT_EQ(printed({}), "ConfMap:\n");
}

TEST_F(ConfigurationPrinterTest, AnEntryPrintsAsALineOfItsKeyAndValue) {
    EXPECT_EQ(printed({{"x", -3}}), "ConfMap:\nconf:  key: x = -3\n");
}

TEST_F(ConfigurationPrinterTest, EntriesPrintInTheOrderOfTheTable) {
    std::unordered_map<std::string, int> map;
    std::string expected = "ConfMap:\n";
    for (int i = 0; i < 20; ++i) map["key" + std::to_string(i)] = i;
    for (auto const& [key, value] : map) {
        expected += "conf:  key: " + key + " = " + std::to_string(value) + "\n";
    }
    EXPECT_EQ(printed(map), expected);
}

/** Counts how often the stream was flushed. */
class CountingBuffer : public std::stringbuf {
public:
    int flushes = 0;

private:
    int sync() override {
        ++flushes;
        return 0;
    }
};

TEST_F(ConfigurationPrinterTest, EveryLineIsFlushed) {
    CountingBuffer buffer;
    std::ostream os(&buffer);
    os << std::unordered_map<std::string, int>{{"x", 1}, {"y", 2}};
    EXPECT_EQ(buffer.flushes, 3);
}

}  // namespace
