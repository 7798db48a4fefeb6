#include "Engines/timeline/EditList.h"

#include <gtest/gtest.h>

namespace TWQuickTime::timeline {
namespace {

constexpr std::uint32_t kMovieScale = 600;
constexpr std::uint32_t kMediaScale = 30000;

TEST(EditList, MapsTrackTimesThroughEmptyEditsAndShiftedMedia) {
    const EditList edits({{600, kEmptyMediaTime}, {1200, 3000}});
    EXPECT_EQ(edits.duration(), 1800);
    EXPECT_EQ(edits.mediaTimeAt(0, kMovieScale, kMediaScale), std::nullopt);
    EXPECT_EQ(edits.mediaTimeAt(599, kMovieScale, kMediaScale), std::nullopt);
    EXPECT_EQ(edits.mediaTimeAt(600, kMovieScale, kMediaScale), 3000);
    EXPECT_EQ(edits.mediaTimeAt(601, kMovieScale, kMediaScale), 3050);
    EXPECT_EQ(edits.mediaTimeAt(1800, kMovieScale, kMediaScale), std::nullopt);
    EXPECT_EQ(edits.mediaTimeAt(-1, kMovieScale, kMediaScale), std::nullopt);
}

TEST(EditList, ARateOfTwoShowsMediaTwiceAsFast) {
    const EditList edits({{600, 0, 2 * kFixedOne}});
    EXPECT_EQ(edits.mediaTimeAt(300, kMovieScale, kMediaScale), 30000);
    EXPECT_EQ(edits.trackTimeOf(30000, kMovieScale, kMediaScale), 300);
}

TEST(EditList, ADwellStaysOnItsMediaTime) {
    const EditList edits({{600, 1001, 0}});
    EXPECT_EQ(edits.mediaTimeAt(0, kMovieScale, kMediaScale), 1001);
    EXPECT_EQ(edits.mediaTimeAt(599, kMovieScale, kMediaScale), 1001);
    EXPECT_EQ(edits.trackTimeOf(1001, kMovieScale, kMediaScale, 7), 7);
    EXPECT_EQ(edits.trackTimeOf(1002, kMovieScale, kMediaScale), std::nullopt);
}

TEST(EditList, ANegativeRateRunsBackward) {
    const EditList edits({{600, 30000, -kFixedOne}});
    EXPECT_EQ(edits.mediaTimeAt(0, kMovieScale, kMediaScale), 30000);
    EXPECT_EQ(edits.mediaTimeAt(60, kMovieScale, kMediaScale), 27000);
    EXPECT_EQ(edits.trackTimeOf(27000, kMovieScale, kMediaScale), 60);
}

TEST(EditList, TheTrackTimeOfAMediaTimeHasReachedIt) {
    const EditList edits({{600, 0}});
    // 1001 media units are 20.02 movie units: the first movie time that shows them is 21.
    EXPECT_EQ(edits.trackTimeOf(1001, kMovieScale, kMediaScale), 21);
}

TEST(EditList, ARepeatedMediaTimeIsFoundInTheLaterEditToo) {
    const EditList edits({{600, 0}, {600, 0}});
    EXPECT_EQ(edits.trackTimeOf(3000, kMovieScale, kMediaScale), 60);
    EXPECT_EQ(edits.trackTimeOf(3000, kMovieScale, kMediaScale, 61), 660);
}

TEST(EditList, InsertingPastTheEndLeavesAnEmptyEditInBetween) {
    EditList edits;
    edits.insert(300, {600, 0}, kMovieScale, kMediaScale);
    ASSERT_EQ(edits.size(), 2u);
    EXPECT_EQ(edits.at(0).edit, (Edit{300, kEmptyMediaTime}));
    EXPECT_EQ(edits.at(1).trackStart, 300);
}

TEST(EditList, InsertingInsideSplitsTheEditAtTheRightMediaTime) {
    EditList edits({{600, 0}});
    edits.insert(200, {100, 15000, 2 * kFixedOne}, kMovieScale, kMediaScale);
    ASSERT_EQ(edits.size(), 3u);
    EXPECT_EQ(edits.at(0).edit, (Edit{200, 0}));
    EXPECT_EQ(edits.at(1).edit, (Edit{100, 15000, 2 * kFixedOne}));
    EXPECT_EQ(edits.at(2).edit, (Edit{400, 10000}));
    EXPECT_EQ(edits.duration(), 700);
}

TEST(EditList, WhatContinuesExactlyBecomesOneEdit) {
    EditList edits;
    for (int i = 0; i < 100; ++i)
        edits.insert(edits.duration(), {20, i * 1000}, kMovieScale, kMediaScale);
    EXPECT_EQ(edits.size(), 1u);
    EXPECT_EQ(edits.duration(), 2000);
}

TEST(EditList, WhatContinuesOnlyRoundedStaysApart) {
    EditList edits;
    edits.insert(0, {20, 0}, kMovieScale, kMediaScale);
    edits.insert(20, {20, 1001}, kMovieScale, kMediaScale);
    EXPECT_EQ(edits.size(), 2u);
}

TEST(EditList, RemovingTakesPartsOfEditsOutAndClosesTheGap) {
    EditList edits({{600, 0}, {600, 60000}});
    edits.remove(300, 600, kMovieScale, kMediaScale);
    ASSERT_EQ(edits.size(), 2u);
    EXPECT_EQ(edits.at(0).edit, (Edit{300, 0}));
    EXPECT_EQ(edits.at(1).edit, (Edit{300, 75000}));
}

TEST(EditList, RemovingTheLastShownPartTakesTheEmptyEditBeforeItToo) {
    EditList edits({{600, 0}, {100, kEmptyMediaTime}, {600, 0}});
    edits.remove(700, 10000, kMovieScale, kMediaScale);
    EXPECT_EQ(edits.duration(), 600);
}

TEST(EditList, RescalingConvertsEdgesSoThatErrorsDoNotAddUp) {
    std::vector<Edit> many(1000, Edit{1, 0});
    EditList edits(many);
    edits.rescaleDurations(3, 1);
    EXPECT_EQ(edits.duration(), 333);
    EXPECT_EQ(edits.size(), 1000u);
}

TEST(EditList, EditsOfAbsurdLengthSaturate) {
    const std::int64_t huge = INT64_MAX - 1;
    const EditList edits({{huge, 0}, {huge, 0}});
    EXPECT_EQ(edits.duration(), INT64_MAX);
    EXPECT_TRUE(edits.mediaTimeAt(INT64_MAX - 1, 1, UINT32_MAX).has_value());
}

}  // namespace
}  // namespace TWQuickTime::timeline
