// Rows of 32-bit pixels that somebody else owns.
//
// Bytes of a pixel stand in memory in the order A (or X), R, G, B. A view never frees anything;
// copies of it look at the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace TWQuickTime::image {

/// What the first byte of each pixel means.
enum class AlphaKind {
    skipped,        ///< X: not defined by the picture, kept as it is when drawn over
    straight,       ///< A, with colours that are not multiplied by it
    premultiplied,  ///< A, with colours multiplied by it
};

struct PixelView {
    std::uint8_t* data = nullptr;
    int width = 0;
    int height = 0;
    std::ptrdiff_t rowBytes = 0;

    std::uint8_t* row(int y) const { return data + y * rowBytes; }
};

struct ConstPixelView {
    const std::uint8_t* data = nullptr;
    int width = 0;
    int height = 0;
    std::ptrdiff_t rowBytes = 0;

    ConstPixelView() = default;
    ConstPixelView(const std::uint8_t* pixels, int widthInPixels, int heightInRows,
                   std::ptrdiff_t bytesPerRow)
        : data(pixels), width(widthInPixels), height(heightInRows), rowBytes(bytesPerRow) {}
    ConstPixelView(const PixelView& view)
        : data(view.data), width(view.width), height(view.height), rowBytes(view.rowBytes) {}

    const std::uint8_t* row(int y) const { return data + y * rowBytes; }
};

/// Where a picture lies: whole pixels, right and bottom exclusive.
struct PixelRect {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int width() const { return right - left; }
    int height() const { return bottom - top; }
    bool isEmpty() const { return right <= left || bottom <= top; }
    friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

}  // namespace TWQuickTime::image
