#include "Engines/moviefile/ClipAtom.h"

#include <gtest/gtest.h>

#include <vector>

namespace TWQuickTime::moviefile {
namespace {

std::vector<std::byte> words(const std::vector<int>& values) {
    std::vector<std::byte> bytes;
    for (const int value : values) {
        bytes.push_back(static_cast<std::byte>(value >> 8 & 0xFF));
        bytes.push_back(static_cast<std::byte>(value & 0xFF));
    }
    return bytes;
}

/// An L: two columns of eight rows, then six columns of two rows.
const std::vector<int> kShape = {42, 0, 0, 10,     6,  0, 0, 2,      0x7FFF,
                                 8,  2, 6, 0x7FFF, 10, 0, 6, 0x7FFF, 0x7FFF};

std::vector<int> shape() {
    std::vector<int> values = kShape;
    values.front() = int(values.size() * 2);
    return values;
}

TEST(ClipAtom, ARegionOfTenBytesIsARectangle) {
    const auto region = readRegion(words({10, 1, -2, 30, 40}));
    ASSERT_TRUE(region);
    EXPECT_EQ(region->bounds(),
              (timeline::RegionBounds{.left = -2, .top = 1, .right = 40, .bottom = 30}));
    EXPECT_TRUE(region->contains(-1.5, 1.5));
}

TEST(ClipAtom, RowsTellOnlyWhereTheyDifferFromTheRowAbove) {
    const auto region = readRegion(words(shape()));
    ASSERT_TRUE(region);
    EXPECT_TRUE(region->contains(1.5, 0.5));
    EXPECT_FALSE(region->contains(3.5, 7.5));
    EXPECT_TRUE(region->contains(1.5, 8.5));
    EXPECT_TRUE(region->contains(5.5, 9.5));
}

TEST(ClipAtom, EveryCutRegionIsNone) {
    const std::vector<std::byte> whole = words(shape());
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(readRegion(std::span(whole).first(size))) << size;
    }
    EXPECT_FALSE(readRegion(words({8, 0, 0, 10, 10})));
}

TEST(ClipAtom, RowsThatDoNotGoDownOrNeverEndAreNone) {
    EXPECT_FALSE(readRegion(words({28, 0, 0, 9, 9, 5, 0, 9, 0x7FFF, 5, 0, 9, 0x7FFF, 0x7FFF})));
    EXPECT_FALSE(readRegion(words({20, 0, 0, 9, 9, 0, 0, 9, 0x7FFF, 0x7FFF})));
}

TEST(ClipAtom, RowsThatWouldTakeMemoryWithoutEndAreNone) {
    std::vector<int> values = {0, 0, 0, 32000, 32000, 0};
    for (int x = 0; x < 8000; ++x) {
        values.push_back(x);
    }
    values.push_back(0x7FFF);
    for (int row = 1; row < 8000; ++row) {
        values.push_back(row);
        values.push_back(0x7FFF);
    }
    values.push_back(0x7FFF);
    values.front() = int(values.size() * 2);
    EXPECT_FALSE(readRegion(words(values)));
}

}  // namespace
}  // namespace TWQuickTime::moviefile
