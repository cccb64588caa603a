#include "config/analytics.h"

#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <thread>

#include "lib/config/glib_calls.h"
#include "support/captured_log.h"
#include "support/private_paths.h"

namespace {

using test_support::captured_log;
using test_support::double_error_of;
using test_support::load_error_of;
using test_support::text_error_of;
using test_support::write_file;

class AnalyticsTest : public test_support::PrivatePathsTest {
protected:
    using Log = std::vector<test_support::LogLine>;

    static Log failed_to_read(std::string const& key, std::string const& reason) {
        return {{1, "Failed to read " + key + ": " + reason + "\n"}};
    }

    static Log failed_to_load() {
        return {{1, "Failed to load key file " + path + ": " + load_error_of(path) + "\n"}};
    }

    inline static const std::string path = "/etc/radar/analytics.conf";
    inline static const std::string group = "ANALYTICS";
};

TEST_F(AnalyticsTest, WithoutAFileSensitivityIsMediumAndSilent) {
    EXPECT_EQ(get_sensitivity(), 1);
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(AnalyticsTest, WithoutAFileHeightAndTiltAreZeroAndSilent) {
    EXPECT_EQ(get_height(), 0.0);
    EXPECT_EQ(get_tilt(), 0.0);
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(AnalyticsTest, WithoutTheKeySensitivityIsLowAndSilent) {
    write_file(path, "[ANALYTICS]\nmounting_height=1\n");
    EXPECT_EQ(get_sensitivity(), 0);
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(AnalyticsTest, WithoutTheKeysHeightAndTiltAreZeroAndSilent) {
    write_file(path, "[ANALYTICS]\ndetection_sensitivity=high\n");
    EXPECT_EQ(get_height(), 0.0);
    EXPECT_EQ(get_tilt(), 0.0);
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(AnalyticsTest, WithoutTheGroupSensitivityIsMediumAndLogged) {
    write_file(path, "[Other]\nk=1\n");
    EXPECT_EQ(get_sensitivity(), 1);
    EXPECT_EQ(captured_log(), failed_to_read("detection_sensitivity",
                                             text_error_of(path, group, "detection_sensitivity")));
}

TEST_F(AnalyticsTest, WithoutTheGroupHeightIsZeroAndLogged) {
    write_file(path, "[Other]\nk=1\n");
    EXPECT_EQ(get_height(), 0.0);
    EXPECT_EQ(captured_log(),
              failed_to_read("mounting_height", double_error_of(path, group, "mounting_height")));
}

TEST_F(AnalyticsTest, WithoutTheGroupTiltIsZeroAndLogged) {
    write_file(path, "[Other]\nk=1\n");
    EXPECT_EQ(get_tilt(), 0.0);
    EXPECT_EQ(captured_log(),
              failed_to_read("mounting_tilt", double_error_of(path, group, "mounting_tilt")));
}

TEST_F(AnalyticsTest, AFileThatStartsWithoutAGroupIsLikeAMissingOne) {
    write_file(path, "detection_sensitivity=high\n");
    EXPECT_EQ(get_sensitivity(), 1);
    EXPECT_EQ(get_height(), 0.0);
    EXPECT_EQ(captured_log(), Log{});
}

TEST_F(AnalyticsTest, AFileThatIsNoKeyFileIsLoggedForSensitivity) {
    write_file(path, "[ANALYTICS\n");
    EXPECT_EQ(get_sensitivity(), 1);
    EXPECT_EQ(captured_log(), failed_to_load());
}

TEST_F(AnalyticsTest, AFileThatIsNoKeyFileIsLoggedForHeight) {
    write_file(path, "[ANALYTICS\n");
    EXPECT_EQ(get_height(), 0.0);
    EXPECT_EQ(captured_log(), failed_to_load());
}

TEST_F(AnalyticsTest, AFileThatIsNoKeyFileIsLoggedForTilt) {
    write_file(path, "[ANALYTICS\n");
    EXPECT_EQ(get_tilt(), 0.0);
    EXPECT_EQ(captured_log(), failed_to_load());
}

TEST_F(AnalyticsTest, ADirectoryInPlaceOfTheFileIsLogged) {
    std::filesystem::create_directory(path);
    EXPECT_EQ(get_sensitivity(), 1);
    EXPECT_EQ(captured_log(), failed_to_load());
}

TEST_F(AnalyticsTest, ALinkThatLeadsToItselfIsLogged) {
    std::filesystem::create_symlink(path, path);
    EXPECT_EQ(get_tilt(), 0.0);
    EXPECT_EQ(captured_log(), failed_to_load());
}

TEST_F(AnalyticsTest, AMessageIsPassedOnAsOneCallOfTheSink) {
    write_file(path, "[ANALYTICS]\nmounting_tilt=%s%d\n");
    get_tilt();
    EXPECT_EQ(captured_log(),
              failed_to_read("mounting_tilt", double_error_of(path, group, "mounting_tilt")));
    EXPECT_EQ(test_support::captured_formats(), std::vector<std::string>{"%s"});
}

TEST_F(AnalyticsTest, AnErrorWithoutTextEndsTheMessageThere) {
    test_support::KeyFileCalls calls;
    calls.load = test_support::fails_without_message(2);
    EXPECT_EQ(get_sensitivity(), 1);
    EXPECT_EQ(captured_log(), (Log{{1, "Failed to load key file " + path + ": "}}));
}

TEST_F(AnalyticsTest, ASensitivityThatIsNoTextIsMediumAndLogged) {
    write_file(path, "[ANALYTICS]\ndetection_sensitivity=low\\x\n");
    EXPECT_EQ(get_sensitivity(), 1);
    EXPECT_EQ(captured_log(), failed_to_read("detection_sensitivity",
                                             text_error_of(path, group, "detection_sensitivity")));
}

TEST_F(AnalyticsTest, EveryCallReadsTheFileAnew) {
    for (const double height : {1.5, 2.75}) {
        write_file(path, "[ANALYTICS]\nmounting_height=" + std::to_string(height) + "\n");
        EXPECT_EQ(get_height(), height);
    }
    std::filesystem::remove(path);
    EXPECT_EQ(get_height(), 0.0);
}

TEST_F(AnalyticsTest, HeightAndTiltHaveKeysOfTheirOwn) {
    write_file(path, "[ANALYTICS]\nmounting_height=2.75\nmounting_tilt=-12.5\n");
    EXPECT_EQ(get_height(), 2.75);
    EXPECT_EQ(get_tilt(), -12.5);
}

TEST_F(AnalyticsTest, TheFileIsNeverWritten) {
    const std::string content = "# ours\n[ANALYTICS]\nmounting_height=2.75\n";
    write_file(path, content);
    get_sensitivity();
    get_height();
    get_tilt();
    EXPECT_EQ(test_support::read_file(path), content);
    EXPECT_EQ(test_support::list_directory("/etc/radar"),
              std::vector<std::string>{"analytics.conf"});
}

TEST_F(AnalyticsTest, ThreadsMayReadAtOnce) {
    write_file(path,
               "[ANALYTICS]\ndetection_sensitivity=high\nmounting_height=2.75\nmounting_tilt=x\n");
    const auto read = [] {
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(get_sensitivity(), 2);
            EXPECT_EQ(get_height(), 2.75);
            EXPECT_EQ(get_tilt(), 0.0);
        }
    };
    std::thread first(read);
    std::thread second(read);
    first.join();
    second.join();
    EXPECT_EQ(captured_log().size(), 40U);
}

struct Word {
    char const* name;
    char const* text;
    int level;
};

void PrintTo(Word const& word, std::ostream* os) {
    *os << word.name;
}

class SensitivityWordTest : public AnalyticsTest, public testing::WithParamInterface<Word> {};

TEST_P(SensitivityWordTest, GivesItsLevelSilently) {
    write_file(path, std::string("[ANALYTICS]\ndetection_sensitivity=") + GetParam().text + "\n");
    EXPECT_EQ(get_sensitivity(), GetParam().level);
    EXPECT_EQ(captured_log(), Log{});
}

INSTANTIATE_TEST_SUITE_P(Words, SensitivityWordTest,
                         testing::Values(Word{"Low", "low", 0}, Word{"Medium", "medium", 1},
                                         Word{"High", "high", 2}, Word{"HighInCapitals", "HIGH", 1},
                                         Word{"LowInCapitals", "Low", 1},
                                         Word{"LowAndABlank", "low ", 1}, Word{"Empty", "", 1},
                                         Word{"Longer", "lower", 1}, Word{"Number", "0", 1}),
                         [](auto const& named) { return std::string(named.param.name); });

struct Number {
    char const* name;
    char const* text;
    double value;
    bool logged;
};

void PrintTo(Number const& number, std::ostream* os) {
    *os << number.name;
}

class MountingNumberTest : public AnalyticsTest, public testing::WithParamInterface<Number> {
protected:
    void expect_number(std::string const& key, double (*get)()) {
        write_file(path, "[ANALYTICS]\n" + key + "=" + GetParam().text + "\n");
        const double value = get();
        if (std::isnan(GetParam().value)) {
            EXPECT_TRUE(std::isnan(value));
        } else {
            EXPECT_EQ(value, GetParam().value);
        }
        EXPECT_EQ(captured_log(), GetParam().logged
                                      ? failed_to_read(key, double_error_of(path, group, key))
                                      : Log{});
    }
};

TEST_P(MountingNumberTest, IsPassedOnAsHeight) {
    expect_number("mounting_height", get_height);
}

TEST_P(MountingNumberTest, IsPassedOnAsTilt) {
    expect_number("mounting_tilt", get_tilt);
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, MountingNumberTest,
    testing::Values(Number{"Fraction", "2.75", 2.75, false}, Number{"Negative", "-3", -3.0, false},
                    Number{"Exponent", "1e3", 1000.0, false}, Number{"Zero", "0", 0.0, false},
                    Number{"Hexadecimal", "0x10", 16.0, false},
                    Number{"NotANumber", "nan", std::nan(""), false},
                    Number{"Infinite", "inf", std::numeric_limits<double>::infinity(), false},
                    Number{"BlankBefore", " 2.75", 2.75, false},
                    Number{"BlankAfter", "2.75 ", 0.0, true}, Number{"Letters", "abc", 0.0, true},
                    Number{"WithUnit", "2.75m", 0.0, true}, Number{"Comma", "2,75", 0.0, true}),
    [](auto const& named) { return std::string(named.param.name); });

}  // namespace
