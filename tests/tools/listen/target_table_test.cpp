#include "tools/listen/target_table.h"

#include <gmock/gmock.h>

#include <limits>
#include <regex>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class TargetTableTest : public testing::Test {
protected:
    TargetTableTest() {
        status.source = "unix:/run/radar.sock";
        status.state = "live";
        status.frames = 17;
        status.frame_rate = 29.97;
        status.bytes = 123456;
    }

    RO::TargetData* add(float r, float rdot = 0.0F, float theta = 0.0F) {
        RO::TargetData* const target = frame.add_targets();
        target->set_r(r);
        target->set_rdot(rdot);
        target->set_theta(theta);
        return target;
    }

    std::vector<std::string> draw(bool coloured = false) const {
        return draw_target_table(status, frame, window, coloured);
    }

    /** The lines of the targets. */
    std::vector<std::string> rows(bool coloured = false) const {
        auto lines = draw(coloured);
        lines.erase(lines.begin(), lines.begin() + 4);
        return lines;
    }

    Tools::LiveStatus status;
    RO::RadarObjects frame;
    Tools::WindowSize window{64, 24};
};

TEST_F(TargetTableTest, TheStatusStandsAboveTheTable) {
    status.lost_frames = 2;
    status.reconnects = 1;
    add(1.0F);
    const auto lines = draw();
    EXPECT_EQ(lines[0], "unix:/run/radar.sock  live");
    EXPECT_EQ(lines[1], "frame 17  30.0/s  1 target  123.5 kB  2 lost  1 reconnect");
}

TEST_F(TargetTableTest, ATargetIsALineInTheUnitsOfTheTitles) {
    RO::TargetData* const target = add(12.345F, -3.25F, 0.5F);
    target->set_rcs(-7.5F);
    target->set_snr(21.0F);
    const auto lines = draw();
    EXPECT_EQ(lines[3], " range m  speed m/s  bearing deg   rcs dB   snr dB  motion     ");
    EXPECT_EQ(lines[4], "   12.35      -3.25         28.6     -7.5     21.0  approaching");
}

TEST_F(TargetTableTest, TheNearestTargetIsOnTop) {
    for (const float range : {3.0F, 1.0F, 2.0F}) add(range);
    EXPECT_THAT(rows(), ElementsAre(HasSubstr("    1.00 "), HasSubstr("    2.00 "),
                                    HasSubstr("    3.00 ")));
}

TEST_F(TargetTableTest, ARangeThatIsNoNumberComesLast) {
    add(std::numeric_limits<float>::quiet_NaN());
    add(1.0F);
    add(std::numeric_limits<float>::quiet_NaN());
    EXPECT_THAT(rows(), ElementsAre(HasSubstr("1.00"), HasSubstr("nan"), HasSubstr("nan")));
}

TEST_F(TargetTableTest, MotionIsSaidInWords) {
    add(1.0F, -1.0F);
    add(2.0F, 1.0F);
    add(3.0F, 0.01F);
    const auto lines = rows();
    EXPECT_THAT(lines[0], HasSubstr("approaching"));
    EXPECT_THAT(lines[1], HasSubstr("receding"));
    EXPECT_THAT(lines[2],
                testing::AllOf(Not(HasSubstr("approaching")), Not(HasSubstr("receding"))));
}

TEST_F(TargetTableTest, MotionIsColoured) {
    add(1.0F, -1.0F);
    add(2.0F, 1.0F);
    add(3.0F, 0.0F);
    EXPECT_THAT(rows(true), ElementsAre(testing::StartsWith("\x1b[31m"),
                                        testing::StartsWith("\x1b[36m"), Not(HasSubstr("\x1b"))));
}

TEST_F(TargetTableTest, WithoutColoursThereAreNoEscapes) {
    add(1.0F, -1.0F);
    for (std::string const& line : draw()) EXPECT_THAT(line, Not(HasSubstr("\x1b")));
}

TEST_F(TargetTableTest, AWideWindowShowsTheBearingOnAScale) {
    window.columns = 80;
    add(1.0F, 0.0F, -1.5708F);
    add(2.0F, 0.0F, 0.0F);
    add(3.0F, 0.0F, 1.5708F);
    add(4.0F, 0.0F, 9.0F);
    EXPECT_THAT(rows(), ElementsAre(testing::EndsWith("  O......|......."),
                                    testing::EndsWith("  .......O......."),
                                    testing::EndsWith("  .......|......O"),
                                    testing::EndsWith("  .......|......O")));
}

TEST_F(TargetTableTest, TargetsThatDoNotFitAreCounted) {
    window.rows = 7;
    for (int i = 1; i <= 10; ++i) add(static_cast<float>(i));
    EXPECT_THAT(rows(), ElementsAre(HasSubstr("1.00"), HasSubstr("2.00"), "  8 more targets"));
}

TEST_F(TargetTableTest, TargetsThatJustFitAreShown) {
    window.rows = 7;
    for (int i = 1; i <= 3; ++i) add(static_cast<float>(i));
    EXPECT_THAT(rows(), ElementsAre(HasSubstr("1.00"), HasSubstr("2.00"), HasSubstr("3.00")));
}

TEST_F(TargetTableTest, APictureFitsEveryWindow) {
    const float huge = std::numeric_limits<float>::max();
    for (int i = 0; i < 30; ++i) {
        RO::TargetData* const target = add(huge, -huge, huge);
        target->set_rcs(-huge);
        target->set_snr(std::numeric_limits<float>::infinity());
    }
    const std::regex escape("\x1b\\[[0-9;]*m");
    for (window.columns = 1; window.columns <= 150; ++window.columns) {
        for (window.rows = 1; window.rows <= 40; window.rows += 3) {
            const auto lines = draw(true);
            ASSERT_LE(lines.size(), static_cast<size_t>(window.rows));
            for (std::string const& line : lines) {
                ASSERT_LE(std::regex_replace(line, escape, "").size(),
                          static_cast<size_t>(window.columns));
            }
        }
    }
}

}  // namespace
