#include "StBitmapContext.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "LogCapture.h"
#include "TemporaryDirectory.h"
#include "UQuickTimeImage.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class StBitmapContextTest : public testing::Test {
  protected:
    test::LogCapture log_;
};

TEST_F(StBitmapContextTest, RowsOfItsOwnBufferAreRoundedUpToSixteenBytes) {
    EXPECT_EQ(StBitmapContext(nullptr, 10, 2, 0, nullptr).GetRowBytes(), 48);
    EXPECT_EQ(StBitmapContext(nullptr, 16, 2, 0, nullptr).GetRowBytes(), 64);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(StBitmapContextTest, ACallersBufferWithRowBytesZeroMakesNoContext) {
    std::vector<unsigned char> buffer(400);
    const StBitmapContext context(buffer.data(), 10, 10, 0, nullptr);
    EXPECT_EQ(context.GetRowBytes(), 0);
    EXPECT_EQ(context.GetContext(), nullptr);
    EXPECT_THAT(log_.lines(), ElementsAre("StBitmapContext: Failed to create bitmap context..."));
}

TEST_F(StBitmapContextTest, BothSidesBelowOneAreLogged) {
    const StBitmapContext context(nullptr, 0, -1, 0, nullptr);
    EXPECT_THAT(log_.lines(), ElementsAre("StBitmapContext: inWidth is 0...",
                                          "StBitmapContext: inHeight is 0..."));
    EXPECT_EQ(context.GetContext(), nullptr);
    EXPECT_EQ(context.GetBuffer(), nullptr);
}

TEST_F(StBitmapContextTest, ErasingToRedFillsEveryPixelAndLeavesTheFirstByte) {
    std::vector<unsigned char> buffer(5 * 3 * 4, 77);
    StBitmapContext context(buffer.data(), 5, 3, 20, nullptr);
    context.EraseToColor(NSColor::colorWithCalibratedRed(1, 0, 0, 1));
    for (std::size_t i = 0; i < buffer.size(); i += 4)
        EXPECT_THAT(std::vector<int>(buffer.begin() + std::ptrdiff_t(i) + 1,
                                     buffer.begin() + std::ptrdiff_t(i) + 4),
                    ElementsAre(255, 0, 0));
}

TEST_F(StBitmapContextTest, AHalfTransparentColorIsBlendedOverTheContents) {
    std::vector<unsigned char> buffer(4, 100);
    StBitmapContext context(buffer.data(), 1, 1, 4, nullptr);
    context.EraseToColor(NSColor::colorWithCalibratedWhite(1, 0.5));
    EXPECT_THAT(std::vector<int>(buffer.begin() + 1, buffer.end()), testing::Each(178));
}

TEST_F(StBitmapContextTest, SavesAFileThatLoadsAgain) {
    test::TemporaryDirectory folder;
    StBitmapContext context(nullptr, 9, 7, 0, nullptr);
    context.EraseToColor(NSColor::colorWithDeviceRed(0.2, 0.4, 0.6, 1));
    context.SavePNG(folder.file("a.png"));
    std::vector<unsigned char> loaded(9 * 7 * 4);
    ASSERT_EQ(UQuickTimeImage::LoadImageFile(folder.file("a.png"), loaded.data(), 9, 7, 0, 0, 0, 0,
                                             nullptr),
              0);
    EXPECT_THAT(std::vector<int>(loaded.end() - 3, loaded.end()), ElementsAre(51, 102, 153));
}

TEST_F(StBitmapContextTest, SavingToNoPathOrAnImpossibleOneIsSilent) {
    StBitmapContext context(nullptr, 2, 2, 0, nullptr);
    context.SavePNG(nullptr);
    context.SavePNG("/nowhere/at/all.png");
    EXPECT_THAT(log_.lines(), IsEmpty());
}

}  // namespace
}  // namespace TWQuickTime
