#include "Engines/codec/AdaptivePalette.h"

#include <gtest/gtest.h>

#include <cstring>

#include "Engines/codec/PixelConverter.h"
#include "TestPictures.h"

namespace TWQuickTime::codec {
namespace {

VideoFrame plain(std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
    VideoFrame picture = *VideoFrame::allocate(PixelFormat::rgb24(), 16, 8);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 16; ++x) {
            std::uint8_t* p = picture.writableRow(0, y) + x * 3;
            p[0] = red;
            p[1] = green;
            p[2] = blue;
        }
    }
    return picture;
}

VideoFrame rgbOf(const VideoFrame& picture) {
    PixelConverter converter;
    return *converter.convert(picture,
                              {PixelFormat::rgb24(), picture.width(), picture.height(), {}});
}

VideoFrame bgraOf(const VideoFrame& picture) {
    PixelConverter converter;
    return *converter.convert(picture,
                              {PixelFormat::bgra32(), picture.width(), picture.height(), {}});
}

TEST(AdaptivePalette, KeepsThePlainColoursOfAPictureThatHasFew) {
    VideoFrame picture = plain(13, 77, 201);
    std::memset(picture.writableRow(0, 3), 250, 16 * 3);
    AdaptivePalette palette;
    const auto indexed = palette.convert(picture);
    ASSERT_TRUE(indexed);
    EXPECT_EQ(test::psnr(bgraOf(*indexed), bgraOf(picture)),
              test::psnr(bgraOf(picture), bgraOf(picture)));
}

TEST(AdaptivePalette, ComesCloseToAPictureOfManyColours) {
    const VideoFrame picture = test::makePicture(128, 96, 0);
    AdaptivePalette palette;
    const auto indexed = palette.convert(rgbOf(picture));
    ASSERT_TRUE(indexed);
    EXPECT_GT(test::psnr(bgraOf(*indexed), picture), 32);
}

TEST(AdaptivePalette, ChoosesColoursAnewWhenTheSceneChanges) {
    AdaptivePalette palette;
    ASSERT_TRUE(palette.convert(plain(200, 10, 10)));
    const auto indexed = palette.convert(plain(10, 200, 10));
    ASSERT_TRUE(indexed);
    EXPECT_GT(test::psnr(bgraOf(*indexed), bgraOf(plain(10, 200, 10))), 45);
}

TEST(AdaptivePalette, TakesOnlyRgbPictures) {
    AdaptivePalette palette;
    EXPECT_FALSE(palette.convert(VideoFrame()));
    EXPECT_FALSE(palette.convert(*VideoFrame::allocate(PixelFormat::yuv420(), 16, 16)));
}

}  // namespace
}  // namespace TWQuickTime::codec
