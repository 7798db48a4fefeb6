#include "Engines/codec/PlanarToRgb.h"

#include <emmintrin.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "Engines/codec/LumaWeights.h"

namespace TWQuickTime::codec {

using result::Expected;

namespace {

constexpr int kPixelsAtOnce = 8;

/// What one step of luma or chroma adds to a colour, times 2^13.
struct Coefficients {
    std::int16_t luma = 0, redFromV = 0, greenFromU = 0, greenFromV = 0, blueFromU = 0;
    std::int16_t black = 0;
};

Coefficients coefficientsOf(const LumaWeights& weights, bool fullRange) {
    const auto fixed = [](double value) {
        return static_cast<std::int16_t>(std::lround(value * (1 << 13)));
    };
    const double luma = fullRange ? 1.0 : 255.0 / 219;
    const double chroma = fullRange ? 1.0 : 255.0 / 224;
    const double green = 1 - weights.red - weights.blue;
    const double red = 2 * (1 - weights.red) * chroma;
    const double blue = 2 * (1 - weights.blue) * chroma;
    return {fixed(luma),
            fixed(red),
            fixed(-blue * weights.blue / green),
            fixed(-red * weights.red / green),
            fixed(blue),
            static_cast<std::int16_t>(fullRange ? 0 : 16)};
}

/// A row of chroma at the width and height of luma, as 2^7 times its distance from grey. Readable
/// to a whole number of vector steps.
class ChromaRow {
  public:
    ChromaRow(const VideoFrame& source, int plane)
        : source_(source),
          plane_(plane),
          shiftX_(source.format().chromaShiftX()),
          shiftY_(source.format().chromaShiftY()),
          width_(-((-source.width()) >> shiftX_)),
          height_(-((-source.height()) >> shiftY_)),
          between_(std::size_t(width_) + 2),
          wide_((std::size_t(width_) << shiftX_) + kPixelsAtOnce) {}

    const std::int16_t* at(int y) {
        mixRows(y);
        if (shiftX_ == 0) {
            for (int x = 0; x < width_; ++x) {
                wide_[std::size_t(x)] = std::int16_t(between_[std::size_t(x) + 1] * 32);
            }
            return wide_.data();
        }
        const std::int16_t* c = between_.data() + 1;
        for (int x = 0; x < width_; ++x) {
            wide_[std::size_t(x) * 2] = std::int16_t((3 * c[x] + c[x - 1]) * 8);
            wide_[std::size_t(x) * 2 + 1] = std::int16_t((3 * c[x] + c[x + 1]) * 8);
        }
        return wide_.data();
    }

  private:
    /// 4 times the chroma of a luma row, with the edges repeated once outside.
    void mixRows(int y) {
        const int near = y >> shiftY_;
        const int far =
            shiftY_ == 0 ? near : std::clamp(y & 1 ? near + 1 : near - 1, 0, height_ - 1);
        const std::uint8_t* a = source_.row(plane_, near);
        const std::uint8_t* b = source_.row(plane_, far);
        std::int16_t* out = between_.data() + 1;
        for (int x = 0; x < width_; ++x) {
            out[x] = std::int16_t(3 * a[x] + b[x] - 4 * 128);
        }
        between_.front() = out[0];
        between_.back() = out[width_ - 1];
    }

    const VideoFrame& source_;
    int plane_;
    int shiftX_, shiftY_;
    int width_, height_;
    std::vector<std::int16_t> between_;
    std::vector<std::int16_t> wide_;
};

/// Eight pixels: luma, and chroma as ChromaRow has it, to bytes of red, green and blue.
struct Colors {
    __m128i red, green, blue;
};

Colors colorsOf(__m128i luma, __m128i u, __m128i v, const Coefficients& c) {
    // All terms end with four bits of fraction.
    const auto times = [](__m128i value, std::int16_t factor) {
        return _mm_mulhi_epi16(value, _mm_set1_epi16(factor));
    };
    const auto byte = [](__m128i sum) {
        const __m128i rounded = _mm_srai_epi16(_mm_adds_epi16(sum, _mm_set1_epi16(8)), 4);
        return _mm_packus_epi16(rounded, rounded);
    };
    const __m128i y =
        times(_mm_slli_epi16(_mm_sub_epi16(luma, _mm_set1_epi16(c.black)), 7), c.luma);
    return {byte(_mm_adds_epi16(y, times(v, c.redFromV))),
            byte(_mm_adds_epi16(y, _mm_adds_epi16(times(u, c.greenFromU), times(v, c.greenFromV)))),
            byte(_mm_adds_epi16(y, times(u, c.blueFromU)))};
}

/// Eight pixels in the order of the target.
void store(const Colors& colors, bool alphaFirst, std::uint8_t* out) {
    const __m128i opaque = _mm_set1_epi8(-1);
    const __m128i a = alphaFirst ? _mm_unpacklo_epi8(opaque, colors.red)
                                 : _mm_unpacklo_epi8(colors.blue, colors.green);
    const __m128i b = alphaFirst ? _mm_unpacklo_epi8(colors.green, colors.blue)
                                 : _mm_unpacklo_epi8(colors.red, opaque);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi16(a, b));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16), _mm_unpackhi_epi16(a, b));
}

__m128i loadWords(const std::int16_t* from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

void convertRow(const std::uint8_t* luma, const std::int16_t* u, const std::int16_t* v, int width,
                const Coefficients& c, bool alphaFirst, std::uint8_t* out) {
    const auto convertEight = [&](const std::uint8_t* y, int x, std::uint8_t* to) {
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(y));
        store(colorsOf(_mm_unpacklo_epi8(bytes, _mm_setzero_si128()), loadWords(u + x),
                       loadWords(v + x), c),
              alphaFirst, to);
    };
    int x = 0;
    for (; x + kPixelsAtOnce <= width; x += kPixelsAtOnce) {
        convertEight(luma + x, x, out + std::ptrdiff_t{x} * 4);
    }
    if (x < width) {
        std::uint8_t lastLuma[kPixelsAtOnce] = {};
        std::uint8_t lastPixels[kPixelsAtOnce * 4];
        std::copy_n(luma + x, width - x, lastLuma);
        convertEight(lastLuma, x, lastPixels);
        std::copy_n(lastPixels, (width - x) * 4, out + std::ptrdiff_t{x} * 4);
    }
}

}  // namespace

bool canBecomeRgb(PixelFormat source, PixelFormat target, int matrix) {
    const bool planar = source == PixelFormat::yuv420() || source == PixelFormat::yuv422() ||
                        source == PixelFormat::yuv444();
    return planar && (target == PixelFormat::bgra32() || target == PixelFormat::argb32()) &&
           lumaWeightsOf(matrix);
}

Expected<VideoFrame> convertedToRgb(const VideoFrame& source, PixelFormat target, int matrix,
                                    bool fullRange) {
    auto made = VideoFrame::allocate(target, source.width(), source.height());
    if (!made) {
        return made;
    }
    const Coefficients c = coefficientsOf(*lumaWeightsOf(matrix), fullRange);
    ChromaRow u(source, 1), v(source, 2);
    for (int y = 0; y < source.height(); ++y) {
        convertRow(source.row(0, y), u.at(y), v.at(y), source.width(), c,
                   target == PixelFormat::argb32(), made->writableRow(0, y));
    }
    return made;
}

}  // namespace TWQuickTime::codec
