#include "radar_objects/radar_objects.pb.h"

#include <gmock/gmock.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>

#include <limits>
#include <type_traits>

#include "lib/hex.h"

namespace {

using google::protobuf::FieldDescriptorProto;
using test_support::bytes;
using test_support::hex;

std::string encoding(RO::RadarObjects const& frame) {
    return hex(frame.SerializeAsString());
}

/** A frame made from hexadecimal pairs; fails the test when they are not one. */
RO::RadarObjects decoded(std::string const& pairs) {
    const std::string content = bytes(pairs);
    RO::RadarObjects frame;
    EXPECT_TRUE(frame.ParseFromArray(content.data(), static_cast<int>(content.size())));
    return frame;
}

bool parses(std::string const& pairs) {
    const std::string content = bytes(pairs);
    return RO::RadarObjects().ParseFromArray(content.data(), static_cast<int>(content.size()));
}

/** The schema in the generated code. */
google::protobuf::FileDescriptorProto schema() {
    google::protobuf::FileDescriptorProto file;
    RO::RadarObjects::descriptor()->file()->CopyTo(&file);
    return file;
}

struct ExpectedField {
    char const* message;
    char const* name;
    int number;
    FieldDescriptorProto::Type type;
    FieldDescriptorProto::Label label;
    char const* type_name;
};

void PrintTo(ExpectedField const& one, std::ostream* os) {
    *os << one.message << '.' << one.name;
}

class RadarObjectsFieldTest : public testing::TestWithParam<ExpectedField> {
protected:
    FieldDescriptorProto field() const {
        FieldDescriptorProto found;
        auto const* message =
            RO::RadarObjects::descriptor()->file()->FindMessageTypeByName(GetParam().message);
        message->FindFieldByName(GetParam().name)->CopyTo(&found);
        return found;
    }
};

INSTANTIATE_TEST_SUITE_P(
    Schema, RadarObjectsFieldTest,
    testing::Values(ExpectedField{"TargetData", "rcs", 1, FieldDescriptorProto::TYPE_FLOAT,
                                  FieldDescriptorProto::LABEL_OPTIONAL, ""},
                    ExpectedField{"TargetData", "r", 2, FieldDescriptorProto::TYPE_FLOAT,
                                  FieldDescriptorProto::LABEL_OPTIONAL, ""},
                    ExpectedField{"TargetData", "rdot", 3, FieldDescriptorProto::TYPE_FLOAT,
                                  FieldDescriptorProto::LABEL_OPTIONAL, ""},
                    ExpectedField{"TargetData", "theta", 4, FieldDescriptorProto::TYPE_FLOAT,
                                  FieldDescriptorProto::LABEL_OPTIONAL, ""},
                    ExpectedField{"TargetData", "options", 5, FieldDescriptorProto::TYPE_UINT32,
                                  FieldDescriptorProto::LABEL_OPTIONAL, ""},
                    ExpectedField{"TargetData", "snr", 6, FieldDescriptorProto::TYPE_FLOAT,
                                  FieldDescriptorProto::LABEL_OPTIONAL, ""},
                    ExpectedField{"RadarObjects", "magic", 1, FieldDescriptorProto::TYPE_UINT32,
                                  FieldDescriptorProto::LABEL_OPTIONAL, ""},
                    ExpectedField{"RadarObjects", "timestamp", 2, FieldDescriptorProto::TYPE_UINT64,
                                  FieldDescriptorProto::LABEL_OPTIONAL, ""},
                    ExpectedField{"RadarObjects", "targets", 3, FieldDescriptorProto::TYPE_MESSAGE,
                                  FieldDescriptorProto::LABEL_REPEATED, ".RO.TargetData"}));

TEST_P(RadarObjectsFieldTest, HasTheNumberAndTheTypeThatEveryReaderCountsOn) {
    EXPECT_EQ(field().number(), GetParam().number);
    EXPECT_EQ(field().type(), GetParam().type);
    EXPECT_EQ(field().label(), GetParam().label);
    EXPECT_EQ(field().type_name(), GetParam().type_name);
}

TEST_P(RadarObjectsFieldTest, HasNoPresenceNoDefaultAndNoOptions) {
    EXPECT_FALSE(field().proto3_optional());
    EXPECT_FALSE(field().has_oneof_index());
    EXPECT_FALSE(field().has_default_value());
    EXPECT_FALSE(field().has_json_name());
    EXPECT_FALSE(field().has_options());
}

TEST(RadarObjectsSchemaTest, IsTheProto3FileRadarObjectsInPackageRO) {
    EXPECT_EQ(schema().name(), "radar_objects.proto");
    EXPECT_EQ(schema().package(), "RO");
    EXPECT_EQ(schema().syntax(), "proto3");
}

TEST(RadarObjectsSchemaTest, ImportsNothingAndSetsNoOptions) {
    EXPECT_EQ(schema().dependency_size(), 0);
    EXPECT_FALSE(schema().has_options());
    EXPECT_FALSE(schema().message_type(0).has_options());
    EXPECT_FALSE(schema().message_type(1).has_options());
}

TEST(RadarObjectsSchemaTest, HoldsExactlyTheTargetAndTheFrame) {
    ASSERT_EQ(schema().message_type_size(), 2);
    EXPECT_EQ(schema().message_type(0).name(), "TargetData");
    EXPECT_EQ(schema().message_type(0).field_size(), 6);
    EXPECT_EQ(schema().message_type(1).name(), "RadarObjects");
    EXPECT_EQ(schema().message_type(1).field_size(), 3);
    EXPECT_EQ(schema().enum_type_size() + schema().service_size() + schema().extension_size(), 0);
}

TEST(RadarObjectsSchemaTest, IsRegisteredOnceTheLibraryIsLoaded) {
    auto const* file =
        google::protobuf::DescriptorPool::generated_pool()->FindFileByName("radar_objects.proto");
    EXPECT_EQ(file, RO::RadarObjects::descriptor()->file());
}

TEST(RadarObjectsSchemaTest, MessagesAreFullMessagesWithArenaSupport) {
    EXPECT_TRUE((std::is_base_of<google::protobuf::Message, RO::TargetData>::value));
    EXPECT_TRUE((std::is_base_of<google::protobuf::Message, RO::RadarObjects>::value));
    google::protobuf::Arena arena;
    auto* frame = google::protobuf::Arena::CreateMessage<RO::RadarObjects>(&arena);
    EXPECT_EQ(frame->add_targets()->GetArena(), &arena);
}

TEST(RadarObjectsEncodingTest, FieldsAreWrittenInAscendingOrder) {
    RO::RadarObjects frame;
    RO::TargetData* target = frame.add_targets();
    target->set_snr(6);
    target->set_options(5);
    target->set_theta(4);
    target->set_rdot(3);
    target->set_r(2);
    target->set_rcs(1);
    frame.set_timestamp(7);
    frame.set_magic(8);
    EXPECT_EQ(encoding(frame),
              "08 08 10 07 1A 1B 0D 00 00 80 3F 15 00 00 00 40 1D 00 00 40 40 "
              "25 00 00 80 40 28 05 35 00 00 C0 40");
}

TEST(RadarObjectsEncodingTest, ADefaultFrameIsZeroBytes) {
    EXPECT_EQ(encoding(RO::RadarObjects()), "");
}

TEST(RadarObjectsEncodingTest, TheMagicIsATagAndAVarint) {
    RO::RadarObjects frame;
    frame.set_magic(29061378);
    EXPECT_EQ(encoding(frame), "08 82 E2 ED 0D");
}

TEST(RadarObjectsEncodingTest, TheLargestTimestampTakesATenByteVarint) {
    RO::RadarObjects frame;
    frame.set_timestamp(std::numeric_limits<uint64_t>::max());
    EXPECT_EQ(encoding(frame), "10 FF FF FF FF FF FF FF FF FF 01");
}

TEST(RadarObjectsEncodingTest, ATargetOfZeroesIsTwoBytes) {
    RO::RadarObjects frame;
    frame.add_targets();
    frame.add_targets();
    EXPECT_EQ(encoding(frame), "1A 00 1A 00");
}

TEST(RadarObjectsEncodingTest, TargetsKeepTheirOrder) {
    RO::RadarObjects frame;
    frame.add_targets()->set_options(3);
    frame.add_targets()->set_options(1);
    frame.add_targets()->set_options(2);
    EXPECT_EQ(encoding(frame), "1A 02 28 03 1A 02 28 01 1A 02 28 02");
}

TEST(RadarObjectsEncodingTest, OptionsAreAVarintOfUpToFiveBytes) {
    RO::RadarObjects frame;
    frame.add_targets()->set_options(300);
    frame.add_targets()->set_options(0xFFFFFFFF);
    EXPECT_EQ(encoding(frame), "1A 03 28 AC 02 1A 06 28 FF FF FF FF 0F");
}

TEST(RadarObjectsEncodingTest, NotANumberIsWritten) {
    RO::RadarObjects frame;
    frame.add_targets()->set_r(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(encoding(frame), "1A 05 15 00 00 C0 7F");
}

TEST(RadarObjectsEncodingTest, PositiveZeroIsOmitted) {
    RO::RadarObjects frame;
    frame.add_targets()->set_r(0.0F);
    EXPECT_EQ(encoding(frame), "1A 00");
}

TEST(RadarObjectsEncodingTest, TheSmallestFloatIsWritten) {
    RO::RadarObjects frame;
    frame.add_targets()->set_r(std::numeric_limits<float>::denorm_min());
    EXPECT_EQ(encoding(frame), "1A 05 15 01 00 00 00");
}

TEST(RadarObjectsDecodingTest, EveryFieldIsResetFirst) {
    RO::RadarObjects frame = decoded("08 82 E2 ED 0D 10 01 1A 02 28 01");
    EXPECT_TRUE(frame.ParseFromArray("", 0));
    EXPECT_EQ(frame.magic(), 0U);
    EXPECT_EQ(frame.timestamp(), 0U);
    EXPECT_EQ(frame.targets_size(), 0);
}

TEST(RadarObjectsDecodingTest, AFrameWithoutMagicHasMagicZero) {
    EXPECT_EQ(decoded("10 01").magic(), 0U);
}

TEST(RadarObjectsDecodingTest, TheLastOfTwoValuesCounts) {
    EXPECT_EQ(decoded("08 01 08 02").magic(), 2U);
}

TEST(RadarObjectsDecodingTest, AFullTargetKeepsEveryValue) {
    const RO::RadarObjects frame = decoded(
        "1A 1B 0D 00 00 80 3F 15 00 00 00 40 1D 00 00 40 40 25 00 00 80 40 28 05 35 00 00 C0 40");
    ASSERT_EQ(frame.targets_size(), 1);
    RO::TargetData const& target = frame.targets(0);
    EXPECT_EQ(target.rcs(), 1);
    EXPECT_EQ(target.r(), 2);
    EXPECT_EQ(target.rdot(), 3);
    EXPECT_EQ(target.theta(), 4);
    EXPECT_EQ(target.options(), 5U);
    EXPECT_EQ(target.snr(), 6);
}

TEST(RadarObjectsDecodingTest, AnUnknownFieldIsKeptAndWrittenAgain) {
    EXPECT_EQ(encoding(decoded("08 01 3A 03 61 62 63")), "08 01 3A 03 61 62 63");
}

TEST(RadarObjectsDecodingTest, AnUnknownFieldOfATargetIsKeptAndWrittenAgain) {
    EXPECT_EQ(encoding(decoded("1A 04 28 01 38 07")), "1A 04 28 01 38 07");
}

TEST(RadarObjectsDecodingTest, AValueOfAnotherWireTypeIsKeptAsUnknown) {
    const RO::RadarObjects frame = decoded("0D 01 00 00 00");
    EXPECT_EQ(frame.magic(), 0U);
    EXPECT_EQ(encoding(frame), "0D 01 00 00 00");
}

/** Bytes that are no frame. */
struct Malformed {
    char const* name;
    char const* content;
};

void PrintTo(Malformed const& one, std::ostream* os) {
    *os << one.name;
}

class RadarObjectsMalformedTest : public testing::TestWithParam<Malformed> {};

INSTANTIATE_TEST_SUITE_P(
    Decoding, RadarObjectsMalformedTest,
    testing::Values(Malformed{"TruncatedTag", "88"}, Malformed{"TruncatedVarint", "08 82 E2"},
                    Malformed{"MissingValue", "08"}, Malformed{"TruncatedFloat", "1A 03 15 00 00"},
                    Malformed{"TruncatedLength", "1A 80"},
                    Malformed{"LengthBeyondTheBuffer", "1A 05 15 00 00 C0"},
                    Malformed{"FieldBeyondItsTarget", "1A 02 15 00 00 C0 7F"},
                    Malformed{"VarintOfElevenBytes", "10 FF FF FF FF FF FF FF FF FF FF 01"},
                    Malformed{"LengthAboveTwoGibibytes", "1A FF FF FF FF 0F"},
                    Malformed{"FieldNumberZero", "00 01"}, Malformed{"UndefinedWireType", "0E 01"},
                    Malformed{"EndOfNoGroup", "0C"}));

TEST_P(RadarObjectsMalformedTest, IsRefused) {
    EXPECT_FALSE(parses(GetParam().content));
}

TEST(RadarObjectsTest, CopyingATargetLeavesTheOriginalIndependent) {
    RO::TargetData original;
    original.set_r(2.5F);
    RO::TargetData copy;
    copy.CopyFrom(original);
    original.Clear();
    EXPECT_EQ(copy.r(), 2.5F);
    EXPECT_EQ(original.r(), 0);
}

}  // namespace
