#include <gmock/gmock.h>
#include <sys/mount.h>

#include "tests/service/recorders_fixture.h"

/** The recorders together, one of them on storage that gives trouble. */
namespace {

using service_test::RecordersTest;

constexpr char kCard[] = "/var/spool/storage/SD_DISK";

/** A card with room for less than one page more. */
class FullCardTest : public RecordersTest {
protected:
    void SetUp() override {
        RecordersTest::SetUp();
        if (IsSkipped()) return;
        ASSERT_EQ(mount("tmpfs", kCard, "tmpfs", 0, "size=16k"), 0);
        start({{"FileWriterLocation", 1},
               {"DataFileWriterLocation", 1},
               {"DataFileWriterEnabled", 1},
               {"StorageIsMount", 1}});
    }

    void fill() {
        raw_record_.resize(100);
        for (uint64_t i = 1; i <= 3000; ++i) record(i);
        finish();
    }
};

TEST_F(FullCardTest, FramesAreTakenOnAFullCard) {
    fill();
    EXPECT_EQ(status("raw").frames, 3000U);
    expect_sums();
}

TEST_F(FullCardTest, TheErrorsAreCountedAndTheLastOneIsTold) {
    fill();
    EXPECT_GT(status("raw").errors, 0U);
    EXPECT_THAT(status("raw").last_error, testing::HasSubstr(kCard));
}

TEST_F(FullCardTest, TheOtherRecorderGoesOn) {
    fill();
    EXPECT_EQ(status("diagnostics").errors, 0U);
    EXPECT_EQ(status("diagnostics").frames_written, 1U);
}

TEST_F(FullCardTest, WhatCountsAsWrittenIsInTheFiles) {
    fill();
    EXPECT_EQ(recorded(kCard).size(), status("objects").frames_written);
}

}  // namespace
