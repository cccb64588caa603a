#include "tools/convert/crc32.h"

#include <gtest/gtest.h>

#include <string>

namespace {

uint32_t crc_of(std::string_view bytes) {
    Tools::Crc32 crc;
    crc.add(bytes);
    return crc.value();
}

TEST(Crc32Test, OfNothingIsZero) {
    EXPECT_EQ(crc_of(""), 0u);
}

TEST(Crc32Test, OfKnownBytesIsTheKnownOne) {
    EXPECT_EQ(crc_of("a"), 0xE8B7BE43u);
    EXPECT_EQ(crc_of("123456789"), 0xCBF43926u);
    EXPECT_EQ(crc_of("The quick brown fox jumps over the lazy dog"), 0x414FA339u);
    EXPECT_EQ(crc_of(std::string(32, '\xFF')), 0xFF6CAB0Bu);
}

TEST(Crc32Test, HowTheBytesAreDividedDoesNotMatter) {
    const std::string bytes = "The quick brown fox jumps over the lazy dog";
    for (size_t i = 0; i <= bytes.size(); ++i) {
        Tools::Crc32 crc;
        crc.add(bytes.substr(0, i));
        crc.add(bytes.substr(i));
        EXPECT_EQ(crc.value(), 0x414FA339u) << i;
    }
}

}  // namespace
