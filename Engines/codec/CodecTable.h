// Which codec types this machine can decode and encode, asked of the installed codec library.
//
//     if (!canEncodeVideo(fourCode("apcn"))) …
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace TWQuickTime::codec {

/// @param type  a sample description's format, as 'avc1'; aliases of other writers are known too
bool canDecodeVideo(std::uint32_t type);
bool canDecodeSound(std::uint32_t type);
bool canEncodeVideo(std::uint32_t type);
bool canEncodeSound(std::uint32_t type);

/// Every type that canEncodeVideo() or canEncodeSound() is asked to know, whether or not its
/// encoder is installed, in a settled order. Hardware encoders are left out.
std::vector<std::uint32_t> videoEncoderTypes();
std::vector<std::uint32_t> soundEncoderTypes();

}  // namespace TWQuickTime::codec
