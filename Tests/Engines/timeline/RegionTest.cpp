#include "Engines/timeline/Region.h"

#include <gtest/gtest.h>

namespace TWQuickTime::timeline {
namespace {

constexpr RegionBounds kBounds{.left = 2, .top = 1, .right = 8, .bottom = 5};

TEST(Region, ARectangleHasItsLeftAndTopEdgesAndNotTheOthers) {
    const Region region = Region::ofRectangle(kBounds);
    EXPECT_TRUE(region.contains(2, 1));
    EXPECT_TRUE(region.contains(7.9, 4.9));
    EXPECT_FALSE(region.contains(8, 4));
    EXPECT_FALSE(region.contains(7, 5));
    EXPECT_FALSE(region.contains(1.9, 3));
    EXPECT_FALSE(region.contains(3, 0.9));
}

TEST(Region, AShapeHasWhatLiesBetweenEveryTwoEdgesOfARow) {
    const Region region = Region::ofRows(
        kBounds, {{.top = 1, .edges = {2, 4, 6, 8}}, {.top = 3, .edges = {3, 5}}, {.top = 5}});
    EXPECT_TRUE(region.contains(3.5, 2.5));
    EXPECT_FALSE(region.contains(4.5, 2.5));
    EXPECT_TRUE(region.contains(6.5, 2.5));
    EXPECT_FALSE(region.contains(2.5, 3.5));
    EXPECT_TRUE(region.contains(4.5, 4.5));
}

TEST(Region, OnlyARectangleIsKnownToCoverABox) {
    EXPECT_TRUE(Region::ofRectangle(kBounds).covers(2, 1, 8, 5));
    EXPECT_FALSE(Region::ofRectangle(kBounds).covers(2, 1, 8.5, 5));
    EXPECT_FALSE(
        Region::ofRows(kBounds, {{.top = 1, .edges = {2, 8}}, {.top = 5}}).covers(3, 2, 4, 3));
}

}  // namespace
}  // namespace TWQuickTime::timeline
