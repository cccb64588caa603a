// What docs/doctor.md shows is what happens.

#include <gmock/gmock.h>
#include <unistd.h>

#include "tests/support/inside.h"
#include "tests/support/page.h"
#include "tests/support/private_paths.h"
#include "tests/support/recording_bytes.h"
#include "tools/doctor/finding_code.h"

namespace {

using test_support::record;
using test_support::run_inside;
using test_support::word;
using testing::HasSubstr;

std::string page() {
    return test_support::read_file(PETRELRADAR_SOURCE_DIR "/docs/doctor.md");
}

std::string code_block(std::string const& kind, int number = 0) {
    return test_support::code_block("doctor.md", kind, number);
}

/** The recording of the page: a record of 44 bytes, and 12 bytes of one of 22. */
class DoctorPageTest : public test_support::PrivatePathsTest {
protected:
    void SetUp() override {
        PrivatePathsTest::SetUp();
        if (IsSkipped()) return;
        ASSERT_EQ(chdir("/tmp"), 0);
        const std::string header = word(0xBADABADA) + word(5) + word(1747294207) + word(1) +
                                   std::string(16, '\0') + word(2) + word(1);
        RO::RadarObjects first;
        first.set_magic(29061378);
        first.set_timestamp(1747294207050000);
        RO::TargetData& target = *first.add_targets();
        target.set_r(2.25);
        target.set_rdot(-0.5);
        target.set_theta(0.125);
        target.set_snr(20);
        const std::string bytes = header + record(first.SerializeAsString()) +
                                  record(test_support::frame(1747294207100000));
        ASSERT_EQ(bytes.size(), 106u);
        cut = bytes.substr(0, 96);
    }

    std::string cut;
};

TEST_F(DoctorPageTest, TheTextOfDoctorIsAsShown) {
    test_support::write_file("radar_150525_093007_042.data", cut);
    EXPECT_EQ(run_inside({"doctor", "radar_150525_093007_042.data"}).out, code_block("text"));
}

TEST_F(DoctorPageTest, TheJsonOfDoctorIsAsShown) {
    test_support::write_file("radar_150525_093007_042.data", cut);
    EXPECT_EQ(run_inside({"doctor", "--format", "json", "radar_150525_093007_042.data"}).out,
              code_block("json"));
}

TEST_F(DoctorPageTest, TheJsonOfRecoverIsAsShown) {
    test_support::write_file("radar_150525_093007_042", cut);
    EXPECT_EQ(
        run_inside({"recover", "--format", "json", "radar_150525_093007_042", "-o", "saved"}).out,
        code_block("json", 1));
}

TEST_F(DoctorPageTest, EveryCodeIsListedWithItsSeverityAndAdvice) {
    for (Tools::FindingCode const& code : Tools::finding_codes()) {
        const std::string row =
            "| `" + std::string(code.name) + "` | " + Tools::name_of(code.severity) + " | ";
        EXPECT_THAT(page(), HasSubstr(row));
        EXPECT_THAT(page(), HasSubstr(" | " + std::string(code.advice) + " |"));
    }
}

}  // namespace
