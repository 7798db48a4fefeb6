#include "Engines/codec/PlanarColors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <ranges>

#include "TestPictures.h"

namespace TWQuickTime::codec {
namespace {

/// A picture of soft colours under a matrix and range, from RGB.
VideoFrame coded(PixelFormat format, int matrix, ColorRange range) {
    PixelConverter converter;
    auto picture =
        converter.convert(test::makePicture(64, 48, 0.7), {format, 64, 48, {1, 1, matrix, range}});
    EXPECT_TRUE(picture);
    return *picture;
}

VideoFrame shown(const VideoFrame& picture) {
    PixelConverter converter;
    return *converter.convert(picture, {PixelFormat::bgra32(), 64, 48, {}});
}

TEST(PlanarColors, KeepWhatIsShownWhenCoefficientsAndRangeChange) {
    for (const PixelFormat format :
         {PixelFormat::yuv420(), PixelFormat::yuv422(), PixelFormat::yuv444()}) {
        for (const auto& [from, to] : {std::pair{1, 6}, {6, 1}, {9, 1}, {1, 1}}) {
            const VideoFrame source = coded(format, from, ColorRange::video);
            const PlanarColorChange change{from, to, false, true};
            ASSERT_TRUE(canChangeColors(format, change));
            auto result = withChangedColors(source, change);
            ASSERT_TRUE(result);
            result->color = {1, 1, to, ColorRange::full};
            EXPECT_GT(test::psnr(shown(*result), shown(source)), 42) << from << " to " << to;
        }
    }
}

TEST(PlanarColors, GoThereAndBackWithinAStep) {
    const VideoFrame source = coded(PixelFormat::yuv444(), 1, ColorRange::video);
    auto there = withChangedColors(source, {1, 6, false, true});
    ASSERT_TRUE(there);
    auto back = withChangedColors(*there, {6, 1, true, false});
    ASSERT_TRUE(back);
    for (int plane = 0; plane < 3; ++plane) {
        for (int y = 0; y < 48; ++y) {
            for (int x = 0; x < 64; ++x) {
                ASSERT_NEAR(int(source.row(plane, y)[x]), int(back->row(plane, y)[x]), 2);
            }
        }
    }
}

TEST(PlanarColors, AreWithinAStepOfTheExactOnesAtEveryLevelAndAlmostAlwaysTheNearest) {
    std::array<std::uint8_t, 256> levels{}, luma{}, u{}, v{};
    std::ranges::iota_view every(0, 256);
    std::ranges::copy(every, levels.begin());
    for (const bool fromFull : {false, true}) {
        PlanarColorRows rows({1, 1, fromFull, !fromFull});
        EXPECT_FALSE(rows.keepsAll());
        rows.changeLuma(levels.data(), luma.data(), 256);
        rows.changeChroma(levels.data(), levels.data(), u.data(), v.data(), 256);
        int others = 0;
        for (const int level : every) {
            const double exactLuma =
                fromFull ? 16 + level * 219.0 / 255 : (level - 16) * 255.0 / 219;
            const double exactChroma = 128 + (level - 128) * (fromFull ? 224.0 / 255 : 255.0 / 224);
            for (const auto& [sample, exact] : {std::pair{luma[std::size_t(level)], exactLuma},
                                                {u[std::size_t(level)], exactChroma},
                                                {v[std::size_t(level)], exactChroma}}) {
                const double wanted = std::clamp(exact, 0.0, 255.0);
                EXPECT_NEAR(sample, wanted, 1) << level;
                others += std::abs(sample - wanted) > 0.5 ? 1 : 0;
            }
        }
        EXPECT_LE(others, 12);
        EXPECT_EQ(u[128], 128);
    }
    EXPECT_TRUE(PlanarColorRows({5, 6, true, true}).keepsAll());
}

TEST(PlanarColors, LeaveOtherFormatsAndUnknownMatricesToTheGeneralConverter) {
    EXPECT_FALSE(canChangeColors(PixelFormat::bgra32(), {1, 6, false, true}));
    EXPECT_FALSE(canChangeColors(PixelFormat::yuv420(), {2, 6, false, true}));
}

TEST(PlanarColors, WorkOnPicturesOfOddSizes) {
    auto picture = VideoFrame::allocate(PixelFormat::yuv420(), 5, 3);
    ASSERT_TRUE(picture);
    for (int plane = 0; plane < 3; ++plane) {
        for (int y = 0; y < (plane ? 2 : 3); ++y) {
            std::fill_n(picture->writableRow(plane, y), plane ? 3 : 5,
                        std::uint8_t(plane ? 128 : 235));
        }
    }
    auto result = withChangedColors(*picture, {1, 6, false, true});
    ASSERT_TRUE(result);
    EXPECT_EQ(result->row(0, 2)[4], 255);
    EXPECT_EQ(result->row(1, 1)[2], 128);
}

}  // namespace
}  // namespace TWQuickTime::codec
