#include "Engines/transcode/Compositing.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace TWQuickTime::transcode {

namespace {

struct Pixel {
    int blue = 0, green = 0, red = 0, alpha = 0;
};

int mixed(int from, int to, int weight255) {
    return (from * (255 - weight255) + to * weight255 + 127) / 255;
}

int clampByte(int value) {
    return std::clamp(value, 0, 255);
}

void over(std::uint8_t* canvas, const Pixel& p, int alpha) {
    canvas[0] = static_cast<std::uint8_t>(mixed(canvas[0], p.blue, alpha));
    canvas[1] = static_cast<std::uint8_t>(mixed(canvas[1], p.green, alpha));
    canvas[2] = static_cast<std::uint8_t>(mixed(canvas[2], p.red, alpha));
    canvas[3] = static_cast<std::uint8_t>(clampByte(canvas[3] + alpha - canvas[3] * alpha / 255));
}

void put(std::uint8_t* canvas, const Pixel& p, const DrawingMode& mode) {
    const int opRed = mode.opColor[0] >> 8, opGreen = mode.opColor[1] >> 8,
              opBlue = mode.opColor[2] >> 8;
    switch (mode.mode) {
        case GraphicsMode::blend:
            canvas[0] = static_cast<std::uint8_t>(mixed(canvas[0], p.blue, opBlue));
            canvas[1] = static_cast<std::uint8_t>(mixed(canvas[1], p.green, opGreen));
            canvas[2] = static_cast<std::uint8_t>(mixed(canvas[2], p.red, opRed));
            canvas[3] = 255;
            return;
        case GraphicsMode::transparent:
            if (p.red == opRed && p.green == opGreen && p.blue == opBlue) {
                return;
            }
            break;
        case GraphicsMode::straightAlpha:
            over(canvas, p, p.alpha);
            return;
        case GraphicsMode::straightAlphaBlend:
            over(canvas, p, p.alpha * opRed / 255);
            return;
        case GraphicsMode::premultipliedBlack:
            canvas[0] =
                static_cast<std::uint8_t>(clampByte(p.blue + canvas[0] * (255 - p.alpha) / 255));
            canvas[1] =
                static_cast<std::uint8_t>(clampByte(p.green + canvas[1] * (255 - p.alpha) / 255));
            canvas[2] =
                static_cast<std::uint8_t>(clampByte(p.red + canvas[2] * (255 - p.alpha) / 255));
            canvas[3] =
                static_cast<std::uint8_t>(clampByte(p.alpha + canvas[3] * (255 - p.alpha) / 255));
            return;
        case GraphicsMode::premultipliedWhite: {
            const int white = 255 - p.alpha;
            canvas[0] =
                static_cast<std::uint8_t>(clampByte(p.blue - white + canvas[0] * white / 255));
            canvas[1] =
                static_cast<std::uint8_t>(clampByte(p.green - white + canvas[1] * white / 255));
            canvas[2] =
                static_cast<std::uint8_t>(clampByte(p.red - white + canvas[2] * white / 255));
            canvas[3] = static_cast<std::uint8_t>(clampByte(p.alpha + canvas[3] * white / 255));
            return;
        }
        default:
            break;
    }
    canvas[0] = static_cast<std::uint8_t>(p.blue);
    canvas[1] = static_cast<std::uint8_t>(p.green);
    canvas[2] = static_cast<std::uint8_t>(p.red);
    canvas[3] = static_cast<std::uint8_t>(mode.mode == GraphicsMode::transparent ? 255 : p.alpha);
}

bool replacesAll(const DrawingMode& mode) {
    return mode.mode == GraphicsMode::copy || mode.mode == GraphicsMode::ditherCopy ||
           mode.mode == GraphicsMode::composition;
}

Pixel pixelAt(const codec::VideoFrame& picture, int x, int y) {
    const std::uint8_t* p = picture.row(0, std::clamp(y, 0, picture.height() - 1)) +
                            std::ptrdiff_t(4) * std::clamp(x, 0, picture.width() - 1);
    return {p[0], p[1], p[2], p[3]};
}

Pixel sampled(const codec::VideoFrame& picture, double x, double y) {
    const double left = x - 0.5, top = y - 0.5;
    const int column = int(std::floor(left)), row = int(std::floor(top));
    const int fx = int(std::lround((left - column) * 256)),
              fy = int(std::lround((top - row) * 256));
    if (fx == 0 && fy == 0) {
        return pixelAt(picture, column, row);
    }
    const Pixel a = pixelAt(picture, column, row), b = pixelAt(picture, column + 1, row),
                c = pixelAt(picture, column, row + 1), d = pixelAt(picture, column + 1, row + 1);
    const auto mix = [fx, fy](int tl, int tr, int bl, int br) {
        return ((tl * (256 - fx) + tr * fx) * (256 - fy) + (bl * (256 - fx) + br * fx) * fy +
                32768) >>
               16;
    };
    return {mix(a.blue, b.blue, c.blue, d.blue), mix(a.green, b.green, c.green, d.green),
            mix(a.red, b.red, c.red, d.red), mix(a.alpha, b.alpha, c.alpha, d.alpha)};
}

}  // namespace

void drawMapped(codec::VideoFrame& canvas, const codec::VideoFrame& picture, const Affine& map,
                const DrawingMode& mode) {
    for (int y = 0; y < canvas.height(); ++y) {
        std::uint8_t* row = canvas.writableRow(0, y);
        for (int x = 0; x < canvas.width(); ++x) {
            const double cx = x + 0.5, cy = y + 0.5;
            const double px = map.a * cx + map.c * cy + map.x;
            const double py = map.b * cx + map.d * cy + map.y;
            if (px < 0 || py < 0 || px >= picture.width() || py >= picture.height()) {
                continue;
            }
            put(row + std::ptrdiff_t(4) * x, sampled(picture, px, py), mode);
        }
    }
}

void drawAt(codec::VideoFrame& canvas, const codec::VideoFrame& picture, int x, int y,
            const DrawingMode& mode) {
    const int left = std::max(x, 0), right = std::min(x + picture.width(), canvas.width());
    const int top = std::max(y, 0), bottom = std::min(y + picture.height(), canvas.height());
    if (left >= right) {
        return;
    }
    for (int row = top; row < bottom; ++row) {
        std::uint8_t* to = canvas.writableRow(0, row) + std::ptrdiff_t(4) * left;
        const std::uint8_t* from = picture.row(0, row - y) + std::ptrdiff_t(4) * (left - x);
        if (replacesAll(mode)) {
            std::memcpy(to, from, std::size_t(right - left) * 4);
            continue;
        }
        for (int column = left; column < right; ++column, to += 4, from += 4) {
            put(to, {from[0], from[1], from[2], from[3]}, mode);
        }
    }
}

}  // namespace TWQuickTime::transcode
