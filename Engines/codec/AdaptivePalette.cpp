#include "Engines/codec/AdaptivePalette.h"

#include <algorithm>
#include <cstring>

#include "Engines/codec/Private/Native.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;

namespace {

constexpr std::size_t kMostColors = 256;
constexpr std::size_t kBins = 1u << 15;
/// A palette is kept while its error stays below this many times what it was, and a little more.
constexpr double kToleratedGrowth = 1.5, kToleratedError = 8;
/// How far the dither pattern moves a value either way.
constexpr int kDither = 6;
constexpr int kPattern[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};

using Color = AdaptivePalette::Color;

std::size_t binOf(int red, int green, int blue) {
    return std::size_t(red >> 3) << 10 | std::size_t(green >> 3) << 5 | std::size_t(blue >> 3);
}

int distance(const std::array<int, 3>& a, const std::array<int, 3>& b) {
    // Green is seen best, blue least.
    const int red = a[0] - b[0], green = a[1] - b[1], blue = a[2] - b[2];
    return 3 * red * red + 6 * green * green + blue * blue;
}

/// The mean colours of all cells of the colour space that a picture touches.
std::vector<Color> histogramOf(const VideoFrame& rgb) {
    struct Bin {
        std::array<std::int64_t, 3> sum{};
        std::int64_t count = 0;
    };
    std::vector<Bin> bins(kBins);
    for (int y = 0; y < rgb.height(); ++y) {
        const std::uint8_t* p = rgb.row(0, y);
        for (int x = 0; x < rgb.width(); ++x, p += 3) {
            Bin& bin = bins[binOf(p[0], p[1], p[2])];
            ++bin.count;
            for (std::size_t c = 0; c < 3; ++c) {
                bin.sum[c] += p[c];
            }
        }
    }
    std::vector<Color> colors;
    for (const Bin& bin : bins) {
        if (bin.count > 0) {
            Color color;
            color.count = bin.count;
            for (std::size_t c = 0; c < 3; ++c) {
                color.rgb[c] = int((bin.sum[c] + bin.count / 2) / bin.count);
            }
            colors.push_back(color);
        }
    }
    return colors;
}

/// A run of the colours that will become one.
struct Box {
    std::size_t begin = 0, end = 0;
    std::array<double, 3> mean{};
    std::int64_t count = 0;
    std::size_t widest = 0;  ///< the component that differs most
    double spread = 0;       ///< summed squares of what that one differs by
};

Box boxOf(const std::vector<Color>& colors, std::size_t begin, std::size_t end) {
    Box box{begin, end, {}, 0, 0, 0};
    std::array<double, 3> squares{};
    for (std::size_t i = begin; i < end; ++i) {
        box.count += colors[i].count;
        for (std::size_t c = 0; c < 3; ++c) {
            const double value = colors[i].rgb[c], count = double(colors[i].count);
            box.mean[c] += value * count;
            squares[c] += value * value * count;
        }
    }
    constexpr double kWeights[] = {3, 6, 1};
    for (std::size_t c = 0; c < 3; ++c) {
        box.mean[c] /= double(box.count);
        const double spread =
            (squares[c] - box.mean[c] * box.mean[c] * double(box.count)) * kWeights[c];
        if (spread > box.spread) {
            box.spread = spread;
            box.widest = c;
        }
    }
    return box;
}

}  // namespace

AdaptivePalette::AdaptivePalette() : nearest_(kBins, -1) {}

