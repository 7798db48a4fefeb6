#include "Engines/codec/SpeechFrames.h"

#include <cstdint>

#include "Engines/codec/ByteOrder.h"

namespace TWQuickTime::codec {

namespace {

/// By kind: rates from the lowest up, comfort noise, kinds that nobody uses, nothing at all.
constexpr std::uint8_t kNarrowSizes[16] = {13, 14, 16, 18, 20, 21, 27, 32, 6, 1, 1, 1, 1, 1, 1, 1};
constexpr std::uint8_t kWideSizes[16] = {18, 24, 33, 37, 41, 47, 51, 59, 61, 6, 1, 1, 1, 1, 1, 1};

}  // namespace

std::size_t SpeechCodec::frameSize(std::byte head) const {
    const auto kind = std::to_integer<std::size_t>(head) >> 3 & 15;
    return wide ? kWideSizes[kind] : kNarrowSizes[kind];
}

std::optional<SpeechCodec> speechCodec(std::uint32_t type) {
    switch (type) {
        case fourCode("samr"):
            return SpeechCodec{.wide = false};
        case fourCode("sawb"):
            return SpeechCodec{.wide = true};
        default:
            return std::nullopt;
    }
}

}  // namespace TWQuickTime::codec
