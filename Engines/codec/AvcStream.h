// H.264 as encoders and cameras deliver it (ITU-T H.264, Annex B: units behind start codes),
// brought into the form that movie files hold.
//
//     if (const auto record = avcConfiguration(accessUnit)) …   // 'avcC', once parameter sets come
//     store(avcSample(accessUnit), isAvcSyncSample(accessUnit));
#pragma once

#include <optional>
#include <vector>

#include "Engines/codec/ByteOrder.h"

namespace TWQuickTime::codec {

/// The payload of 'avcC' from the parameter sets in an access unit; none when it holds none.
std::optional<std::vector<std::byte>> avcConfiguration(Bytes accessUnit);
/// The access unit with 4-byte lengths in the places of start codes.
std::vector<std::byte> avcSample(Bytes accessUnit);
/// Whether decoding may start there.
bool isAvcSyncSample(Bytes accessUnit);

}  // namespace TWQuickTime::codec
