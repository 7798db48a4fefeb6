#include "Engines/image/RowScaler.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstring>

namespace TWQuickTime::image {
namespace {

// Sums of a row: 8 bits of value, 7 of fraction, so that they are positive 16-bit numbers for the
// multiply-add of pairs. Column weights sum to 1 << 14, so results carry 21 fraction bits.
constexpr int kSumFractionBits = 7;
constexpr int kResultShift = kSumFractionBits + 14;
// What 16 bits round away stays invisible up to this many rows for one; beyond, sums have 32 bits.
constexpr int kMostRowsInNarrowSums = 16;

}  // namespace

RowScaler::RowScaler(const ScaleMapping& mapping)
    : sourceWidth_(mapping.sourceWidth),
      columns_(AxisWeights::make(mapping.sourceWidth, mapping.left, mapping.right,
                                 mapping.destinationWidth)),
      rows_(AxisWeights::make(mapping.sourceHeight, mapping.top, mapping.bottom,
                              mapping.destinationHeight)),
      // One pixel more than the width: the last pair of an odd span reads it with weight 0.
      sums_((static_cast<std::size_t>(mapping.sourceWidth) + 2) * 4, 0),
      destinationRow_(static_cast<std::size_t>(mapping.destinationWidth) * 4) {
    const bool manyRows = std::any_of(
        rows_.spans.begin(), rows_.spans.end(),
        [](const AxisWeights::Span& span) { return span.count > kMostRowsInNarrowSums; });
    if (manyRows)
        wideSums_.resize(static_cast<std::size_t>(mapping.sourceWidth) * 4);
    for (const AxisWeights::Span& span : columns_.spans) {
        packedFirst_.push_back(span.first);
        packedPairs_.push_back((span.count + 1) / 2);
        for (int i = 0; i < span.count; i += 2) {
            packedWeights_.push_back(
                columns_.weights[static_cast<std::size_t>(span.weightIndex + i)]);
            packedWeights_.push_back(
                i + 1 < span.count
                    ? columns_.weights[static_cast<std::size_t>(span.weightIndex + i + 1)]
                    : std::int16_t{0});
        }
    }
}

void RowScaler::addRow(const std::uint8_t* sourceRow, int weight) {
    if (!wideSums_.empty()) {
        for (std::size_t i = 0; i < wideSums_.size(); ++i)
            wideSums_[i] += std::uint32_t{sourceRow[i]} * static_cast<std::uint32_t>(weight);
        return;
    }
    // ((value << 8) × (weight << 1)) >> 16 is value × weight with 7 fraction bits. The full weight
    // does not fit 16 bits and is a plain shift.
    const std::size_t count = static_cast<std::size_t>(sourceWidth_) * 4;
    std::uint16_t* sums = sums_.data();
    std::size_t i = 0;
    if (weight >= AxisWeights::one) {
        for (; i < count; ++i)
            sums[i] = static_cast<std::uint16_t>(sums[i] + (sourceRow[i] << kSumFractionBits));
        return;
    }
    const __m128i zero = _mm_setzero_si128();
    const __m128i factor = _mm_set1_epi16(static_cast<std::int16_t>(weight << 1));
    for (; i + 16 <= count; i += 16) {
        const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(sourceRow + i));
        const __m128i low = _mm_mulhi_epu16(_mm_unpacklo_epi8(zero, pixels), factor);
        const __m128i high = _mm_mulhi_epu16(_mm_unpackhi_epi8(zero, pixels), factor);
        __m128i* place = reinterpret_cast<__m128i*>(sums + i);
        _mm_storeu_si128(place, _mm_add_epi16(_mm_loadu_si128(place), low));
        _mm_storeu_si128(place + 1, _mm_add_epi16(_mm_loadu_si128(place + 1), high));
    }
    for (; i < count; ++i)
        sums[i] = static_cast<std::uint16_t>(
            sums[i] + ((std::uint32_t(sourceRow[i] << 8) * std::uint32_t(weight << 1)) >> 16));
}

void RowScaler::finishRow(const Sink& sink) {
    for (std::size_t i = 0; i < wideSums_.size(); ++i)
        sums_[i] = static_cast<std::uint16_t>((wideSums_[i] + 64) >> 7);
    const std::int16_t* weights = packedWeights_.data();
    std::uint8_t* out = destinationRow_.data();
    const __m128i half = _mm_set1_epi32(1 << (kResultShift - 1));
    const std::size_t width = packedFirst_.size();
    for (std::size_t x = 0; x < width; ++x) {
        const std::uint16_t* sums = sums_.data() + std::size_t(packedFirst_[x]) * 4;
        __m128i total = half;
        for (int pair = packedPairs_[x]; pair > 0; --pair, sums += 8, weights += 2) {
            const __m128i both = _mm_loadu_si128(reinterpret_cast<const __m128i*>(sums));
            const __m128i interleaved = _mm_unpacklo_epi16(both, _mm_srli_si128(both, 8));
            std::int32_t pairOfWeights;
            std::memcpy(&pairOfWeights, weights, sizeof pairOfWeights);
            total =
                _mm_add_epi32(total, _mm_madd_epi16(interleaved, _mm_set1_epi32(pairOfWeights)));
        }
        total = _mm_srai_epi32(total, kResultShift);
        total = _mm_packs_epi32(total, total);
        total = _mm_packus_epi16(total, total);
        const std::int32_t pixel = _mm_cvtsi128_si32(total);
        std::memcpy(out + x * 4, &pixel, sizeof pixel);
    }
    sink(nextDestinationRow_, out);
    ++nextDestinationRow_;
}

void RowScaler::openRow(int sourceRows) {
    if (!wideSums_.empty()) {
        std::fill(wideSums_.begin(), wideSums_.end(), 0u);
        return;
    }
    // Every row that is added loses half a unit on average to truncation; that is put in
    // beforehand.
    std::fill(sums_.begin(), sums_.end(), static_cast<std::uint16_t>(sourceRows / 2));
}

void RowScaler::push(const std::uint8_t* sourceRow, const Sink& sink) {
    const int y = nextSourceRow_++;
    const auto destinationRows = static_cast<int>(rows_.spans.size());
    while (nextDestinationRow_ < destinationRows) {
        const AxisWeights::Span& span = rows_.spans[static_cast<std::size_t>(nextDestinationRow_)];
        const int last = span.first + span.count - 1;
        if (y < span.first)
            break;
        const auto weightOf = [&](int sourceY) {
            return rows_.weights[static_cast<std::size_t>(span.weightIndex + sourceY - span.first)];
        };
        if (y == span.first) {
            openRow(span.count);
        } else if (span.count == 2) {
            // When enlarging, this destination row was not open yet when its first row came.
            openRow(span.count);
            addRow(previousRow_.data(), weightOf(y - 1));
        }
        addRow(sourceRow, weightOf(y));
        if (y < last)
            break;
        finishRow(sink);
    }
    previousRow_.assign(sourceRow, sourceRow + static_cast<std::size_t>(sourceWidth_) * 4);
}

}  // namespace TWQuickTime::image
