#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>
#include <system_error>

#include "lib/radar/fake_bus.h"
#include "radar/radar_interface.h"

namespace {

using Radar::FieldSetting;
using Radar::RadarField;
using Radar::RegisterSetting;
using test_support::FakeBus;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kAddress = 5;
constexpr int kAllBits = -1;
constexpr int kHighestBit = std::numeric_limits<int>::min();

/** A field of a register, the register's value, and what the field reads. */
struct FieldReading {
    char const* name;
    int value;
    int shift;
    int width;
    int result;
};

void PrintTo(FieldReading const& one, std::ostream* os) {
    *os << one.name;
}

class ReadFieldTest : public testing::TestWithParam<FieldReading> {};

INSTANTIATE_TEST_SUITE_P(
    Fields, ReadFieldTest,
    testing::Values(FieldReading{"Low", 0x12345678, 0, 8, 0x78},
                    FieldReading{"Middle", 0x12345678, 8, 12, 0x456},
                    FieldReading{"High", 0x12345678, 28, 4, 1},
                    FieldReading{"TheSignBitIsOne", kHighestBit, 31, 1, 1},
                    FieldReading{"ANegativeRegisterHasUnsignedFields", kAllBits, 24, 8, 0xFF},
                    FieldReading{"TheWholeRegister", -123456789, 0, 32, -123456789},
                    FieldReading{"WidthOf31", kAllBits, 0, 31, 0x7FFFFFFF},
                    FieldReading{"WidthAbove32", -5, 0, 33, -5},
                    FieldReading{"WidthFarAbove32", -5, 0, 1000, -5},
                    FieldReading{"WidthZero", kAllBits, 0, 0, 0},
                    FieldReading{"TheShiftKeepsTheSign", -256, 4, 32, -16},
                    FieldReading{"BitsAboveTheRegisterAreItsSign", kHighestBit, 28, 8, 0xF8},
                    FieldReading{"Shift32OfANegative", kHighestBit, 32, 32, -1},
                    FieldReading{"Shift32OfANegativeIsMasked", kHighestBit, 32, 3, 7},
                    FieldReading{"Shift32OfAPositive", 0x7FFFFFFF, 32, 32, 0},
                    FieldReading{"ShiftFarAbove32", kAllBits, 1000, 4, 15}));

TEST_P(ReadFieldTest, IsExtractedFromItsRegister) {
    FakeBus bus;
    bus.registers[kAddress] = GetParam().value;
    EXPECT_EQ(bus.read_field({kAddress, GetParam().shift, GetParam().width}), GetParam().result);
    EXPECT_THAT(bus.traffic, ElementsAre("read 5"));
}

/** A value written to a field of a register, the register before and the register after. */
struct FieldWriting {
    char const* name;
    int before;
    int shift;
    int width;
    int value;
    int after;
};

void PrintTo(FieldWriting const& one, std::ostream* os) {
    *os << one.name;
}

class WriteFieldTest : public testing::TestWithParam<FieldWriting> {};

INSTANTIATE_TEST_SUITE_P(
    Fields, WriteFieldTest,
    testing::Values(FieldWriting{"Low", 0x12345678, 0, 8, 0xAB, 0x123456AB},
                    FieldWriting{"Middle", 0x12345678, 8, 12, 0xABC, 0x123ABC78},
                    FieldWriting{"AWideValueKeepsTheNeighbours", 0, 8, 4, 0xFFF, 0xF00},
                    FieldWriting{"ANegativeValueKeepsTheNeighbours", 0, 8, 4, -1, 0xF00},
                    FieldWriting{"BitsAreCleared", kAllBits, 8, 4, 0, ~0xF00},
                    FieldWriting{"TheHighestBit", 0, 31, 1, 1, kHighestBit},
                    FieldWriting{"TheWholeRegister", 1, 0, 32, -123, -123},
                    FieldWriting{"WidthAbove32", 1, 0, 40, -123, -123},
                    FieldWriting{"WidthAbove32AndAShift", 0x0F, 4, 32, 0x12, 0x12F},
                    FieldWriting{"AFieldOverTheTop", 0x0F, 28, 8, 0xAB, -0x4FFFFFF1},
                    FieldWriting{"WidthZero", 0x12345678, 4, 0, -1, 0x12345678},
                    FieldWriting{"Shift32", 0x12345678, 32, 4, -1, 0x12345678},
                    FieldWriting{"ShiftFarAbove32", 0x12345678, 1000, 32, -1, 0x12345678}));

TEST_P(WriteFieldTest, ChangesTheFieldsBitsOnly) {
    FakeBus bus;
    bus.registers[kAddress] = GetParam().before;
    bus.write_field({kAddress, GetParam().shift, GetParam().width}, GetParam().value);
    EXPECT_EQ(bus.registers[kAddress], GetParam().after);
    EXPECT_EQ(bus.populate_cache(kAddress), GetParam().after);
}

class RadarInterfaceCacheTest : public testing::Test {
protected:
    RadarInterfaceCacheTest() : low(kAddress, 0, 4), high(kAddress, 4, 4) {}

