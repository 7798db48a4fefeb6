// How the pixels of a frame lie in memory, as a value that needs no codec library's header.
//
//     if (frame.format().hasAlpha()) …
//     VideoFrame picture = *converter.convert(frame, {PixelFormat::bgra32(), 720, 480, {}});
#pragma once

#include <cstdint>
#include <string>

namespace TWQuickTime::codec {

/// A ratio of two whole numbers; {0, x} and {x, 0} both stand for "unknown".
struct Rational {
    std::int32_t numerator = 0;
    std::int32_t denominator = 1;

    bool known() const { return numerator > 0 && denominator > 0; }
    double value() const { return denominator ? double(numerator) / denominator : 0.0; }
    friend bool operator==(const Rational&, const Rational&) = default;
};

/// Which numbers stand for black and white.
enum class ColorRange { unspecified, video, full };

/// What the numbers of a picture mean: code points of ISO/IEC 23091-2 (2: unspecified).
struct ColorTags {
    int primaries = 2;
    int transfer = 2;
    int matrix = 2;
    ColorRange range = ColorRange::unspecified;

    bool known() const { return primaries != 2 || transfer != 2 || matrix != 2; }
    friend bool operator==(const ColorTags&, const ColorTags&) = default;
};

/// One layout of pixels. The number behind it is the codec library's and is not stored in files.
class PixelFormat {
  public:
    constexpr PixelFormat() = default;
    constexpr explicit PixelFormat(int number) : number_(number) {}

    static PixelFormat argb32();  ///< bytes A R G B
    static PixelFormat bgra32();  ///< bytes B G R A
    static PixelFormat rgba32();  ///< bytes R G B A
    static PixelFormat rgb24();
    static PixelFormat grey8();
    static PixelFormat yuv420();   ///< planes Y U V, 8 bits, chroma halved both ways
    static PixelFormat yuv422();   ///< planes Y U V, 8 bits, chroma halved horizontally
    static PixelFormat yuv444();   ///< planes Y U V, 8 bits
    static PixelFormat yuyv422();  ///< bytes Y0 U Y1 V
    static PixelFormat uyvy422();  ///< bytes U Y0 V Y1

    constexpr int number() const { return number_; }
    constexpr bool valid() const { return number_ >= 0; }
    bool hasAlpha() const;
    bool isRgb() const;
    bool isGrey() const;
    int bitsPerComponent() const;
    /// log2 of how many columns (rows) share one chroma sample.
    int chromaShiftX() const;
    int chromaShiftY() const;
    int planeCount() const;
    std::string name() const;

    friend constexpr bool operator==(PixelFormat, PixelFormat) = default;

  private:
    int number_ = -1;
};

}  // namespace TWQuickTime::codec
