#include "Engines/codec/AvcStream.h"

#include <algorithm>

#include "Engines/codec/Private/CodecHeaders.h"

namespace TWQuickTime::codec {

std::optional<std::vector<std::byte>> avcConfiguration(Bytes accessUnit) {
    auto record = avcRecord(accessUnit);
    if (!record)
        return std::nullopt;
    return *std::move(record);
}

std::vector<std::byte> avcSample(Bytes accessUnit) {
    return lengthPrefixed(accessUnit);
}

bool isAvcSyncSample(Bytes accessUnit) {
    constexpr int kTypeMask = 0x1F, kInstantRefresh = 5;
    const std::vector<Bytes> units = nalUnitsOf(accessUnit);
    return std::any_of(units.begin(), units.end(), [](Bytes unit) {
        return (std::to_integer<int>(unit.front()) & kTypeMask) == kInstantRefresh;
    });
}

}  // namespace TWQuickTime::codec
