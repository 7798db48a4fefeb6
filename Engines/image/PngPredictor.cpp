#include "Engines/image/PngPredictor.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace TWQuickTime::image {
namespace {

/// A row and what its filters look at. The arrays do not overlap, which lets the compiler work on
/// many bytes at once.
struct Row {
    const std::uint8_t* __restrict bytes;
    const std::uint8_t* __restrict left;
    const std::uint8_t* __restrict above;
    const std::uint8_t* __restrict aboveLeft;
    std::size_t count;
};

template <class Prediction>
void subtract(const Row& row, std::uint8_t* __restrict out, Prediction prediction) {
    for (std::size_t i = 0; i < row.count; ++i)
        out[i] = static_cast<std::uint8_t>(row.bytes[i] -
                                           prediction(row.left[i], row.above[i], row.aboveLeft[i]));
}

void subtractPaeth(const Row& row, std::uint8_t* __restrict out) {
    subtract(row, out, [](std::int16_t left, std::int16_t above, std::int16_t aboveLeft) {
        const auto distance = [](int a, int b) {
            return static_cast<std::int16_t>(a < b ? b - a : a - b);
        };
        const std::int16_t toLeft = distance(above, aboveLeft);
        const std::int16_t toAbove = distance(left, aboveLeft);
        const std::int16_t toAboveLeft = distance(left + above, 2 * aboveLeft);
        const std::int16_t other = toAbove <= toAboveLeft ? above : aboveLeft;
        return toLeft <= std::min(toAbove, toAboveLeft) ? left : other;
    });
}

void filter(int type, const Row& row, std::uint8_t* out) {
    switch (type) {
        case 0:
            std::memcpy(out, row.bytes, row.count);
            break;
        case 1:
            subtract(row, out, [](int left, int, int) { return left; });
            break;
        case 2:
            subtract(row, out, [](int, int above, int) { return above; });
            break;
        case 3:
            subtract(row, out, [](int left, int above, int) { return (left + above) >> 1; });
            break;
        default:
            subtractPaeth(row, out);
            break;
    }
}

/// The sum of the differences' sizes; 255 stands for −1.
std::uint64_t sizeOf(const std::uint8_t* bytes, std::size_t count) {
    constexpr std::size_t kBlock = 4096;  // its sum stays far below 32 bits
    std::uint64_t total = 0;
    for (std::size_t begin = 0; begin < count; begin += kBlock) {
        std::uint32_t sum = 0;
        for (std::size_t i = begin; i < std::min(count, begin + kBlock); ++i)
            sum += std::min<std::uint8_t>(bytes[i], static_cast<std::uint8_t>(-bytes[i]));
        total += sum;
    }
    return total;
}

}  // namespace

PngPredictor::PngPredictor(std::size_t rowBytes, std::size_t bytesPerPixel)
    : rowBytes_(rowBytes),
      bytesPerPixel_(bytesPerPixel),
      row_(bytesPerPixel + rowBytes),
      above_(bytesPerPixel + rowBytes),
      best_(1 + rowBytes),
      attempt_(1 + rowBytes) {}

std::span<const std::uint8_t> PngPredictor::filtered(const std::uint8_t* row) {
    std::swap(row_, above_);
    std::copy_n(row, rowBytes_, row_.data() + bytesPerPixel_);
    const Row facts{row_.data() + bytesPerPixel_, row_.data(), above_.data() + bytesPerPixel_,
                    above_.data(), rowBytes_};
    std::uint64_t smallest = UINT64_MAX;
    for (int type = 0; type <= 4; ++type) {
        attempt_[0] = static_cast<std::uint8_t>(type);
        filter(type, facts, attempt_.data() + 1);
        if (const std::uint64_t size = sizeOf(attempt_.data() + 1, rowBytes_); size < smallest) {
            smallest = size;
            std::swap(best_, attempt_);
        }
    }
    return best_;
}

}  // namespace TWQuickTime::image
