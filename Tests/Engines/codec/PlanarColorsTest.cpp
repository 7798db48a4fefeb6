#include "Engines/codec/PlanarColors.h"

#include <gtest/gtest.h>

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
