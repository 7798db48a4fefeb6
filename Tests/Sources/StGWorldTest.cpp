#include "StGWorld.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "Handles.h"
#include "LogCapture.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class StGWorldTest : public testing::Test {
  protected:
    void TearDown() override { ToolboxTrace::reset(); }
    test::LogCapture log_;
};

TEST_F(StGWorldTest, TwentyFourBitWorldsHaveRowsOfThreeBytesAPixel) {
    const StGWorld world(nullptr, 10, 4, 24);
    EXPECT_EQ(world.GetRowBytes(), 30);
    EXPECT_EQ((*world.GetImageDescription())->depth, 24);
    EXPECT_EQ((*world.GetImageDescription())->dataSize, 120);
    EXPECT_NE(world.GetGWorld(), nullptr);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(StGWorldTest, ThirtyTwoBitWorldsHaveRowsOfFourBytesAPixel) {
    const StGWorld world(nullptr, 10, 4, 32);
    EXPECT_EQ(world.GetRowBytes(), 40);
    EXPECT_EQ((*world.GetImageDescription())->depth, 32);
}

TEST_F(StGWorldTest, TheDescriptionIsTheBigEndianRecordOfRawPictures) {
    const StGWorld world(nullptr, 720, 480, 32);
    const Handle handle = reinterpret_cast<Handle>(world.GetImageDescription());
    ASSERT_EQ(GetHandleSize(handle), 86);
    std::vector<unsigned char> bytes(*handle, *handle + 86);
    std::fill(bytes.begin() + 50, bytes.begin() + 82, 0);  // the name is not written
    const std::vector<unsigned char> expected = {
        0, 0,    0,    86,   'r', 'a', 'w', ' ',  // size, codec type
        0, 0,    0,    0,    0,   0,   0,   0,    // reserved, data reference index
        0, 2,    0,    0,    'T', 'W', 'V', 'D',  // version, revision, vendor
        0, 0,    0,    0,    0,   0,   4,   0,    // temporal, spatial quality
        2, 0xD0, 1,    0xE0,                      // 720 x 480
        0, 72,   0,    0,    0,   72,  0,   0,    // 72 dpi
        0, 0x15, 0x18, 0,    0,   1,              // 1382400 bytes, 1 frame
        0, 0,    0,    0,    0,   0,   0,   0,   0, 0, 0, 0, 0, 0, 0, 0,  // name
        0, 0,    0,    0,    0,   0,   0,   0,   0, 0, 0, 0, 0, 0, 0, 0,
        0, 32,   0xFF, 0xFF};  // depth, colour table
    EXPECT_EQ(bytes, expected);
}

TEST_F(StGWorldTest, AHeightOfZeroIsLoggedAndNothingIsAllocated) {
    const StGWorld world(nullptr, 10, 0, 32);
    EXPECT_THAT(log_.lines(), ElementsAre("StGWorld: inHeight is 0..."));
    EXPECT_EQ(world.GetBuffer(), nullptr);
    EXPECT_EQ(world.GetGWorld(), nullptr);
    EXPECT_EQ(world.GetImageDescription(), nullptr);
    EXPECT_EQ(world.GetWidth(), 10);
    EXPECT_EQ(world.GetHeight(), 0);
}

TEST_F(StGWorldTest, AWidthBelowOneIsLoggedAndNothingIsAllocated) {
    const StGWorld world(nullptr, -3, 5, 32);
    EXPECT_THAT(log_.lines(), ElementsAre("StGWorld: inWidth is 0..."));
    EXPECT_EQ(world.GetBuffer(), nullptr);
    EXPECT_EQ(world.GetGWorld(), nullptr);
}

TEST_F(StGWorldTest, TheCallersBufferIsUsedAndNotFreed) {
    std::vector<unsigned char> buffer(8 * 8 * 4);
    {
        const StGWorld world(buffer.data(), 8, 8, 32);
        EXPECT_EQ(world.GetBuffer(), buffer.data());
        EXPECT_EQ(GetPixBaseAddr(GetGWorldPixMap(world)), reinterpret_cast<Ptr>(buffer.data()));
    }
    buffer[0] = 1;
}

TEST_F(StGWorldTest, AWorldThatCannotBeMadeIsLoggedAndLeavesAnEmptyObject) {
    ToolboxTrace::failCall("QTNewGWorldFromPtr", 1, -108);
    const StGWorld world(nullptr, 8, 8, 32);
    EXPECT_THAT(log_.lines(),
                ElementsAre("QTNewGWorldFromPtr failed: -108 (Sources/StGWorld:101)"));
    EXPECT_EQ(world.GetGWorld(), nullptr);
    EXPECT_EQ(world.GetImageDescription(), nullptr);
    EXPECT_EQ(world.GetBuffer(), nullptr);
}

TEST_F(StGWorldTest, DisposingTwiceIsHarmless) {
    StGWorld world(nullptr, 8, 8, 32);
    world.Dispose();
    world.Dispose();
    EXPECT_EQ(world.GetGWorld(), nullptr);
    EXPECT_EQ(world.GetBuffer(), nullptr);
}

}  // namespace
}  // namespace TWQuickTime
