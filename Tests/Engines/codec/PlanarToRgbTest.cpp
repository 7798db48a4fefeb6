#include "Engines/codec/PlanarToRgb.h"

#include <gtest/gtest.h>

#include "TestPictures.h"

namespace TWQuickTime::codec {
namespace {

/// A plane-wise filled picture.
VideoFrame filled(PixelFormat format, int width, int height, std::uint8_t y, std::uint8_t u,
                  std::uint8_t v) {
    VideoFrame frame = *VideoFrame::allocate(format, width, height);
    const std::uint8_t values[3] = {y, u, v};
    for (int plane = 0; plane < 3; ++plane) {
        const int columns = plane ? -((-width) >> format.chromaShiftX()) : width;
        const int rows = plane ? -((-height) >> format.chromaShiftY()) : height;
        for (int row = 0; row < rows; ++row) {
            std::fill_n(frame.writableRow(plane, row), columns, values[plane]);
        }
    }
    return frame;
}

struct Rgb {
    double red, green, blue;
};

/// By the formula, in floating point.
Rgb exact(double y, double u, double v, double kr, double kb, bool full) {
    const double luma = full ? y / 255 : (y - 16) / 219;
    const double pb = full ? (u - 128) / 255 : (u - 128) / 224;
    const double pr = full ? (v - 128) / 255 : (v - 128) / 224;
    const double red = luma + 2 * (1 - kr) * pr, blue = luma + 2 * (1 - kb) * pb;
    const double green = (luma - kr * red - kb * blue) / (1 - kr - kb);
    const auto bounded = [](double x) { return std::clamp(x * 255, 0.0, 255.0); };
    return {bounded(red), bounded(green), bounded(blue)};
}

TEST(PlanarToRgb, IsTheFormulaWithinOneStepForEveryMatrixAndRange) {
    struct Case {
        int matrix;
        double red, blue;
    };
    for (const Case& c : {Case{1, 0.2126, 0.0722}, {6, 0.299, 0.114}, {9, 0.2627, 0.0593}}) {
        for (const bool full : {false, true}) {
            for (int i = 0; i < 4096; i += 7) {
                const auto y = std::uint8_t(i), u = std::uint8_t(i * 5), v = std::uint8_t(i * 11);
                const VideoFrame source = filled(PixelFormat::yuv444(), 8, 1, y, u, v);
                const auto pixels = convertedToRgb(source, PixelFormat::argb32(), c.matrix, full);
                ASSERT_TRUE(pixels);
                const Rgb expected = exact(y, u, v, c.red, c.blue, full);
                const std::uint8_t* p = pixels->row(0, 0) + 4 * 7;
                EXPECT_EQ(p[0], 255);
                ASSERT_NEAR(p[1], expected.red, 1.01) << i;
                ASSERT_NEAR(p[2], expected.green, 1.01) << i;
                ASSERT_NEAR(p[3], expected.blue, 1.01) << i;
            }
        }
    }
}

TEST(PlanarToRgb, GreysAreExactlyGreyFromBlackToWhite) {
    const VideoFrame white = filled(PixelFormat::yuv420(), 5, 3, 235, 128, 128);
    const VideoFrame black = filled(PixelFormat::yuv420(), 5, 3, 16, 128, 128);
    for (int x = 0; x < 5; ++x) {
        for (int channel = 0; channel < 3; ++channel) {
            EXPECT_EQ(
                convertedToRgb(white, PixelFormat::bgra32(), 1, false)->row(0, 2)[x * 4 + channel],
                255);
            EXPECT_EQ(
                convertedToRgb(black, PixelFormat::bgra32(), 1, false)->row(0, 2)[x * 4 + channel],
                0);
        }
    }
}

TEST(PlanarToRgb, PicturesOfAnySizeComeOutAsTheyWentIn) {
    for (const PixelFormat format :
         {PixelFormat::yuv420(), PixelFormat::yuv422(), PixelFormat::yuv444()}) {
        for (const auto& [width, height] : {std::pair{64, 48}, {63, 47}, {1, 1}, {2, 5}, {17, 2}}) {
            const VideoFrame picture = test::makePicture(width, height, 0.4);
            PixelConverter converter;
            const auto planar =
                converter.convert(picture, {format, width, height, {1, 1, 1, ColorRange::video}});
            ASSERT_TRUE(planar);
            ASSERT_TRUE(canBecomeRgb(format, PixelFormat::bgra32(), 1));
            const auto back = convertedToRgb(*planar, PixelFormat::bgra32(), 1, false);
            ASSERT_TRUE(back);
            // Narrow pictures change from pixel to pixel more than halved chroma can follow.
            EXPECT_GT(test::psnr(*back, picture),
                      width < 20 && format != PixelFormat::yuv444() ? 10 : 38)
                << format.name() << ' ' << width << 'x' << height;
        }
    }
}

TEST(PlanarToRgb, LeavesOtherFormatsAndUnknownMatricesToTheScaler) {
    EXPECT_FALSE(canBecomeRgb(PixelFormat::yuyv422(), PixelFormat::bgra32(), 1));
    EXPECT_FALSE(canBecomeRgb(PixelFormat::yuv420(), PixelFormat::rgb24(), 1));
    EXPECT_FALSE(canBecomeRgb(PixelFormat::yuv420(), PixelFormat::bgra32(), 2));
}

}  // namespace
}  // namespace TWQuickTime::codec
