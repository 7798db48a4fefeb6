#include "Engines/transcode/MovieRenderer.h"

#include <gtest/gtest.h>

#include "TestMovie.h"

namespace TWQuickTime::transcode {
namespace {

using test::addColors;
using test::Color;

constexpr Color kRed = 0xFFFF0000, kGreen = 0xFF00FF00, kBlue = 0xFF0000FF, kBlack = 0xFF000000,
                kNothing = 0;

Color pixel(const codec::VideoFrame& picture, int x, int y) {
    const std::uint8_t* p = picture.row(0, y) + std::ptrdiff_t(4) * x;
    return Color(p[3]) << 24 | Color(p[2]) << 16 | Color(p[1]) << 8 | Color(p[0]);
}

/// The colour of a movie at a time (units of 600 a second) and place.
Color shown(const timeline::Movie& movie, std::int64_t time, int x = 2, int y = 2,
            const RenderOptions& options = {}) {
    auto renderer = MovieRenderer::open(movie, options);
    EXPECT_TRUE(renderer);
    auto picture = (*renderer)->renderFrame({time, 600}, codec::PixelFormat::bgra32());
    EXPECT_TRUE(picture);
    return pixel(*picture, x, y);
}

TEST(MovieRenderer, ShowsEachSampleFromItsStartToTheNextOnes) {
    timeline::Movie movie;
    addColors(movie, 8, 8, {kRed, kGreen, kBlue}, 100);
    EXPECT_EQ(shown(movie, 0), kRed);
    EXPECT_EQ(shown(movie, 99), kRed);
    EXPECT_EQ(shown(movie, 100), kGreen);
    EXPECT_EQ(shown(movie, 299), kBlue);
    EXPECT_EQ(shown(movie, 300), kBlack);
}

TEST(MovieRenderer, GoesForwardAndBackwardInOneRenderer) {
    timeline::Movie movie;
    addColors(movie, 8, 8, {kRed, kGreen, kBlue}, 100);
    auto renderer = MovieRenderer::open(movie, {});
    ASSERT_TRUE(renderer);
    for (const auto& [time, color] : {std::pair{250, kBlue}, {50, kRed}, {150, kGreen}}) {
        auto picture = (*renderer)->renderFrame({time, 600}, codec::PixelFormat::bgra32());
        ASSERT_TRUE(picture);
        EXPECT_EQ(pixel(*picture, 0, 0), color);
    }
}

TEST(MovieRenderer, HonoursGapsRatesAndDwells) {
    timeline::Movie movie;
    timeline::Track& track = addColors(movie, 8, 8, {kRed, kGreen, kBlue}, 100, false);
    // A gap, the first two samples at double speed, then the third one held.
    track.edits = timeline::EditList({{60, timeline::kEmptyMediaTime, timeline::kFixedOne},
                                      {100, 0, 2 * timeline::kFixedOne},
                                      {200, 250, 0}});
    EXPECT_EQ(shown(movie, 59), kBlack);
    EXPECT_EQ(shown(movie, 60), kRed);
    EXPECT_EQ(shown(movie, 109), kRed);
    EXPECT_EQ(shown(movie, 110), kGreen);
    EXPECT_EQ(shown(movie, 160), kBlue);
    EXPECT_EQ(shown(movie, 359), kBlue);
    EXPECT_EQ(shown(movie, 360), kBlack);
}

TEST(MovieRenderer, TellsWhenThePictureChanges) {
    timeline::Movie movie;
    timeline::Track& track = addColors(movie, 8, 8, {kRed, kGreen}, 100, false);
    track.edits = timeline::EditList(
        {{60, timeline::kEmptyMediaTime, timeline::kFixedOne}, {100, 0, 2 * timeline::kFixedOne}});
    auto renderer = MovieRenderer::open(movie, {});
    ASSERT_TRUE(renderer);
    ASSERT_EQ((*renderer)->timeScale(), 600);
    EXPECT_EQ((*renderer)->nextChange({0, 600}), 60);
    EXPECT_EQ((*renderer)->nextChange({60, 600}), 110);
    EXPECT_EQ((*renderer)->nextChange({110, 600}), 160);
    EXPECT_EQ((*renderer)->nextChange({160, 600}), std::nullopt);
}

TEST(MovieRenderer, PutsLowerLayersInFront) {
    timeline::Movie movie;
    timeline::Track& behind = addColors(movie, 16, 16, {kRed}, 100);
    timeline::Track& front = addColors(movie, 8, 8, {kGreen}, 100);
    behind.layer = 1;
    front.layer = -1;
    front.matrix[6] = 4 << 16;
    front.matrix[7] = 4 << 16;
    EXPECT_EQ(shown(movie, 0, 2, 2), kRed);
    EXPECT_EQ(shown(movie, 0, 4, 4), kGreen);
    EXPECT_EQ(shown(movie, 0, 11, 11), kGreen);
    EXPECT_EQ(shown(movie, 0, 12, 12), kRed);
    front.setEnabled(false);
    EXPECT_EQ(shown(movie, 0, 4, 4), kRed);
}

TEST(MovieRenderer, TurnsATrackByItsMatrix) {
    timeline::Movie movie;
    timeline::Track& turned = addColors(movie, 16, 8, {kBlue}, 100);
    // A quarter turn clockwise: 16 wide becomes 16 high.
    turned.matrix = {0, 0x10000, 0, -0x10000, 0, 0, 8 << 16, 0, 0x40000000};
    auto renderer = MovieRenderer::open(movie, {});
    ASSERT_TRUE(renderer);
    EXPECT_EQ((*renderer)->width(), 8);
    EXPECT_EQ((*renderer)->height(), 16);
    EXPECT_EQ(shown(movie, 0, 0, 0), kBlue);
    EXPECT_EQ(shown(movie, 0, 7, 15), kBlue);
}

TEST(MovieRenderer, BlendsByTheOperationColour) {
    timeline::Movie movie;
    addColors(movie, 8, 8, {kRed}, 100).layer = 1;
    timeline::Track& front = addColors(movie, 8, 8, {kBlue}, 100);
    front.media->graphicsMode = 0x20;
    front.media->opColor = {0x8000, 0x8000, 0x8000};
    const Color mixed = shown(movie, 0);
    EXPECT_NEAR(int(mixed >> 16 & 0xFF), 127, 2);
    EXPECT_NEAR(int(mixed & 0xFF), 128, 2);
}

TEST(MovieRenderer, LeavesOutTheTransparentColour) {
    timeline::Movie movie;
    addColors(movie, 8, 8, {kRed}, 100).layer = 1;
    timeline::Track& front = addColors(movie, 8, 8, {kGreen, kBlue}, 50);
    front.media->graphicsMode = 0x24;
    front.media->opColor = {0, 0xFFFF, 0};
    EXPECT_EQ(shown(movie, 0), kRed);
    EXPECT_EQ(shown(movie, 50), kBlue);
}

TEST(MovieRenderer, UsesStraightAlphaWhereTheModeSaysSo) {
    timeline::Movie movie;
    addColors(movie, 8, 8, {kRed}, 100).layer = 1;
    timeline::Track& front = addColors(movie, 8, 8, {0x8000FF00}, 100);
    front.media->graphicsMode = 0x100;
    const Color mixed = shown(movie, 0);
    EXPECT_NEAR(int(mixed >> 16 & 0xFF), 127, 2);
    EXPECT_NEAR(int(mixed >> 8 & 0xFF), 128, 2);
}

TEST(MovieRenderer, LeavesUncoveredPlacesTransparentWhenAlphaIsWanted) {
    timeline::Movie movie;
    addColors(movie, 8, 8, {kRed}, 100).matrix[6] = 8 << 16;
    addColors(movie, 8, 8, {kGreen}, 50);
    EXPECT_EQ(shown(movie, 60, 2, 2, {.alpha = true}), kNothing);
    EXPECT_EQ(shown(movie, 60, 10, 2, {.alpha = true}), kRed);
    EXPECT_EQ(shown(movie, 60, 2, 2), kBlack);
}

TEST(MovieRenderer, ScalesTheMovieBoxToTheAskedSize) {
    timeline::Movie movie;
    addColors(movie, 8, 8, {kRed}, 100);
    addColors(movie, 8, 8, {kGreen}, 100).matrix[6] = 8 << 16;
    auto renderer = MovieRenderer::open(movie, {.width = 32, .height = 16});
    ASSERT_TRUE(renderer);
    auto picture = (*renderer)->renderFrame({0, 600}, codec::PixelFormat::bgra32());
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width(), 32);
    EXPECT_EQ(picture->height(), 16);
    EXPECT_EQ(pixel(*picture, 3, 3), kRed);
    EXPECT_EQ(pixel(*picture, 28, 12), kGreen);
}

TEST(MovieRenderer, FailsForAMovieWithoutPictures) {
    timeline::Movie movie;
    EXPECT_FALSE(MovieRenderer::open(movie, {}));
    test::addLevels(movie, {1, 2, 3}, 48000);
    const auto renderer = MovieRenderer::open(movie, {});
    ASSERT_FALSE(renderer);
    EXPECT_EQ(renderer.failure().kind, result::FailureKind::notFound);
}

}  // namespace
}  // namespace TWQuickTime::transcode
