#include "radar/radar_interface.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <new>
#include <optional>
#include <stdexcept>
#include <type_traits>

#include "lib/allocations.h"
#include "lib/radar/fake_bus.h"
#include "lib/virtual_slots.h"
#include "support/system_calls.h"

namespace {

using Radar::FieldSetting;
using Radar::RadarField;
using Radar::RadarInterface;
using Radar::RegisterSetting;
using test_support::FakeBus;
using test_support::slot_of;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(RadarFieldTest, IsThreeNumbersOfFourBytesInOrder) {
    const RadarField field(1, 2, 3);
    EXPECT_EQ(field.address, 1);
    EXPECT_EQ(field.shift, 2);
    EXPECT_EQ(field.width, 3);
    EXPECT_EQ(sizeof(RadarField), 12U);
    EXPECT_EQ(offsetof(RadarField, shift), 4U);
    EXPECT_EQ(offsetof(RadarField, width), 8U);
}

TEST(FieldSettingTest, RefersToItsField) {
    const RadarField field(1, 2, 3);
    const FieldSetting setting{field, -4};
    EXPECT_EQ(&setting.field, &field);
    EXPECT_EQ(setting.value, -4);
    EXPECT_EQ(sizeof(FieldSetting), 2 * sizeof(void*));
}

TEST(RegisterSettingTest, IsThreeNumbersOfFourBytesInOrder) {
    const RegisterSetting setting{1, -2, 3};
    EXPECT_EQ(setting.address, 1);
    EXPECT_EQ(setting.value, -2);
    EXPECT_EQ(setting.extra, 3);
    EXPECT_EQ(sizeof(RegisterSetting), 12U);
}

TEST(RadarInterfaceTest, VirtualOperationsHaveFixedSlots) {
    EXPECT_EQ(slot_of(&RadarInterface::write_register), 2);
    EXPECT_EQ(slot_of(&RadarInterface::read_register), 3);
    EXPECT_EQ(slot_of(&RadarInterface::read_field), 4);
    EXPECT_EQ(slot_of(&RadarInterface::write_field), 5);
    EXPECT_EQ(slot_of(&RadarInterface::write_fields), -1);
    EXPECT_EQ(slot_of(&RadarInterface::write_registers), -1);
    EXPECT_EQ(slot_of(&RadarInterface::populate_cache), -1);
    EXPECT_EQ(slot_of(&RadarInterface::clear_cache), -1);
}

TEST(RadarInterfaceTest, TheFirstSlotIsTheDestructor) {
    std::optional<FakeBus> bus(std::in_place, 0, 1);
    bool destroyed = false;
    bus->destroyed = &destroyed;
    auto* const destructor = test_support::function_in_slot<void(RadarInterface*)>(&*bus, 0);
    destructor(&*bus);
    EXPECT_TRUE(destroyed);
    new (&*bus) FakeBus(0, 1);  // for the owner to destroy
}

TEST(RadarInterfaceTest, ANewInterfaceHasNoDeviceNoWidthsAndAnEmptyCache) {
    FakeBus bus(0x20, 10);
    EXPECT_EQ(bus.fd, -1);
    EXPECT_EQ(bus.address_bytes, 0);
    EXPECT_EQ(bus.data_bytes, 0);
    EXPECT_EQ(bus.command_byte, 0x20);
    bus.populate_cache(1);
    EXPECT_THAT(bus.traffic, ElementsAre("read 1"));
}

TEST(RadarInterfaceTest, BothTransferBuffersHaveTheSizeThatWasAskedFor) {
    FakeBus bus(0, 300);
    std::fill_n(bus.tx_buffer, 300, uint8_t{1});
    std::fill_n(bus.rx_buffer, 300, uint8_t{2});
    EXPECT_EQ(bus.tx_buffer[299], 1);
    EXPECT_EQ(bus.rx_buffer[299], 2);
}

TEST(RadarInterfaceTest, IsNeitherCopiedNorMovedAndIsDestroyedWithoutThrowing) {
    EXPECT_FALSE(std::is_copy_constructible<FakeBus>::value);
    EXPECT_FALSE(std::is_move_constructible<FakeBus>::value);
    EXPECT_FALSE(std::is_copy_assignable<FakeBus>::value);
    EXPECT_TRUE(std::has_virtual_destructor<RadarInterface>::value);
    EXPECT_TRUE(std::is_nothrow_destructible<RadarInterface>::value);
}

TEST(RadarInterfaceTest, DestructionClosesTheDevice) {
    test_support::SystemCalls system_calls;
    std::vector<int> closed;
    system_calls.close = [&](int fd) {
        closed.push_back(fd);
        errno = EIO;
        return -1;
    };
    {
        FakeBus bus;
        bus.fd = 1001;
    }
    EXPECT_THAT(closed, ElementsAre(1001));
}

TEST(RadarInterfaceTest, DestructionClosesADeviceThatWasNeverOpened) {
    test_support::SystemCalls system_calls;
    std::vector<int> closed;
    system_calls.close = [&](int fd) {
        closed.push_back(fd);
        return 0;
    };
    { FakeBus bus(0, 1); }
    EXPECT_THAT(closed, ElementsAre(-1));
}

TEST(RadarInterfaceTest, DestructionFreesTheReceiveBufferFirst) {
    std::optional<FakeBus> bus(std::in_place, 0, 10);
    test_support::Allocations allocations;
    void* const tx = bus->tx_buffer;
    void* const rx = bus->rx_buffer;
    bus.reset();
    EXPECT_THAT(allocations.freed_arrays, ElementsAre(rx, tx));
}

class RadarInterfaceMemoryTest : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Buffers, RadarInterfaceMemoryTest, testing::Values(0, 1));

TEST_P(RadarInterfaceMemoryTest, AFailedAllocationIsThrownAndFreesWhatThereWas) {
    test_support::Allocations allocations;
    allocations.arrays_until_failure = GetParam();
    EXPECT_THROW(FakeBus(0, 10), std::bad_alloc);
    EXPECT_EQ(allocations.allocated_arrays.size(), static_cast<std::size_t>(GetParam()));
    EXPECT_EQ(allocations.freed_arrays, allocations.allocated_arrays);
}

}  // namespace
