// Classic sound, whose sample tables count frames: where the frames' bytes are.
//
// In these tables every frame claims a size of 1, and the sample description tells how many bytes
// a frame (uncompressed) or a packet of frames (compressed at a fixed ratio) really takes.
#pragma once

#include "Engines/timeline/Media.h"

namespace TWQuickTime::moviefile {

/// How many frames a packet of a sound description holds, and its bytes for all channels.
struct SoundPacket {
    std::uint32_t frames = 0;
    std::uint32_t bytes = 0;
};

/// The packet of a description whose format has packets of a fixed size; none for others (AAC …)
/// and for descriptions that are too short.
std::optional<SoundPacket> fixedSoundPacket(const timeline::SampleDescription& description);

/// Gives a sound media whose table says "1 byte a frame" the sizes that hold.
void useSoundPackets(timeline::Media& media);

}  // namespace TWQuickTime::moviefile