    static void fail(int) { throw std::system_error(EIO, std::system_category(), "bus"); }

    FakeBus bus;
    RadarField low;
    RadarField high;
};

TEST_F(RadarInterfaceCacheTest, AFieldWriteReadsItsRegisterOnceAndWritesWithTheDefaultLength) {
    bus.write_field(low, 1);
    bus.write_field(high, 2);
    EXPECT_THAT(bus.traffic, ElementsAre("read 5", "write 5 1 0", "write 5 33 0"));
}

TEST_F(RadarInterfaceCacheTest, AFieldWriteWorksFromTheCacheAndNotFromTheDevice) {
    bus.write_field(low, 1);
    bus.registers[kAddress] = 0x700;
    bus.write_field(high, 2);
    EXPECT_EQ(bus.registers[kAddress], 0x21);
}

TEST_F(RadarInterfaceCacheTest, AFieldWriteOfTheSameValueGoesToTheDeviceAgain) {
    bus.write_field(low, 1);
    bus.write_field(low, 1);
    EXPECT_THAT(bus.traffic, ElementsAre("read 5", "write 5 1 0", "write 5 1 0"));
}

TEST_F(RadarInterfaceCacheTest, EveryRegisterHasAnEntryOfItsOwn) {
    bus.write_field(low, 1);
    bus.write_field({-6, 0, 4}, 2);
    EXPECT_THAT(bus.traffic, ElementsAre("read 5", "write 5 1 0", "read -6", "write -6 2 0"));
}

TEST_F(RadarInterfaceCacheTest, TheCacheHoldsTheNewValueBeforeTheBusDoes) {
    int cached = -1;
    bus.before_write = [&](int address) { cached = bus.populate_cache(address); };
    bus.write_field(low, 3);
    EXPECT_EQ(cached, 3);
    EXPECT_THAT(bus.traffic, ElementsAre("read 5", "write 5 3 0"));
}

TEST_F(RadarInterfaceCacheTest, AFailedWritePassesThroughAndTheCacheKeepsTheNewValue) {
    bus.before_write = fail;
    EXPECT_THROW(bus.write_field(low, 3), std::system_error);
    bus.before_write = nullptr;
    EXPECT_EQ(bus.populate_cache(kAddress), 3);
    bus.write_field(high, 1);
    EXPECT_EQ(bus.registers[kAddress], 0x13);
}

TEST_F(RadarInterfaceCacheTest, AFailedReadPassesThroughAndCachesAndWritesNothing) {
    bus.before_read = fail;
    EXPECT_THROW(bus.write_field(low, 3), std::system_error);
    bus.before_read = nullptr;
    bus.registers[kAddress] = 7;
    EXPECT_EQ(bus.populate_cache(kAddress), 7);
    EXPECT_THAT(bus.traffic, ElementsAre("read 5", "read 5"));
}

TEST_F(RadarInterfaceCacheTest, AReadThatFailsLikeALookupPassesThrough) {
    bus.before_read = [](int) { throw std::out_of_range("bus"); };
    EXPECT_THROW(bus.populate_cache(kAddress), std::out_of_range);
    EXPECT_THAT(bus.traffic, ElementsAre("read 5"));
}

TEST_F(RadarInterfaceCacheTest, PopulateCacheReadsARegisterOnce) {
    bus.registers[kAddress] = -9;
    EXPECT_EQ(bus.populate_cache(kAddress), -9);
    bus.registers[kAddress] = 1;
    EXPECT_EQ(bus.populate_cache(kAddress), -9);
    EXPECT_THAT(bus.traffic, ElementsAre("read 5"));
}

TEST_F(RadarInterfaceCacheTest, AValueOfZeroIsCachedToo) {
    bus.populate_cache(kAddress);
    bus.populate_cache(kAddress);
    EXPECT_THAT(bus.traffic, ElementsAre("read 5"));
}

TEST_F(RadarInterfaceCacheTest, ClearCacheForgetsEveryRegister) {
    bus.populate_cache(1);
    bus.write_field(low, 1);
    bus.clear_cache();
    bus.traffic.clear();
    bus.populate_cache(1);
    bus.write_field(low, 2);
    EXPECT_THAT(bus.traffic, ElementsAre("read 1", "read 5", "write 5 2 0"));
}

TEST_F(RadarInterfaceCacheTest, ReadFieldNeitherUsesNorFillsTheCache) {
    bus.read_field(low);
    bus.write_field(low, 1);
    bus.registers[kAddress] = 9;
    EXPECT_EQ(bus.read_field(low), 9);
    EXPECT_THAT(bus.traffic, ElementsAre("read 5", "read 5", "write 5 1 0", "read 5"));
    EXPECT_EQ(bus.populate_cache(kAddress), 1);
}

TEST_F(RadarInterfaceCacheTest, AFailedFieldReadPassesThrough) {
    bus.before_read = fail;
    EXPECT_THROW(bus.read_field(low), std::system_error);
}

TEST_F(RadarInterfaceCacheTest, RegisterAccessDoesNotTouchTheCache) {
    bus.read_register(kAddress);
    bus.write_register(kAddress, 8, 0);
    bus.traffic.clear();
    EXPECT_EQ(bus.populate_cache(kAddress), 8);
    EXPECT_THAT(bus.traffic, ElementsAre("read 5"));
}

using RadarInterfaceBatchTest = RadarInterfaceCacheTest;

TEST_F(RadarInterfaceBatchTest, FieldsAreWrittenInOrder) {
    bus.write_fields({{high, 2}, {low, 1}, {high, 3}});
    EXPECT_THAT(bus.traffic, ElementsAre("read 5", "write 5 32 0", "write 5 33 0", "write 5 49 0"));
}

TEST_F(RadarInterfaceBatchTest, NoFieldsMakeNoTraffic) {
    bus.write_fields({});
    EXPECT_THAT(bus.traffic, IsEmpty());
}

TEST_F(RadarInterfaceBatchTest, NoRegistersMakeNoTraffic) {
    bus.write_registers({});
    EXPECT_THAT(bus.traffic, IsEmpty());
}

/** Fields are written by the derived class. */
class FieldRecorder : public FakeBus {
public:
    void write_field(RadarField const& field, int value) override {
        fields.emplace_back(&field, value);
    }
    std::vector<std::pair<RadarField const*, int>> fields;
};

TEST_F(RadarInterfaceBatchTest, EachFieldGoesThroughTheVirtualWrite) {
    FieldRecorder recorder;
    recorder.write_fields({{low, 1}, {high, -2}});
    EXPECT_THAT(recorder.fields, ElementsAre(std::pair(&low, 1), std::pair(&high, -2)));
    EXPECT_THAT(recorder.traffic, IsEmpty());
}

TEST_F(RadarInterfaceBatchTest, AFailedFieldStopsTheBatchAndTheEarlierStayWritten) {
    const RadarField other(6, 0, 4);
    const RadarField last(7, 0, 4);
    bus.before_write = [](int address) {
        if (address == 6) fail(address);
    };
    EXPECT_THROW(bus.write_fields({{low, 1}, {other, 2}, {last, 3}}), std::system_error);
    EXPECT_EQ(bus.registers[kAddress], 1);
    EXPECT_EQ(bus.traffic.back(), "write 6 2 0");
}

TEST_F(RadarInterfaceBatchTest, RegistersAreWrittenInOrderWithTheDefaultLength) {
    bus.write_registers({{2, 20, 4}, {1, -10, 7}, {2, 21, -1}});
    EXPECT_THAT(bus.traffic, ElementsAre("write 2 20 0", "write 1 -10 0", "write 2 21 0"));
}

TEST_F(RadarInterfaceBatchTest, AFailedRegisterStopsTheBatchAndTheEarlierStayWritten) {
    bus.before_write = [](int address) {
        if (address == 2) fail(address);
    };
    EXPECT_THROW(bus.write_registers({{1, 10, 0}, {2, 20, 0}, {3, 30, 0}}), std::system_error);
    EXPECT_THAT(bus.traffic, ElementsAre("write 1 10 0", "write 2 20 0"));
    EXPECT_EQ(bus.registers[1], 10);
}

TEST_F(RadarInterfaceBatchTest, RegistersLeaveTheCacheAsItWas) {
    bus.write_field(low, 1);
    bus.write_registers({{kAddress, 0x700, 0}});
    EXPECT_EQ(bus.populate_cache(kAddress), 1);
    bus.write_field(high, 2);
    EXPECT_EQ(bus.registers[kAddress], 0x21)
        << "the field was written into the value cached before";
}

TEST_F(RadarInterfaceBatchTest, RegistersThatAreNotCachedStayThatWay) {
    bus.write_registers({{kAddress, 7, 0}});
    EXPECT_EQ(bus.populate_cache(kAddress), 7);
    EXPECT_THAT(bus.traffic, ElementsAre("write 5 7 0", "read 5"));
}

}  // namespace