void AdaptivePalette::choose(std::vector<Color> colors) {
    exact_ = colors.size() <= kMostColors;
    std::vector<Box> boxes{boxOf(colors, 0, colors.size())};
    while (boxes.size() < kMostColors) {
        const auto worst = std::ranges::max_element(boxes, {}, &Box::spread);
        if (worst->end - worst->begin < 2 || worst->spread <= 0) {
            break;
        }
        const auto begin = colors.begin() + std::ptrdiff_t(worst->begin);
        const auto end = colors.begin() + std::ptrdiff_t(worst->end);
        const std::size_t axis = worst->widest;
        std::sort(begin, end,
                  [axis](const Color& a, const Color& b) { return a.rgb[axis] < b.rgb[axis]; });
        // At the mean rather than the median: a few colours far from the others get their own.
        const auto middle = std::find_if(
            begin, end, [&](const Color& color) { return color.rgb[axis] > worst->mean[axis]; });
        const auto cut = std::clamp<std::size_t>(std::size_t(middle - colors.begin()),
                                                 worst->begin + 1, worst->end - 1);
        const Box right = boxOf(colors, cut, worst->end);
        *worst = boxOf(colors, worst->begin, cut);
        boxes.push_back(right);
    }
    palette_.clear();
    for (const Box& box : boxes) {
        palette_.push_back(
            {int(box.mean[0] + 0.5), int(box.mean[1] + 0.5), int(box.mean[2] + 0.5)});
    }
    std::ranges::fill(nearest_, std::int16_t{-1});
    errorWhenChosen_ = errorOf(colors);
}

int AdaptivePalette::nearest(int red, int green, int blue) {
    std::int16_t& known = nearest_[binOf(red, green, blue)];
    if (known < 0) {
        const std::array<int, 3> color{red, green, blue};
        int least = distance(color, palette_[0]);
        known = 0;
        for (std::size_t i = 1; i < palette_.size(); ++i) {
            if (const int d = distance(color, palette_[i]); d < least) {
                least = d;
                known = static_cast<std::int16_t>(i);
            }
        }
    }
    return known;
}

double AdaptivePalette::errorOf(const std::vector<Color>& colors) {
    double sum = 0;
    std::int64_t count = 0;
    for (const Color& color : colors) {
        const auto index = std::size_t(nearest(color.rgb[0], color.rgb[1], color.rgb[2]));
        sum += double(distance(color.rgb, palette_[index])) * double(color.count);
        count += color.count;
    }
    return count > 0 ? sum / double(count) : 0;
}

Expected<VideoFrame> AdaptivePalette::convert(const VideoFrame& rgb) {
    if (!rgb || rgb.format() != PixelFormat::rgb24()) {
        return Failure{FailureKind::badArgument, "only RGB pictures become indexed ones"};
    }
    auto made = VideoFrame::allocate(PixelFormat(AV_PIX_FMT_PAL8), rgb.width(), rgb.height());
    if (!made) {
        return made;
    }
    std::vector<Color> colors = histogramOf(rgb);
    if (palette_.empty() ||
        errorOf(colors) > errorWhenChosen_ * kToleratedGrowth + kToleratedError) {
        choose(std::move(colors));
    }
    auto* table = reinterpret_cast<std::uint32_t*>(made->native()->frame->data[1]);
    for (std::size_t i = 0; i < kMostColors; ++i) {
        const std::array<int, 3>& color = palette_[std::min(i, palette_.size() - 1)];
        table[i] = 0xFF000000 | std::uint32_t(color[0]) << 16 | std::uint32_t(color[1]) << 8 |
                   std::uint32_t(color[2]);
    }
    for (int y = 0; y < rgb.height(); ++y) {
        const std::uint8_t* from = rgb.row(0, y);
        std::uint8_t* to = made->writableRow(0, y);
        for (int x = 0; x < rgb.width(); ++x, from += 3) {
            const int move = exact_ ? 0 : (kPattern[y & 3][x & 3] * 2 - 15) * kDither / 15;
            const auto moved = [move](int value) { return std::clamp(value + move, 0, 255); };
            to[x] =
                static_cast<std::uint8_t>(nearest(moved(from[0]), moved(from[1]), moved(from[2])));
        }
    }
    VideoFrame indexed = *made;
    indexed.time = rgb.time;
    indexed.duration = rgb.duration;
    return indexed;
}

}  // namespace TWQuickTime::codec
