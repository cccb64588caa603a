#include "chip/command_line.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "kit/base/usage_error.h"
#include "tests/support/private_paths.h"

namespace {

using Arguments = std::vector<std::string>;

class ChipOptionsTest : public testing::Test {
protected:
    std::optional<Chip::Options> parse(Arguments const& arguments) {
        std::vector<char const*> pointers = {"petrelradar-chip"};
        for (std::string const& argument : arguments) pointers.push_back(argument.c_str());
        return Chip::parse_options(static_cast<int>(pointers.size()), pointers.data(), out_);
    }

    std::string usage_error(Arguments const& arguments) {
        try {
            parse(arguments);
        } catch (Kit::UsageError const& error) {
            return error.what();
        }
        return "none";
    }

    std::ostringstream out_;
};

TEST_F(ChipOptionsTest, WithoutAnyTheInputIsASceneAtItsOwnPace) {
    const Chip::Options options = parse({}).value();
    EXPECT_EQ(options.input, "scene");
    EXPECT_EQ(options.rate, 1);
    EXPECT_EQ(options.frame_rate, std::nullopt);
    EXPECT_FALSE(options.loop);
    EXPECT_FALSE(options.skip_gaps);
    EXPECT_EQ(options.command_byte, 0x20);
    EXPECT_TRUE(options.command.empty());
}

TEST_F(ChipOptionsTest, EveryOptionIsTaken) {
    const Chip::Options options =
        parse({"--input", "walk.csv", "--rate", "2.5", "--frame-rate", "25", "--loop",
               "--skip-gaps", "--command-byte", "0x40", "--interference", "7", "--saturation", "9"})
            .value();
    EXPECT_EQ(options.input, "walk.csv");
    EXPECT_EQ(options.rate, 2.5);
    EXPECT_EQ(options.frame_rate, 25);
    EXPECT_TRUE(options.loop);
    EXPECT_TRUE(options.skip_gaps);
    EXPECT_EQ(options.command_byte, 0x40);
    EXPECT_EQ(options.interference_every, 7);
    EXPECT_EQ(options.saturation_every, 9);
}

TEST_F(ChipOptionsTest, WhatFollowsTwoDashesIsTheCommandWithItsOwnOptions) {
    const Chip::Options options =
        parse({"--loop", "--", "petrelradard", "--input", "chip", "--", "--loop"}).value();
    EXPECT_EQ(options.command, (Arguments{"petrelradard", "--input", "chip", "--", "--loop"}));
    EXPECT_EQ(options.input, "scene");
}

TEST_F(ChipOptionsTest, ARateThatIsNotAboveZeroIsRefused) {
    for (std::string const& rate : Arguments{"0", "-1", "nan", "inf", "1x", "1000001"}) {
        EXPECT_EQ(usage_error({"--rate=" + rate}),
                  "--rate: \"" + rate + "\" is not a number above 0 and up to 1000000");
    }
}

TEST_F(ChipOptionsTest, AFrameRateAbove1000IsRefused) {
    EXPECT_EQ(usage_error({"--frame-rate", "1001"}),
              "--frame-rate: \"1001\" is not a number above 0 and up to 1000");
}

TEST_F(ChipOptionsTest, AnEmptyInputIsRefused) {
    EXPECT_EQ(usage_error({"--input", ""}), "--input: the name is empty");
}

TEST_F(ChipOptionsTest, AnOddCommandByteIsRefused) {
    EXPECT_EQ(usage_error({"--command-byte", "33"}),
              "--command-byte: 33 is not an even number from 0 to 254");
}

TEST_F(ChipOptionsTest, ACommandByteOfMoreThan8BitsIsRefused) {
    EXPECT_EQ(usage_error({"--command-byte", "256"}),
              "--command-byte: 256 is not an even number from 0 to 254");
}

TEST_F(ChipOptionsTest, AnUnknownOptionIsRefused) {
    EXPECT_NE(usage_error({"--frames"}), "none");
}

TEST_F(ChipOptionsTest, PrintMapPrintsTheMapInPlaceOfAChip) {
    EXPECT_EQ(parse({"--print-map"}), std::nullopt);
    EXPECT_EQ(out_.str(), Kit::DemoChip::register_map_text());
}

TEST_F(ChipOptionsTest, ThePageExplainsEveryOptionOfTheHelp) {
    parse({"--help"});
    const std::string page =
        test_support::read_file(std::string(PETRELRADAR_SOURCE_DIR) + "/docs/demo-chip.md");
    int options = 0;
    std::istringstream help(out_.str());
    for (std::string word; help >> word;) {
        const bool own = word.rfind("--", 0) == 0 && word.size() > 2;
        if (!own || word == "--help" || word == "--version") continue;
        ++options;
        EXPECT_NE(page.find("`" + word), std::string::npos) << word;
    }
    EXPECT_GE(options, 8);
}

TEST_F(ChipOptionsTest, HelpNamesEveryOption) {
    EXPECT_EQ(parse({"--help"}), std::nullopt);
    for (std::string const& option :
         Arguments{"--input", "--rate", "--frame-rate", "--loop", "--skip-gaps", "--command-byte",
                   "--interference", "--saturation", "--print-map", "--version", "COMMAND"}) {
        EXPECT_NE(out_.str().find(option), std::string::npos) << option;
    }
}

}  // namespace
