#include "tools/play/status.h"

#include <gmock/gmock.h>

#include "tools/screen/keyboard.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Tools::play_status_text;
using Tools::PlayStatus;
using Tools::take_keys;

TEST(PlayStatusTest, TheLineTellsEverything) {
    PlayStatus status;
    status.rate = 0.5;
    status.frame = 1234;
    status.position_us = 62500000;
    status.share = 0.25;
    status.clients = 2;
    status.dropped = 7;
    EXPECT_EQ(play_status_text(status, 72),
              "playing x0.5  1:02.5 (25 %)  frame 1234  2 clients, 7 dropped");
}

TEST(PlayStatusTest, WhereThereIsRoomTheKeysAreTold) {
    EXPECT_THAT(play_status_text({}, 120), testing::HasSubstr("[space . , <- -> + - m 1 q]"));
}

TEST(PlayStatusTest, TheLineIsCutToTheWindow) {
    EXPECT_EQ(play_status_text({}, 12), "playing max");
    EXPECT_EQ(play_status_text({}, 0), "");
}

TEST(PlayStatusTest, FromAnHourOnTenthsAreLeftOut) {
    PlayStatus status;
    status.position_us = 3661900000;
    EXPECT_THAT(play_status_text(status, 80), testing::HasSubstr("  1:01:01  "));
}

TEST(KeyboardTest, CharactersAreKeys) {
    std::string bytes = " .q";
    EXPECT_THAT(take_keys(bytes), ElementsAre(' ', '.', 'q'));
    EXPECT_EQ(bytes, "");
}

TEST(KeyboardTest, ArrowsAreKeysInBothModesOfATerminal) {
    std::string bytes = "\x1b[A\x1bOB\x1b[1;5C";
    EXPECT_THAT(take_keys(bytes), ElementsAre(Tools::kKeyUp, Tools::kKeyDown, Tools::kKeyRight));
}

TEST(KeyboardTest, ASequenceWithoutItsEndWaitsForIt) {
    std::string bytes = "\x1b[";
    EXPECT_THAT(take_keys(bytes), IsEmpty());
    bytes += "D";
    EXPECT_THAT(take_keys(bytes), ElementsAre(Tools::kKeyLeft));
}

TEST(KeyboardTest, OtherKeysAreNone) {
    std::string bytes = "\x1b[5~x";
    EXPECT_THAT(take_keys(bytes), ElementsAre('x'));
}

}  // namespace
