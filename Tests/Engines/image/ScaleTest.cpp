#include "Engines/image/Scale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "CollectedImage.h"
#include "Engines/image/RowScaler.h"

namespace TWQuickTime::image {
namespace {

struct Buffer {
    int width, height;
    std::vector<std::uint8_t> bytes;
    Buffer(int w, int h, std::uint8_t fill = 0)
        : width(w), height(h), bytes(std::size_t(w) * std::size_t(h) * 4, fill) {}
    PixelView view() { return {bytes.data(), width, height, std::ptrdiff_t{width} * 4}; }
    std::uint8_t* at(int x, int y) {
        return &bytes[(std::size_t(y) * std::size_t(width) + std::size_t(x)) * 4];
    }
};

Buffer noise(int width, int height, unsigned seed = 1) {
    Buffer buffer(width, height);
    std::mt19937 random(seed);
    for (std::uint8_t& byte : buffer.bytes)
        byte = static_cast<std::uint8_t>(random());
    return buffer;
}

/// The exact area average in double precision.
Buffer exactAverage(Buffer& source, int width, int height) {
    Buffer result(width, height);
    const double xStep = double(source.width) / width;
    const double yStep = double(source.height) / height;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 4; ++c) {
                double sum = 0;
                for (int sy = int(y * yStep); sy < (y + 1) * yStep && sy < source.height; ++sy)
                    for (int sx = int(x * xStep); sx < (x + 1) * xStep && sx < source.width; ++sx) {
                        const double w =
                            std::min((x + 1) * xStep, sx + 1.0) - std::max(x * xStep, double(sx));
                        const double h =
                            std::min((y + 1) * yStep, sy + 1.0) - std::max(y * yStep, double(sy));
                        sum += std::max(0.0, w) * std::max(0.0, h) * source.at(sx, sy)[c];
                    }
                result.at(x, y)[c] = static_cast<std::uint8_t>(std::lround(sum / (xStep * yStep)));
            }
    return result;
}

TEST(ScalePixels, ShrinkingIsTheExactAreaAverageWithinRounding) {
    for (auto [w, h, dw, dh] : {std::array{192, 108, 72, 48},
                                {200, 100, 100, 50},
                                {97, 61, 13, 7},
                                {640, 480, 3, 2},
                                {50, 50, 49, 49}}) {
        Buffer source = noise(w, h);
        Buffer scaled(dw, dh);
        ASSERT_TRUE(scalePixels(source.view(), {0, 0, w, h}, scaled.view(), {0, 0, dw, dh}).ok());
        Buffer exact = exactAverage(source, dw, dh);
        int worst = 0;
        for (std::size_t i = 0; i < exact.bytes.size(); ++i)
            worst = std::max(worst, std::abs(int(exact.bytes[i]) - int(scaled.bytes[i])));
        EXPECT_LE(worst, 2) << w << "x" << h;
        EXPECT_GE(test::psnr(exact.bytes, scaled.bytes), 50.0) << w << "x" << h;
    }
}

TEST(ScalePixels, WhiteStaysWhiteAndBlackStaysBlackAtEveryScale) {
    for (int source : {1, 2, 3, 10, 255, 256, 999, 4000})
        for (int destination : {1, 2, 7, 64, 300}) {
            for (int value : {0, 255}) {
                Buffer from(source, 3, static_cast<std::uint8_t>(value));
                Buffer to(destination, 5, 77);
                ASSERT_TRUE(
                    scalePixels(from.view(), {0, 0, source, 3}, to.view(), {0, 0, destination, 5})
                        .ok());
                EXPECT_TRUE(std::all_of(to.bytes.begin(), to.bytes.end(),
                                        [&](std::uint8_t b) { return b == value; }))
                    << source << " to " << destination << " of " << value;
                Buffer tall(3, source, static_cast<std::uint8_t>(value));
                Buffer short_(5, destination, 77);
                ASSERT_TRUE(scalePixels(tall.view(), {0, 0, 3, source}, short_.view(),
                                        {0, 0, 5, destination})
                                .ok());
                EXPECT_TRUE(std::all_of(short_.bytes.begin(), short_.bytes.end(),
                                        [&](std::uint8_t b) { return b == value; }))
                    << source << " rows to " << destination << " of " << value;
            }
        }
}

TEST(ScalePixels, EnlargingInterpolatesBetweenPixelCentres) {
    Buffer source(2, 1);
    source.at(1, 0)[1] = 200;
    Buffer scaled(4, 1);
    ASSERT_TRUE(scalePixels(source.view(), {0, 0, 2, 1}, scaled.view(), {0, 0, 4, 1}).ok());
    EXPECT_EQ(scaled.at(0, 0)[1], 0);
    EXPECT_EQ(scaled.at(1, 0)[1], 50);
    EXPECT_EQ(scaled.at(2, 0)[1], 150);
    EXPECT_EQ(scaled.at(3, 0)[1], 200);
    Buffer tall(1, 2);
    tall.at(0, 1)[2] = 100;
    Buffer taller(1, 8);
    ASSERT_TRUE(scalePixels(tall.view(), {0, 0, 1, 2}, taller.view(), {0, 0, 1, 8}).ok());
    for (int y = 1; y < 8; ++y)
        EXPECT_GE(taller.at(0, y)[2], taller.at(0, y - 1)[2]);
    EXPECT_EQ(taller.at(0, 0)[2], 0);
    EXPECT_EQ(taller.at(0, 7)[2], 100);
}

TEST(RowScaler, RowsOneByOneGiveWhatAWholePictureGives) {
    for (auto [w, h, dw, dh] : {std::array{97, 61, 40, 27},
                                {97, 61, 40, 1},
                                {31, 17, 50, 40},
                                {64, 64, 200, 20},
                                {20, 300, 100, 7}}) {
        Buffer source = noise(w, h);
        Buffer fromRows(dw, dh), fromWhole(dw, dh);
        int expectedRow = 0;
        RowScaler oneByOne(ScaleMapping::whole(w, h, dw, dh));
        for (int y = 0; y < h; ++y)
            oneByOne.push(source.view().row(y), [&](int row, const std::uint8_t* pixels) {
                EXPECT_EQ(row, expectedRow++);
                std::copy_n(pixels, fromRows.view().rowBytes, fromRows.view().row(row));
            });
        EXPECT_EQ(expectedRow, dh);
        RowScaler atOnce(ScaleMapping::whole(w, h, dw, dh));
        atOnce.scaleAll(source.bytes.data(), source.view().rowBytes, fromWhole.bytes.data(),
                        fromWhole.view().rowBytes);
        EXPECT_EQ(fromRows.bytes, fromWhole.bytes) << w << "x" << h << " to " << dw << "x" << dh;
    }
}

TEST(ScaleKernels, NarrowAndWideRegistersGiveTheSame) {
    Buffer source = noise(67, 6);
    constexpr int kWeights[] = {AxisWeights::one / 2, 1, AxisWeights::one / 4, 77, 1000, 2000};
    std::vector<WeightedRow> rows;
    for (int y = 0; y < source.height; ++y)
        rows.push_back({source.view().row(y), kWeights[y]});
    const std::size_t count = std::size_t(source.width) * 4;
    for (int destinationWidth : {1, 7, 30, 66, 67, 150}) {
        const ColumnPairs columns(
            AxisWeights::make(source.width, 0, source.width, destinationWidth));
        const std::size_t outCount = std::size_t(destinationWidth) * 4;
        std::vector<std::uint8_t> pixels[2], blended[2];
        std::vector<std::uint16_t> combined[2];
        for (const bool wide : {false, true}) {
            if (wide && !hasWideRegisters())
                GTEST_SKIP() << "this machine has no wide registers";
            std::vector<std::uint16_t> sums(count + std::size_t(columns.overread()) * 4);
            sumRows(rows, 3, sums.data(), count, wide);
            pixels[wide].resize(outCount);
            combineColumns(columns, sums.data(), pixels[wide].data(), wide);
            combined[wide].resize(outCount);
            combineColumns(columns, sums.data(), combined[wide].data(), wide);
            std::vector<std::uint16_t> other(combined[wide].rbegin(), combined[wide].rend());
            blended[wide].resize(outCount);
            blendRows(combined[wide].data(), other.data(), 5000, blended[wide].data(), outCount,
                      wide);
        }
        EXPECT_EQ(pixels[0], pixels[1]) << destinationWidth;
        EXPECT_EQ(combined[0], combined[1]) << destinationWidth;
        EXPECT_EQ(blended[0], blended[1]) << destinationWidth;
    }
}

TEST(ScalePixels, SameSizesAreACopy) {
    Buffer source = noise(31, 17);
    Buffer copy(31, 17);
    ASSERT_TRUE(scalePixels(source.view(), {0, 0, 31, 17}, copy.view(), {0, 0, 31, 17}).ok());
    EXPECT_EQ(copy.bytes, source.bytes);
}

TEST(ScalePixels, ATargetBeyondTheBufferIsCutWithItsScaleKept) {
    Buffer source = noise(60, 60);
    Buffer whole(120, 90);
    ASSERT_TRUE(scalePixels(source.view(), {0, 0, 60, 60}, whole.view(), {0, 0, 120, 90}).ok());
    Buffer part(50, 40);
    ASSERT_TRUE(scalePixels(source.view(), {0, 0, 60, 60}, part.view(), {-30, -20, 90, 70}).ok());
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 50; ++x)
            for (int c = 0; c < 4; ++c)
                ASSERT_NEAR(part.at(x, y)[c], whole.at(x + 30, y + 20)[c], 1) << x << "," << y;
}

TEST(ScalePixels, ASourceRectangleBeyondTheSourceLeavesTheRestUntouched) {
    Buffer source(10, 10, 200);
    Buffer destination(40, 40, 9);
    ASSERT_TRUE(
        scalePixels(source.view(), {-10, -10, 10, 10}, destination.view(), {0, 0, 40, 40}).ok());
    EXPECT_EQ(destination.at(19, 19)[1], 9);
    EXPECT_EQ(destination.at(20, 20)[1], 200);
    EXPECT_EQ(destination.at(39, 39)[1], 200);
    EXPECT_EQ(destination.at(39, 5)[1], 9);
}

TEST(ScalePixels, AnEmptyRectangleIsRefused) {
    Buffer source(4, 4);
    Buffer destination(4, 4);
    EXPECT_FALSE(scalePixels(source.view(), {0, 0, 0, 4}, destination.view(), {0, 0, 4, 4}).ok());
    EXPECT_FALSE(scalePixels(source.view(), {0, 0, 4, 4}, destination.view(), {2, 2, 1, 4}).ok());
}

}  // namespace
}  // namespace TWQuickTime::image
