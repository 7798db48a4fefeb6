#include "Engines/capture/TestPicture.h"

#include <array>
#include <cstdio>

namespace TWQuickTime::capture {

namespace {

constexpr int kBarsHeight = 336;
constexpr int kTextTop = 368;
constexpr int kDotSize = 8;
constexpr int kGlyphColumns = 5;
constexpr int kGlyphAdvance = kGlyphColumns + 1;
constexpr int kBlockSide = 32;
constexpr int kBlockTop = 290;

/// Rows of five dots from the top, the leftmost in bit 4: "0" to "9", then ":".
constexpr std::array<std::array<std::uint8_t, 7>, 11> kGlyphs{{
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E},
    {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},
    {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F},
    {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E},
    {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02},
    {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},
    {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E},
    {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
    {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E},
    {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C},
    {0x00, 0x04, 0x04, 0x00, 0x04, 0x04, 0x00},
}};

std::byte byteOf(std::uint8_t value) {
    return static_cast<std::byte>(value);
}

}  // namespace

TestPicture::TestPicture() : bars_(std::size_t{kWidth} * kHeight * 2) {
    // White, yellow, cyan, green, magenta, red, blue at 75 %, and black.
    constexpr std::array<Color, 8> kBars{{{180, 128, 128},
                                          {162, 44, 142},
                                          {131, 156, 44},
                                          {112, 72, 58},
                                          {84, 184, 198},
                                          {65, 100, 212},
                                          {35, 212, 114},
                                          {16, 128, 128}}};
    constexpr int kBarWidth = kWidth / static_cast<int>(kBars.size());
    fill(bars_, 0, 0, kWidth, kHeight, {16, 128, 128});
    for (std::size_t i = 0; i < kBars.size(); ++i)
        fill(bars_, static_cast<int>(i) * kBarWidth, 0, kBarWidth, kBarsHeight, kBars[i]);
}

void TestPicture::fill(std::vector<std::byte>& pixels, int left, int top, int width, int height,
                       Color color) {
    for (int y = top; y < top + height; ++y) {
        std::byte* pair = pixels.data() + (std::size_t(y) * kWidth + std::size_t(left)) * 2;
        for (int x = 0; x < width; x += 2, pair += 4) {
            pair[0] = pair[2] = byteOf(color.y);
            pair[1] = byteOf(color.u);
            pair[3] = byteOf(color.v);
        }
    }
}

void TestPicture::drawText(std::vector<std::byte>& pixels, int left, int top,
                           std::string_view text) {
    for (const char character : text) {
        const auto& glyph =
            kGlyphs[character == ':' ? 10 : static_cast<std::size_t>(character - '0')];
        for (std::size_t row = 0; row < glyph.size(); ++row) {
            for (int column = 0; column < kGlyphColumns; ++column) {
                if (glyph[row] >> (kGlyphColumns - 1 - column) & 1)
                    fill(pixels, left + column * kDotSize, top + static_cast<int>(row) * kDotSize,
                         kDotSize, kDotSize, {235, 128, 128});
            }
        }
        left += kGlyphAdvance * kDotSize;
    }
}

std::vector<std::byte> TestPicture::draw(std::int64_t frame, int framesPerSecond) const {
    std::vector<std::byte> pixels = bars_;
    const std::int64_t seconds = frame / framesPerSecond;
    const auto frameInSecond = static_cast<int>(frame % framesPerSecond);
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%02d:%02d:%02d:%02d",
                  static_cast<int>(seconds / 3600 % 100), static_cast<int>(seconds / 60 % 60),
                  static_cast<int>(seconds % 60), frameInSecond);
    const std::string_view timecode(text.data());
    const int textWidth = static_cast<int>(timecode.size()) * kGlyphAdvance * kDotSize - kDotSize;
    drawText(pixels, (kWidth - textWidth) / 2, kTextTop, timecode);
    const int way = (kWidth - kBlockSide) * frameInSecond / framesPerSecond;
    fill(pixels, way & ~1, kBlockTop, kBlockSide, kBlockSide, {235, 128, 128});
    return pixels;
}

}  // namespace TWQuickTime::capture
