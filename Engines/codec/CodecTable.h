// Which codec types this machine can encode, asked of the installed codec library.
//
//     if (!canEncodeVideo(fourCode("apcn"))) …
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace TWQuickTime::codec {

/// @param type  a sample description's format, as 'avc1'
bool canEncodeVideo(std::uint32_t type);
bool canEncodeSound(std::uint32_t type);

/// Every type that canEncodeVideo() or canEncodeSound() is asked to know, whether or not its
/// encoder is installed, in a settled order. Hardware encoders are left out.
std::vector<std::uint32_t> videoEncoderTypes();
std::vector<std::uint32_t> soundEncoderTypes();

}  // namespace TWQuickTime::codec
