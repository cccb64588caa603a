#include "socket/frame_encoding.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "lib/allocations.h"
#include "lib/hex.h"
#include "socket/socket_buffer.h"
#include "support/system_calls.h"

namespace {

using google::protobuf::FieldDescriptor;
using test_support::bytes;
using test_support::hex;

float float_of(uint32_t bits) {
    float value = 0;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

/** What protobuf makes of the frame, without its negative zeros: the encoding is to be the same. */
std::string encode_with_protobuf(RO::RadarObjects frame) {
    for (RO::TargetData& target : *frame.mutable_targets()) {
        auto const* const reflection = target.GetReflection();
        for (int i = 0; i < target.GetDescriptor()->field_count(); ++i) {
            FieldDescriptor const* const field = target.GetDescriptor()->field(i);
            if (field->cpp_type() != FieldDescriptor::CPPTYPE_FLOAT) continue;
            if (reflection->GetFloat(target, field) == 0) reflection->ClearField(&target, field);
        }
    }
    return frame.SerializeAsString();
}

/** The same frame in a buffer. */
class FrameEncodingTest : public testing::Test {
protected:
    std::string encode(RO::RadarObjects const& frame) {
        EXPECT_TRUE(buffer.set_data(frame.SerializeAsString()));
        return buffer.data();
    }

    Radar::SocketBuffer buffer{0};
};

/** Numbers of every kind, the odd ones more often than chance would have them. */
class RandomFrames {
public:
    void fill(RO::RadarObjects& frame) {
        frame.Clear();
        frame.set_magic(any() % 4 == 0 ? number() : 29061378);
        frame.set_timestamp(uint64_t{number()} << (any() % 33));
        for (uint32_t count = any() % 4; count > 0; --count) {
            RO::TargetData& target = *frame.add_targets();
            target.set_rcs(real());
            target.set_r(real());
            target.set_rdot(real());
            target.set_theta(real());
            target.set_options(any() % 2 == 0 ? 0 : number());
            target.set_snr(real());
        }
    }

private:
    uint32_t any() { return static_cast<uint32_t>(random_()); }
    /** A number of 0 to 32 bits. */
    uint32_t number() { return static_cast<uint32_t>(uint64_t{any()} >> (any() % 33)); }
    float real() {
        const uint32_t bits = any();
        switch (bits % 8) {
            case 0:
                return 0.0F;
            case 1:
                return -0.0F;
            case 2:
                return float_of(bits | 0x7F800000);  // not a number, with any payload
            case 3:
                return float_of(bits & 0x807FFFFF);  // nearly zero
            default:
                return float_of(bits);
        }
    }

    std::minstd_rand random_;
};

TEST_F(FrameEncodingTest, IsProtobufsForRandomFrames) {
    constexpr int kFrames = 300000;
    RandomFrames frames;
    RO::RadarObjects frame;
    for (int i = 0; i < kFrames; ++i) {
        frames.fill(frame);
        const std::string expected = encode_with_protobuf(frame);
        const std::string encoding = encode(frame);
        ASSERT_TRUE(encoding == expected) << hex(encoding) << " is not " << hex(expected);
    }
}

/** Gives every field of a message another value, whatever fields the schema has. */
void fill_every_field(google::protobuf::Message& message) {
    auto const* const reflection = message.GetReflection();
    for (int i = 0; i < message.GetDescriptor()->field_count(); ++i) {
        FieldDescriptor const* const field = message.GetDescriptor()->field(i);
        switch (field->cpp_type()) {
            case FieldDescriptor::CPPTYPE_FLOAT:
                reflection->SetFloat(&message, field, 1.5F + static_cast<float>(i));
                break;
            case FieldDescriptor::CPPTYPE_UINT32:
                reflection->SetUInt32(&message, field, 300U + static_cast<uint32_t>(i));
                break;
            case FieldDescriptor::CPPTYPE_UINT64:
                reflection->SetUInt64(&message, field, 70000U + static_cast<uint64_t>(i));
                break;
            case FieldDescriptor::CPPTYPE_MESSAGE:
                fill_every_field(*reflection->AddMessage(&message, field));
                break;
            default:
                FAIL() << field->full_name() << " has a type that no field had";
        }
    }
}

TEST_F(FrameEncodingTest, HasEveryFieldOfTheSchema) {
    RO::RadarObjects frame;
    fill_every_field(frame);
    EXPECT_EQ(hex(encode(frame)), hex(frame.SerializeAsString()));
}

/** A frame with fields that the schema does not know, as bytes in the order of an encoding. */
struct NewerFrame {
    char const* name;
    std::string content;
};

void PrintTo(NewerFrame const& one, std::ostream* os) {
    *os << one.name;
}

class NewerFrameEncodingTest : public FrameEncodingTest,
                               public testing::WithParamInterface<NewerFrame> {};

/** A target with an unknown field of 200 bytes, which takes a length of two. */
std::string long_target() {
    return bytes("1A D0 01 15 00 00 C0 3F 3A C8 01") + std::string(200, 'u');
}

INSTANTIATE_TEST_SUITE_P(
    UnknownFields, NewerFrameEncodingTest,
    testing::Values(NewerFrame{"OfTheFrame",
                               bytes("08 01 10 02 1A 02 28 03 22 01 55 2D 01 02 03 04")},
                    NewerFrame{"OfATarget", bytes("08 01 1A 04 28 03 38 04")},
                    NewerFrame{"OfATargetBetweenOthers",
                               bytes("1A 05 15 00 00 C0 3F 1A 04 28 03 38 04 1A 02 28 05")},
                    NewerFrame{"OfATargetWithALongLength", long_target() + bytes("1A 02 28 05")},
                    NewerFrame{"OfEveryTarget", long_target() + long_target() + long_target()},
                    NewerFrame{"OfAnotherWireType", bytes("0D 01 00 00 00")}));

TEST_P(NewerFrameEncodingTest, KeepsWhatTheSchemaDoesNotKnow) {
    EXPECT_TRUE(buffer.set_data(GetParam().content));
    EXPECT_EQ(hex(buffer.data()), hex(GetParam().content));
}

TEST_F(FrameEncodingTest, OmitsANegativeZeroBesideAnUnknownField) {
    EXPECT_TRUE(buffer.set_data(bytes("1A 07 15 00 00 00 80 38 04")));
    EXPECT_EQ(hex(buffer.data()), "1A 02 38 04");
}

/** A frame of 64 targets, with the value of the parameter in each. */
class FrameAllocationTest : public testing::TestWithParam<float> {
protected:
    FrameAllocationTest() {
        for (int i = 0; i < 64; ++i) buffer.add_targets()->set_rdot(GetParam());
        expected = buffer.data();
        system_calls.write = [](int, void const*, size_t size) {
            return static_cast<ssize_t>(size);
        };
        system_calls.close = [](int) { return 0; };
    }

    test_support::SystemCalls system_calls;
    Radar::SocketBuffer buffer{64};
    std::string expected;
};

INSTANTIATE_TEST_SUITE_P(Speeds, FrameAllocationTest, testing::Values(1.5F, 0.0F, -0.0F));

TEST_P(FrameAllocationTest, AnEncodingIsOneAllocation) {
    test_support::Allocations allocations;
    const std::string encoding = buffer.data();
    EXPECT_EQ(allocations.count, 1);
    EXPECT_EQ(encoding, expected);
}

TEST_P(FrameAllocationTest, SendingAFrameIsOneAllocation) {
    buffer.set_fd(1, 1001);
    buffer.set_fd(2, 1002);
    test_support::Allocations allocations;
    buffer.send();
    EXPECT_EQ(allocations.count, 1);
}

}  // namespace
