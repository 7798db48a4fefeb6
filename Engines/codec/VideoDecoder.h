// Decodes the samples of one video sample description.
//
// Packets go in in decode order, frames come out in presentation order with the packets' own times.
// Not for use from two threads at once.
//
//     auto decoder = VideoDecoder::open(description, {});
//     (*decoder)->send(packet);
//     while (auto frame = (*decoder)->receive(); frame && *frame) use(**frame);
#pragma once

#include <memory>
#include <optional>

#include "Engines/codec/Packet.h"
#include "Engines/codec/SampleDescription.h"
#include "Engines/codec/VideoFrame.h"

namespace TWQuickTime::codec {

struct VideoDecoderOptions {
    /// 0: as many as the codec library finds useful here.
    int threads = 0;
    /// One frame in, one frame out, at the cost of frame threading; for single frames.
    bool lowDelay = false;
};

class VideoDecoder {
  public:
    virtual ~VideoDecoder() = default;

    /// @param sampleDescription  the whole record, size field included
    static result::Expected<std::unique_ptr<VideoDecoder>> open(Bytes sampleDescription,
                                                                const VideoDecoderOptions& options);

    /// Hands over one packet. A damaged one fails; decoding may go on with the next.
    virtual result::Status send(const Packet& packet) = 0;
    /// No more packets: receive() then gives what is left.
    virtual result::Status sendEnd() = 0;
    /// The next frame; none when another packet is needed or, after sendEnd(), at the end.
    virtual result::Expected<std::optional<VideoFrame>> receive() = 0;
    /// Forgets what was sent, for decoding from another place.
    virtual void flush() = 0;
    /// While set, frames that no other frame needs may be left out (nothing is returned for them).
    virtual void skipUnreferencedFrames(bool skip) = 0;

    const VideoDescription& description() const { return description_; }

  protected:
    explicit VideoDecoder(VideoDescription description) : description_(std::move(description)) {}
    VideoDescription description_;
};

}  // namespace TWQuickTime::codec
