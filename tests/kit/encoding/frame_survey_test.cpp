#include "kit/encoding/frame_survey.h"

#include <gtest/gtest.h>

#include <string>

#include "radar_objects/radar_objects.pb.h"
#include "tests/support/random_frames.h"

namespace {

using test_support::Random;
using std::string_literals::operator""s;

/** Surveys `encoding` and expects what protobuf's own parser says. */
testing::AssertionResult agrees(std::string const& encoding) {
    RO::RadarObjects frame;
    const bool parsed = frame.ParseFromArray(encoding.data(), static_cast<int>(encoding.size()));
    Kit::FrameSurvey survey;
    const bool surveyed = Kit::survey_frame(encoding, survey);
    if (surveyed != parsed) {
        return testing::AssertionFailure()
               << "parser says " << parsed << " to " << testing::PrintToString(encoding);
    }
    if (parsed && (survey.magic != frame.magic() || survey.timestamp != frame.timestamp() ||
                   survey.targets != static_cast<uint32_t>(frame.targets_size()))) {
        return testing::AssertionFailure() << "differs from " << frame.DebugString();
    }
    return testing::AssertionSuccess();
}

bool is_frame(std::string const& encoding) {
    Kit::FrameSurvey survey;
    return Kit::survey_frame(encoding, survey) && agrees(encoding);
}

bool is_none(std::string const& encoding) {
    Kit::FrameSurvey survey;
    return !Kit::survey_frame(encoding, survey) && agrees(encoding);
}

std::string make_frame(Random& random) {
    return test_support::random_frame(random, 5).SerializeAsString();
}

/** Changes, removes, doubles or inserts a byte, mostly one that means something. */
void damage(std::string& bytes, Random& random) {
    static const std::string kTelling =
        "\x00\x03\x04\x08\x0B\x0C\x0D\x10\x1A\x1B\x1C\x7A\x7B\x7C\x80\xFF"s;
    const auto size = static_cast<uint32_t>(bytes.size());
    const size_t place = random.below(size + 1);
    const char byte =
        random.below(3) == 0 ? static_cast<char>(random.below(256)) : kTelling[random.below(16)];
    switch (random.below(4)) {
        case 0:
            bytes.insert(place, 1, byte);
            break;
        case 1:
            bytes.erase(place, 1 + random.below(3));
            break;
        case 2:
            bytes.insert(place, bytes.substr(random.below(size + 1), random.below(12)));
            break;
        default:
            if (place < size) bytes[place] = byte;
            break;
    }
}

TEST(FrameSurveyTest, AFramesFieldsAreTold) {
    Kit::FrameSurvey survey;
    ASSERT_TRUE(
        Kit::survey_frame("\x08\x82\xE2\xED\x0D\x10\x96\x01\x1A\x00\x1A\x02\x28\x07"s, survey));
    EXPECT_EQ(survey.magic, 29061378u);
    EXPECT_EQ(survey.timestamp, 150u);
    EXPECT_EQ(survey.targets, 2u);
}

TEST(FrameSurveyTest, NoBytesAreAFrameOfZeros) {
    EXPECT_TRUE(is_frame(""));
}

TEST(FrameSurveyTest, TheLastOfTwoValuesCounts) {
    Kit::FrameSurvey survey;
    ASSERT_TRUE(Kit::survey_frame("\x08\x01\x08\x02"s, survey));
    EXPECT_EQ(survey.magic, 2u);
}

TEST(FrameSurveyTest, UnknownFieldsArePassedOver) {
    EXPECT_TRUE(is_frame("\x78\x01"s));
    EXPECT_TRUE(
        is_frame("\x79"
                 "12345678"s));
    EXPECT_TRUE(
        is_frame("\x7A\x03"
                 "abc"s));
    EXPECT_TRUE(is_frame("\x7B\x08\x01\x7C"s));
    EXPECT_TRUE(
        is_frame("\x7D"
                 "1234"s));
}

TEST(FrameSurveyTest, KnownNumbersOfAnotherWireTypeArePassedOver) {
    EXPECT_TRUE(
        is_frame("\x0D"
                 "1234"s));
    EXPECT_TRUE(is_frame("\x18\x01"s));
    EXPECT_TRUE(is_frame("\x1A\x02\x08\x01"s));
}

TEST(FrameSurveyTest, FieldNumberZeroIsMalformed) {
    EXPECT_TRUE(is_none("\x00\x01"s));
    EXPECT_TRUE(is_none("\x1A\x02\x00\x01"s));
}

TEST(FrameSurveyTest, WireTypesThatDoNotExistAreMalformed) {
    EXPECT_TRUE(is_none("\x7E\x01"s));
    EXPECT_TRUE(is_none("\x7F\x01"s));
}

TEST(FrameSurveyTest, VarintsOfTenBytesAreReadAndOfElevenMalformed) {
    EXPECT_TRUE(is_frame("\x10"s + std::string(9, '\xFF') + '\x01'));
    EXPECT_TRUE(is_frame("\x08"s + std::string(9, '\xFF') + '\x7F'));
    EXPECT_TRUE(is_none("\x10"s + std::string(10, '\xFF') + '\x01'));
}

TEST(FrameSurveyTest, LengthsOfFiveBytesAreReadAndOfSixMalformed) {
    EXPECT_TRUE(is_frame("\x1A\x80\x80\x80\x80\x00"s));
    EXPECT_TRUE(is_none("\x1A\x80\x80\x80\x80\x80\x00"s));
    EXPECT_TRUE(is_none("\x1A\x80\x80\x80\x80\x10"s));
}

TEST(FrameSurveyTest, TagsOfFiveBytesLoseTheBitsBeyond32) {
    EXPECT_TRUE(is_frame("\x88\x80\x80\x80\x10\x05"s));
    EXPECT_TRUE(is_none("\x88\x80\x80\x80\x80\x00\x05"s));
}

TEST(FrameSurveyTest, ALengthBeyondTheRestIsMalformed) {
    EXPECT_TRUE(is_none("\x1A\x01"s));
    EXPECT_TRUE(is_none("\x1A\x02\x7A\x01"s));
    EXPECT_TRUE(is_none("\x1A\xFF\xFF\xFF\xFF\x07"s));
}

TEST(FrameSurveyTest, AGroupThatEndsWithAnotherNumberIsMalformed) {
    EXPECT_TRUE(is_none("\x7B\x74"s));
    EXPECT_TRUE(is_none("\x7B"s));
    EXPECT_TRUE(is_none("\x7C"s));
    EXPECT_TRUE(is_none("\x1A\x01\x1C"s));
}

TEST(FrameSurveyTest, GroupsNestAsDeepAsTheParserAllows) {
    for (size_t depth = 97; depth < 104; ++depth) {
        const std::string groups = std::string(depth, '\x7B') + std::string(depth, '\x7C');
        EXPECT_TRUE(agrees(groups)) << depth;
        std::string inside = "\x1A"s;
        inside += static_cast<char>(((2 * depth) & 0x7F) | 0x80);
        inside += static_cast<char>(2 * depth >> 7);
        EXPECT_TRUE(agrees(inside + groups)) << depth;
    }
}

TEST(FrameSurveyTest, EveryPrefixOfAFrameIsJudgedAsTheParserDoes) {
    Random random(1);
    const std::string frame = make_frame(random) + make_frame(random);
    for (size_t size = 0; size <= frame.size(); ++size) {
        EXPECT_TRUE(agrees(frame.substr(0, size)));
    }
}

TEST(FrameSurveyTest, DamagedFramesAreJudgedAsTheParserDoes) {
    Random random(2);
    int refused = 0;
    for (int i = 0; i < 100000; ++i) {
        std::string bytes = make_frame(random);
        for (unsigned n = random.below(4); n > 0; --n) damage(bytes, random);
        ASSERT_TRUE(agrees(bytes)) << i;
        if (!RO::RadarObjects().ParseFromString(bytes)) ++refused;
    }
    EXPECT_GT(refused, 20000);
    EXPECT_LT(refused, 80000);
}

TEST(FrameSurveyTest, TheWalkEndsWhereTheEncodingIsMalformed) {
    Kit::FrameSurvey survey;
    size_t examined = 0;
    EXPECT_FALSE(Kit::survey_frame("\x08\x01"s + std::string(1000, '\0'), survey, &examined));
    EXPECT_EQ(examined, 3u);
}

}  // namespace
