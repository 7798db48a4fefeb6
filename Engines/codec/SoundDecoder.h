// Decodes the packets of one sound sample description.
//
//     auto decoder = SoundDecoder::open(description);
//     SoundBlock block;
//     while ((*decoder)->decode(packet, block)) mix(block);
//
// Not for use from two threads at once.
#pragma once

#include <memory>

#include "Engines/codec/Packet.h"
#include "Engines/codec/SampleDescription.h"
#include "Engines/codec/SoundBlock.h"

namespace TWQuickTime::codec {

class SoundDecoder {
  public:
    virtual ~SoundDecoder() = default;

    /// @param sampleDescription  the whole record, size field included
    static result::Expected<std::unique_ptr<SoundDecoder>> open(Bytes sampleDescription);

    /// Decodes one packet, or for PCM any number of whole frames, and appends what comes out to
    /// the block; sets the block's channels and rate. Its time is left alone.
    virtual result::Status decode(const Packet& packet, SoundBlock& appendTo) = 0;
    /// Appends what the decoder still holds back.
    virtual result::Status drain(SoundBlock& appendTo) = 0;
    /// Forgets what was sent, for decoding from another place.
    virtual void flush() = 0;

    /// As the description says, before anything was decoded.
    virtual int channels() const = 0;
    virtual double sampleRate() const = 0;
};

}  // namespace TWQuickTime::codec
