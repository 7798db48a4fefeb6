// Sample descriptions for streams of foreign files.
#pragma once

#include <vector>

#include "Engines/codec/ByteOrder.h"
#include "Engines/codec/Private/Native.h"

namespace TWQuickTime::codec {

/// Codecs without a type of their own in movies get one made of these and the library's number;
/// only this library decodes it.
constexpr std::uint32_t kLibraryVideoType = 0x46560000;  // 'FV'
constexpr std::uint32_t kLibrarySoundType = 0x46410000;  // 'FA'

std::vector<std::byte> foreignVideoDescription(const AVCodecParameters& parameters,
                                               Rational pixelAspect);
std::vector<std::byte> foreignSoundDescription(const AVCodecParameters& parameters,
                                               int bytesPerPcmFrame);

}  // namespace TWQuickTime::codec
