#include "service/command_line.h"

#include <gmock/gmock.h>

#include <sstream>

#include "kit/base/usage_error.h"

namespace {

using Kit::UsageError;
using Service::Options;
using testing::HasSubstr;

class OptionsTest : public testing::Test {
protected:
    std::optional<Options> parse(std::vector<char const*> arguments) {
        arguments.insert(arguments.begin(), "petrelradard");
        return Service::parse_options(static_cast<int>(arguments.size()), arguments.data(),
                                      output_);
    }

    std::string refusal(std::vector<char const*> const& arguments) {
        try {
            parse(arguments);
        } catch (UsageError const& error) {
            return error.what();
        }
        return "";
    }

    std::ostringstream output_;
};

TEST_F(OptionsTest, WithoutArgumentsTheChipIsRead) {
    EXPECT_EQ(parse({})->input, "chip");
}

TEST_F(OptionsTest, WithoutArgumentsTheDefaultSettingsAndSocketsAreMeant) {
    const Options options = *parse({});
    EXPECT_EQ(options.settings_file + options.socket + options.status_socket, "");
}

TEST_F(OptionsTest, ARateIsANumber) {
    EXPECT_EQ(parse({"--input", "a.csv", "--rate", "2.5"})->rate, 2.5);
}

TEST_F(OptionsTest, TheHighestRateIsNoNumber) {
    EXPECT_EQ(parse({"--input", "a.csv", "--rate", "max"})->rate, std::nullopt);
}

TEST_F(OptionsTest, AnInputEndsUnlessItIsToLoop) {
    EXPECT_FALSE(parse({"--input", "a.csv"})->loop);
    EXPECT_TRUE(parse({"--input", "a.csv", "--loop"})->loop);
}

TEST_F(OptionsTest, AFrameRateIsForAScene) {
    EXPECT_EQ(parse({"--input", "scene:7", "--frame-rate", "12.5"})->frame_rate, 12.5);
}

TEST_F(OptionsTest, HelpIsPrintedWithExamplesAndIsAllThereIs) {
    EXPECT_EQ(parse({"--help"}), std::nullopt);
    EXPECT_THAT(output_.str(), HasSubstr("Examples:"));
}

TEST_F(OptionsTest, HelpNamesEveryOption) {
    parse({"--help"});
    for (char const* const option :
         {"--input", "--rate", "--loop", "--skip-gaps", "--settings", "--socket", "--status-socket",
          "--frame-rate", "--version", "--help"}) {
        EXPECT_THAT(output_.str(), HasSubstr(option));
    }
}

TEST_F(OptionsTest, TheVersionIsPrintedAndIsAllThereIs) {
    EXPECT_EQ(parse({"--version"}), std::nullopt);
    EXPECT_THAT(output_.str(), testing::MatchesRegex("petrelradard [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(OptionsTest, AnUnknownOptionIsNamed) {
    EXPECT_THAT(refusal({"--bogus"}), HasSubstr("--bogus"));
}

TEST_F(OptionsTest, AnArgumentThatIsNoOptionIsNamed) {
    EXPECT_THAT(refusal({"walk.csv"}), HasSubstr("walk.csv"));
}

TEST_F(OptionsTest, AnOptionWithoutItsValueIsNamed) {
    EXPECT_THAT(refusal({"--input"}), HasSubstr("--input"));
}

TEST_F(OptionsTest, AnEmptyNameIsNotTheDefault) {
    for (char const* const option : {"--input", "--settings", "--socket", "--status-socket"}) {
        EXPECT_EQ(refusal({option, ""}), std::string(option) + ": the name is empty");
    }
}

TEST_F(OptionsTest, ARateForTheChipIsRefused) {
    EXPECT_THAT(refusal({"--rate", "2"}), HasSubstr("--rate"));
}

TEST_F(OptionsTest, ALoopOfTheChipIsRefused) {
    EXPECT_EQ(refusal({"--loop"}), "--loop: a chip does not begin again");
    EXPECT_EQ(refusal({"--input", "chip", "--loop"}), "--loop: a chip does not begin again");
}

TEST_F(OptionsTest, SkippingGapsOfTheChipIsRefused) {
    EXPECT_EQ(refusal({"--skip-gaps"}), "--skip-gaps: a chip has a pace of its own");
}

TEST_F(OptionsTest, GapsAreKeptUnlessTheyAreToBeSkipped) {
    EXPECT_FALSE(parse({"--input", "a.csv"})->skip_gaps);
    EXPECT_TRUE(parse({"--input", "a.csv", "--skip-gaps"})->skip_gaps);
}

TEST_F(OptionsTest, AFrameRateForALogIsRefused) {
    EXPECT_THAT(refusal({"--input", "a.csv", "--frame-rate", "5"}), HasSubstr("--frame-rate"));
}

TEST_F(OptionsTest, AFrameRateThatTheChipCannotBeSetToIsRefused) {
    EXPECT_THAT(refusal({"--frame-rate", "12.5"}), HasSubstr("--frame-rate"));
    EXPECT_THAT(refusal({"--frame-rate", "256"}), HasSubstr("--frame-rate"));
}

class BadNumberTest : public OptionsTest, public testing::WithParamInterface<char const*> {};

TEST_P(BadNumberTest, ARateIsRefusedAndQuoted) {
    EXPECT_THAT(refusal({"--input", "a.csv", "--rate", GetParam()}),
                HasSubstr("\"" + std::string(GetParam()) + "\""));
}

TEST_P(BadNumberTest, AFrameRateIsRefusedAndQuoted) {
    EXPECT_THAT(refusal({"--input", "scene", "--frame-rate", GetParam()}),
                HasSubstr("\"" + std::string(GetParam()) + "\""));
}

INSTANTIATE_TEST_SUITE_P(Texts, BadNumberTest,
                         testing::Values("0", "-1", "nan", "inf", "1e999", "2x", "fast", ""));

}  // namespace
