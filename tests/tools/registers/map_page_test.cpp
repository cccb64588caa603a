// What docs/register-map.md shows of maps and dumps is what is read and written.

#include <gmock/gmock.h>

#include "tests/support/page.h"
#include "tools/registers/dump_file.h"
#include "tools/registers/map.h"

namespace Tools {
namespace {

RegisterMap map_of_page() {
    return {"register-map.md", test_support::code_block("register-map.md", "map")};
}

std::string dump_of_page() {
    return test_support::code_block("register-map.md", "dump");
}

TEST(RegisterMapPageTest, TheMapIsTaken) {
    const RegisterMap map = map_of_page();
    EXPECT_EQ(map.registers().size(), 3u);
    EXPECT_EQ(map.registers().at(0x10).name, "control");
    EXPECT_EQ(map.registers().at(0x10).fields.size(), 2u);
    EXPECT_TRUE(map.registers().at(0x24).changes_by_reading);
    EXPECT_FALSE(map.registers().at(0x30).is_readable);
}

TEST(RegisterMapPageTest, TheDumpIsWrittenAsShown) {
    const RegisterMap map = map_of_page();
    RegisterDump dump;
    for (auto const& [address, whole] : map.registers()) {
        char const* const reason = reason_to_skip(whole, false);
        if (reason != nullptr) {
            dump.skipped.push_back({address, whole.label(), reason});
        } else {
            dump.registers.push_back(register_value(whole, 0x1e01));
        }
    }
    EXPECT_EQ(dump_as_text(dump), dump_of_page());
}

TEST(RegisterMapPageTest, TheDumpIsRead) {
    const RegisterDump dump = parse_dump("dump", dump_of_page());
    ASSERT_EQ(dump.registers.size(), 1u);
    EXPECT_EQ(dump.registers[0].address, 0x10);
    EXPECT_EQ(dump.registers[0].value, 0x1e01u);
    EXPECT_EQ(dump.registers[0].fields.size(), 2u);
}

}  // namespace
}  // namespace Tools
