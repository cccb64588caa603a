#include "tools/plot/points.h"

#include <gmock/gmock.h>

#include <cmath>

#include "tools/plot/axis.h"
#include "tools/plot/colours.h"
#include "tools/plot/text.h"

namespace {

using testing::ElementsAre;
using Tools::marks_between;
using Tools::PlotPoint;
using Tools::PlotPoints;

/** The points that are kept near a place. */
std::vector<PlotPoint> near(PlotPoints const& points, float x, float y) {
    std::vector<PlotPoint> found;
    points.for_each([&](PlotPoint const& point) {
        if (std::hypot(point.x - x, point.y - y) < 0.5F) found.push_back(point);
    });
    return found;
}

/** More points than are kept one by one, all in the square from (0, 0) to (10, 10). */
void fill(PlotPoints& points) {
    for (size_t i = 0; i <= PlotPoints::kMostPoints; ++i) {
        points.add({static_cast<float>(i % 11), static_cast<float>(i % 7), 0.0F, 1.0F});
    }
}

TEST(PlotPointsTest, FewPointsAreKeptAsTheyAre) {
    PlotPoints points(PlotPoints::Keep::kNewest);
    points.add({1.25F, 2.5F, -3.0F, 4.0F});
    points.add({1.25F, 2.5F, 3.0F, 5.0F});
    EXPECT_EQ(points.size(), 2U);
    EXPECT_EQ(near(points, 1.25F, 2.5F).size(), 2U);
}

TEST(PlotPointsTest, OfManyPointsInOnePlaceOneIsKept) {
    PlotPoints points(PlotPoints::Keep::kNewest);
    fill(points);
    EXPECT_EQ(points.size(), 77U);
    EXPECT_EQ(near(points, 3, 3).size(), 1U);
}

TEST(PlotPointsTest, TheNewestIsKept) {
    PlotPoints points(PlotPoints::Keep::kNewest);
    fill(points);
    points.add({3, 3, -9, 7});
    points.add({3, 3, 2, 8});
    ASSERT_EQ(near(points, 3, 3).size(), 1U);
    EXPECT_EQ(near(points, 3, 3)[0].speed, 2.0F);
    EXPECT_EQ(near(points, 3, 3)[0].time, 8.0F);
}

TEST(PlotPointsTest, TheFastestIsKept) {
    PlotPoints points(PlotPoints::Keep::kFastest);
    fill(points);
    points.add({3, 3, -9, 7});
    points.add({3, 3, 2, 8});
    ASSERT_EQ(near(points, 3, 3).size(), 1U);
    EXPECT_EQ(near(points, 3, 3)[0].speed, -9.0F);
}

TEST(PlotPointsTest, TheGridGrowsWithItsPoints) {
    PlotPoints points(PlotPoints::Keep::kNewest);
    fill(points);
    points.add({100, 3, 1, 2});
    points.add({3, 120, 1, 2});
    EXPECT_EQ(near(points, 100, 3).size(), 1U);
    EXPECT_EQ(near(points, 3, 120).size(), 1U);
    EXPECT_EQ(points.size(), 79U);
}

TEST(PlotPointsTest, TheGridGrowsToBothSides) {
    PlotPoints points(PlotPoints::Keep::kNewest);
    fill(points);
    points.add({-50, 3, 1, 2});
    points.add({3, -60, 1, 2});
    EXPECT_EQ(near(points, -50, 3).size(), 1U);
    EXPECT_EQ(near(points, 3, -60).size(), 1U);
    EXPECT_EQ(near(points, 10, 6).size(), 1U);
}

TEST(PlotPointsTest, WhatWasApartMayBecomeOneWhenTheGridGrows) {
    PlotPoints points(PlotPoints::Keep::kFastest);
    fill(points);
    points.add({100000, 3, 1, 2});
    EXPECT_LT(points.size(), 77U);
    size_t counted = 0;
    points.for_each([&](PlotPoint const&) { ++counted; });
    EXPECT_EQ(points.size(), counted);
}

TEST(AxisMarksTest, MarksAreRoundNumbersAroundWhatThereIs) {
    EXPECT_THAT(marks_between(0, 5.3, 5).places(), ElementsAre(0, 2, 4, 6));
    EXPECT_THAT(marks_between(-4.9, 4.3, 4).places(), ElementsAre(-5, 0, 5));
}

TEST(AxisMarksTest, NothingToShowHasMarksToo) {
    EXPECT_GE(marks_between(0, 0, 5).places().size(), 2U);
}

TEST(AxisMarksTest, LabelsHaveAsManyDigitsAsTheStep) {
    EXPECT_EQ(marks_between(0, 1, 5).label(0.4), "0.4");
    EXPECT_EQ(marks_between(0, 100, 5).label(40), "40");
    EXPECT_EQ(marks_between(-1, 1, 4).label(-0.5), "\u22120.5");
    EXPECT_EQ(marks_between(-1, 1, 4).label(-1e-12), "0.0");
}

TEST(AxisMarksTest, WhatIsNoNumberCannotBeDrawn) {
    EXPECT_TRUE(Tools::can_be_drawn(-1e5F));
    EXPECT_FALSE(Tools::can_be_drawn(std::nanf("")));
    EXPECT_FALSE(Tools::can_be_drawn(INFINITY));
    EXPECT_FALSE(Tools::can_be_drawn(3e38F));
}

TEST(SpeedColourTest, ApproachingIsOrangeAndRecedingIsBlue) {
    EXPECT_GT(Tools::speed_colour(-0.5).red, Tools::speed_colour(-0.5).blue + 0.3);
    EXPECT_GT(Tools::speed_colour(0.5).blue, Tools::speed_colour(0.5).red + 0.3);
}

TEST(SpeedColourTest, StandingIsGrey) {
    EXPECT_DOUBLE_EQ(Tools::speed_colour(0).red, Tools::speed_colour(0).green);
    EXPECT_DOUBLE_EQ(Tools::speed_colour(0).red, Tools::speed_colour(0).blue);
}

TEST(SpeedColourTest, BeyondTheScaleIsTheStrongestColour) {
    EXPECT_DOUBLE_EQ(Tools::speed_colour(7).blue, Tools::speed_colour(1).blue);
    EXPECT_DOUBLE_EQ(Tools::speed_colour(-7).red, Tools::speed_colour(-1).red);
}

TEST(PlotTextTest, MarkupIsEscaped) {
    EXPECT_EQ(Tools::xml_text("<a> & b"), "&lt;a&gt; &amp; b");
}

}  // namespace
