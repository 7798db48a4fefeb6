#include "Engines/image/PngRowExpander.h"

#include <cstring>

namespace TWQuickTime::image {
namespace {

std::uint8_t from16(unsigned value) {
    return static_cast<std::uint8_t>((value * 255 + 32895) >>
                                     16);  // round(value × 255 / 65535), exact
}

unsigned sample16(const std::uint8_t* p) {
    return unsigned{p[0]} << 8 | p[1];
}

}  // namespace

PngRowExpander::PngRowExpander(const PngFile& file) : file_(file) {
    if (file.header.color == PngColor::palette) {
        lookup_ = file.palette;
        return;
    }
    if (file.header.color != PngColor::grey || file.header.bitDepth > 8)
        return;
    const unsigned maximum = (1u << file.header.bitDepth) - 1;
    for (unsigned i = 0; i <= maximum; ++i) {
        const auto value = static_cast<std::uint8_t>(i * 255 / maximum);
        const bool transparent =
            file.transparentColor && ((*file.transparentColor)[0] & maximum) == i;
        const std::uint8_t pixel[4] = {static_cast<std::uint8_t>(transparent ? 0 : 255), value,
                                       value, value};
        std::memcpy(&lookup_[i * 4], pixel, 4);
    }
}

void PngRowExpander::expandIndexed(const std::uint8_t* samples, std::uint8_t* pixels, int width,
                                   int step) const {
    const int depth = file_.header.bitDepth;
    if (depth == 8) {
        for (int x = 0; x < width; ++x, pixels += step)
            std::memcpy(pixels, &lookup_[std::size_t{samples[x]} * 4], 4);
        return;
    }
    const unsigned mask = (1u << depth) - 1;
    for (int x = 0; x < width; ++x, pixels += step) {
        const int bit = x * depth;
        const unsigned value = (unsigned{samples[bit >> 3]} >> (8 - depth - (bit & 7))) & mask;
        std::memcpy(pixels, &lookup_[std::size_t{value} * 4], 4);
    }
}

void PngRowExpander::expandDeep(const std::uint8_t* samples, std::uint8_t* pixels, int width,
                                int step) const {
    const int channels = file_.header.channels();
    const bool isGrey = channels < 3;
    const bool hasAlpha = channels == 2 || channels == 4;
    const auto& key = file_.transparentColor;
    for (int x = 0; x < width; ++x, samples += channels * 2, pixels += step) {
        const unsigned red = sample16(samples);
        const unsigned green = isGrey ? red : sample16(samples + 2);
        const unsigned blue = isGrey ? red : sample16(samples + 4);
        unsigned alpha = hasAlpha ? sample16(samples + channels * 2 - 2) : 65535;
        if (key && red == (*key)[0] && (isGrey || (green == (*key)[1] && blue == (*key)[2])))
            alpha = 0;
        pixels[0] = from16(alpha);
        pixels[1] = from16(red);
        pixels[2] = from16(green);
        pixels[3] = from16(blue);
    }
}

void PngRowExpander::expand(const std::uint8_t* samples, std::uint8_t* pixels, int width,
                            int stride) const {
    const int step = stride * 4;
    if (file_.header.bitDepth == 16)
        return expandDeep(samples, pixels, width, step);
    switch (file_.header.color) {
        case PngColor::grey:
        case PngColor::palette:
            return expandIndexed(samples, pixels, width, step);
        case PngColor::greyAlpha:
            for (int x = 0; x < width; ++x, samples += 2, pixels += step) {
                pixels[0] = samples[1];
                pixels[1] = pixels[2] = pixels[3] = samples[0];
            }
            return;
        case PngColor::rgb: {
            const auto& key = file_.transparentColor;
            for (int x = 0; x < width; ++x, samples += 3, pixels += step) {
                const bool transparent = key && samples[0] == (*key)[0] &&
                                         samples[1] == (*key)[1] && samples[2] == (*key)[2];
                pixels[0] = transparent ? 0 : 255;
                pixels[1] = samples[0];
                pixels[2] = samples[1];
                pixels[3] = samples[2];
            }
            return;
        }
        case PngColor::rgbAlpha:
            for (int x = 0; x < width; ++x, samples += 4, pixels += step) {
                pixels[0] = samples[3];
                pixels[1] = samples[0];
                pixels[2] = samples[1];
                pixels[3] = samples[2];
            }
            return;
    }
}

}  // namespace TWQuickTime::image
