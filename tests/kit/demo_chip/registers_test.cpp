#include "kit/demo_chip/registers.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "tests/support/private_paths.h"

namespace {

using namespace Kit::DemoChip;

const MapEntry& entry(std::string const& name) {
    for (MapEntry const& candidate : register_map()) {
        if (candidate.name == name) return candidate;
    }
    throw std::runtime_error("no entry " + name);
}

bool is_register(MapEntry const& candidate) {
    return candidate.name.find('.') == std::string::npos;
}

TEST(ChipRegisters, InsertPutsTheFieldsBitsInTheirPlace) {
    EXPECT_EQ(insert(kFrameRate, 30), 0x00001E00U);
}

TEST(ChipRegisters, InsertDropsBitsThatTheFieldHasNoRoomFor) {
    EXPECT_EQ(insert(kFrameRate, 0x123), 0x00002300U);
}

TEST(ChipRegisters, ExtractReadsWhatInsertWrote) {
    EXPECT_EQ(extract(kMaxTargets, insert(kMaxTargets, 64) | insert(kEnable, 1)), 64U);
}

TEST(ChipRegisters, AFieldOf32BitsIsTheWholeRegister) {
    const Radar::RadarField whole(kScratch, 0, 32);
    EXPECT_EQ(extract(whole, insert(whole, 0xDEADBEEF)), 0xDEADBEEFU);
}

TEST(ChipRegisters, TheShippedMapFileIsThisMap) {
    const std::string path = std::string(PETRELRADAR_SOURCE_DIR) + "/chip/demo-chip.map";
    EXPECT_EQ(test_support::read_file(path), register_map_text());
}

TEST(ChipRegisters, EveryMapEntryHasANameOfItsOwn) {
    std::set<std::string> names;
    for (MapEntry const& mapped : register_map()) {
        EXPECT_TRUE(names.insert(mapped.name).second) << mapped.name;
    }
}

TEST(ChipRegisters, RegistersStandInOrderOfAddressAndFourBytesApart) {
    int32_t last = -4;
    for (MapEntry const& mapped : register_map()) {
        if (!is_register(mapped)) continue;
        EXPECT_GE(mapped.address, last + 4) << mapped.name;
        EXPECT_EQ(mapped.address % 4, 0) << mapped.name;
        last = mapped.address;
    }
}

TEST(ChipRegisters, FieldsOfARegisterDoNotOverlap) {
    std::map<int32_t, uint32_t> taken;
    for (MapEntry const& mapped : register_map()) {
        if (is_register(mapped)) continue;
        const Radar::RadarField field(mapped.address, mapped.shift, mapped.width);
        const uint32_t bits = insert(field, 0xFFFFFFFF);
        EXPECT_EQ(taken[mapped.address] & bits, 0U) << mapped.name;
        taken[mapped.address] |= bits;
    }
}

TEST(ChipRegisters, OnlyTheEventsChangeWhenRead) {
    for (MapEntry const& mapped : register_map()) {
        EXPECT_EQ(mapped.access == "rc", mapped.address == kEvents) << mapped.name;
    }
}

TEST(ChipRegisters, TheMapHasAFieldWhereTheConstantHasIt) {
    const MapEntry& rate = entry("control.frame_rate");
    EXPECT_EQ(rate.address, kFrameRate.address);
    EXPECT_EQ(rate.shift, kFrameRate.shift);
    EXPECT_EQ(rate.width, kFrameRate.width);
    EXPECT_EQ(rate.access, "rw");
}

TEST(ChipRegisters, TheLastTargetOfTheWindowIsMapped) {
    EXPECT_EQ(entry("target63_quality.options").address, target_register(63, 2));
    EXPECT_EQ(target_register(63, 2), 0x03FC);
}

TEST(ChipRegisters, TheBusReadsAbout7500RegistersASecond) {
    EXPECT_NEAR(1e6 / kReadMicroseconds, 7500, 50);
}

TEST(ChipRegisters, ThirtyFramesOf64TargetsLeaveAFifthOfTheBusForPolling) {
    const double messages = 30.0 * messages_per_frame(kTargetLimit);
    EXPECT_EQ(messages, 5970);
    EXPECT_LT(messages * kReadMicroseconds, 0.8 * 1e6);
}

TEST(ChipRegisters, ThePageHasTheArithmeticOfTheBus) {
    const std::string page =
        test_support::read_file(std::string(PETRELRADAR_SOURCE_DIR) + "/docs/demo-chip.md");
    for (const int targets : {0, 22, 64}) {
        const double frame_us = messages_per_frame(targets) * kReadMicroseconds;
        char row[64];
        std::snprintf(row, sizeof row, "| %d | %.1f ms | %d | %.0f %% |",
                      messages_per_frame(targets), frame_us / 1000,
                      static_cast<int>(1e6 / frame_us), frame_us * 30 / 1e4);
        EXPECT_NE(page.find(row), std::string::npos) << row;
    }
}

TEST(ChipRegisters, ThePageNamesEveryRegisterWithItsAddress) {
    const std::string page =
        test_support::read_file(std::string(PETRELRADAR_SOURCE_DIR) + "/docs/demo-chip.md");
    for (MapEntry const& mapped : register_map()) {
        if (!is_register(mapped) || mapped.address >= kTargets) continue;
        char row[64];
        std::snprintf(row, sizeof row, "| `0x%04x` | `%s` |", static_cast<unsigned>(mapped.address),
                      mapped.name.c_str());
        EXPECT_NE(page.find(row), std::string::npos) << row;
    }
}

}  // namespace
