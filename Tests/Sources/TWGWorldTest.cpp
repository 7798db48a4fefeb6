#include "TWGWorld.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LogCapture.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::Not;

/// A world whose pixels tell their column in red and their row in green, four pixels a step.
std::shared_ptr<TWGWorld> gradient(int width, int height) {
    auto world = TWGWorld::initWithPixelFormat(32, width, height);
    auto* pixels =
        reinterpret_cast<unsigned char*>(GetPixBaseAddr(GetGWorldPixMap(world->quickTimeGWorld())));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x, pixels += 4) {
            pixels[0] = 255;
            pixels[1] = static_cast<unsigned char>(x / 4);
            pixels[2] = static_cast<unsigned char>(y / 4);
            pixels[3] = 0;
        }
    return world;
}

const unsigned char* pixelAt(const TWGWorld& world, int x, int y) {
    return reinterpret_cast<const unsigned char*>(
               GetPixBaseAddr(GetGWorldPixMap(world.quickTimeGWorld()))) +
           y * world.bytesPerRow() + x * 4;
}

TEST(TWGWorld, IsReturnedAlsoWhenItsWorldCouldNotBeMade) {
    test::LogCapture log;
    const auto world = TWGWorld::initWithPixelFormat(32, 0, 10);
    ASSERT_NE(world, nullptr);
    EXPECT_EQ(world->quickTimeGWorld(), nullptr);
    EXPECT_EQ(world->imageDescription(), nullptr);
}

TEST(TWGWorld, AScaledCopyReachesFromTheOriginToTheDestinationsCorner) {
    const auto source = gradient(200, 100);
    const auto scaled =
        TWGWorld::scaleGWorldData(source->quickTimeGWorld(), {0, 0, 100, 200}, {5, 10, 55, 110});
    ASSERT_NE(scaled, nullptr);
    EXPECT_EQ(scaled->width(), 110);
    EXPECT_EQ(scaled->height(), 55);
    // The middle of the destination shows the middle of the source.
    EXPECT_NEAR(pixelAt(*scaled, 60, 30)[1], 25, 1);
    EXPECT_NEAR(pixelAt(*scaled, 60, 30)[2], 12, 1);
}

TEST(TWGWorld, EqualAspectRatiosTakeTheDestinationItselfAsShape) {
    const auto source = gradient(200, 100);
    for (double destinationRatio : {1.0, 1.0005, 0.9995}) {
        const auto scaled = TWGWorld::scaleGWorldData(source->quickTimeGWorld(), 1.0,
                                                      {0, 0, 50, 50}, destinationRatio);
        ASSERT_NE(scaled, nullptr);
        // A square out of the middle: columns 50 … 150.
        EXPECT_NEAR(pixelAt(*scaled, 0, 25)[1], 12, 1) << destinationRatio;
        EXPECT_NEAR(pixelAt(*scaled, 49, 25)[1], 37, 1) << destinationRatio;
    }
}

TEST(TWGWorld, ASourceWithOtherPixelsIsCroppedToKeepTheProportions) {
    const auto source = gradient(720, 480);
    const auto scaled =
        TWGWorld::scaleGWorldData(source->quickTimeGWorld(), 0.9, {0, 0, 360, 640}, 1.0);
    ASSERT_NE(scaled, nullptr);
    EXPECT_EQ(scaled->width(), 640);
    EXPECT_EQ(scaled->height(), 360);
    // 711 : 360 in 720 × 480 is 720 × 365, from row 57 to row 422.
    EXPECT_NEAR(pixelAt(*scaled, 320, 0)[2], 57 / 4, 1);
    EXPECT_NEAR(pixelAt(*scaled, 320, 359)[2], 421 / 4, 1);
    EXPECT_NEAR(pixelAt(*scaled, 0, 180)[1], 0, 1);
    EXPECT_NEAR(pixelAt(*scaled, 639, 180)[1], 179, 1);
}

TEST(TWGWorld, TheShapesRightEdgeIsDividedNotItsWidth) {
    const auto source = gradient(100, 100);
    const auto scaled =
        TWGWorld::scaleGWorldData(source->quickTimeGWorld(), 2.0, {0, 10, 20, 110}, 1.0);
    ASSERT_NE(scaled, nullptr);
    EXPECT_EQ(scaled->width(), 110);
    // Right 110 / 2 = 55 with left 10: a shape of 45 : 20, so 100 × 44 out of the middle.
    EXPECT_NEAR(pixelAt(*scaled, 60, 0)[2], 28 / 4, 1);
    EXPECT_NEAR(pixelAt(*scaled, 60, 19)[2], 71 / 4, 1);
}

TEST(TWGWorld, NothingIsMadeForAZeroRatioAnEmptyDestinationOrNoSource) {
    const auto source = gradient(20, 20);
    ToolboxTrace::startRecording();
    EXPECT_EQ(TWGWorld::scaleGWorldData(source->quickTimeGWorld(), 0.0, {0, 0, 9, 9}, 1.0),
              nullptr);
    EXPECT_EQ(TWGWorld::scaleGWorldData(source->quickTimeGWorld(), 1.0, {0, 0, 9, 9}, 0.0),
              nullptr);
    EXPECT_EQ(TWGWorld::scaleGWorldData(source->quickTimeGWorld(), 1.0, {0, 5, 9, 5}, 1.0),
              nullptr);
    EXPECT_EQ(TWGWorld::scaleGWorldData(source->quickTimeGWorld(), 1.0, {4, 0, 4, 9}, 1.0),
              nullptr);
    EXPECT_EQ(TWGWorld::scaleGWorldData(nullptr, 1.0, {0, 0, 9, 9}, 1.0), nullptr);
    EXPECT_THAT(ToolboxTrace::recordedCalls(), Not(Contains("QTNewGWorldFromPtr")));
    ToolboxTrace::reset();
}

TEST(TWGWorld, ScalesBetweenWorldsOf24And32Bits) {
    StGWorld narrow(nullptr, 8, 8, 24);
    for (int i = 0; i < 8 * 8 * 3; ++i)
        narrow.GetBuffer()[i] = static_cast<unsigned char>(i % 3 * 100);
    const auto scaled = TWGWorld::scaleGWorldData(narrow, {0, 0, 8, 8}, {0, 0, 4, 4});
    EXPECT_EQ(std::vector<int>(pixelAt(*scaled, 2, 2), pixelAt(*scaled, 2, 2) + 4),
              (std::vector<int>{255, 0, 100, 200}));
    const Rect all = {0, 0, 4, 4};
    const Rect whole = {0, 0, 8, 8};
    EXPECT_EQ(CopyBits(GetGWorldPixMap(scaled->quickTimeGWorld()), GetGWorldPixMap(narrow), &all,
                       &whole, srcCopy, nullptr),
              noErr);
    EXPECT_EQ(narrow.GetBuffer()[5 * 24 + 3 * 3 + 2], 200);
}

TEST(TWGWorld, DisposedAndForeignWorldsAreRecognised) {
    GWorldPtr gone = nullptr;
    {
        StGWorld world(nullptr, 4, 4, 32);
        gone = world;
    }
    EXPECT_EQ(GetGWorldPixMap(gone), nullptr);
    DisposeGWorld(gone);
    int foreign = 0;
    EXPECT_EQ(GetGWorldPixMap(reinterpret_cast<GWorldPtr>(&foreign)), nullptr);
}

}  // namespace
}  // namespace TWQuickTime
