// What encoders share that answer each picture with its packet at once, all of them key frames.
#pragma once

#include <deque>

#include "Engines/codec/VideoEncoder.h"

namespace TWQuickTime::codec {

class PictureEncoder : public VideoEncoder {
  public:
    result::Status encode(const VideoFrame& frame) final {
        if (!frame || frame.width() != input_.width || frame.height() != input_.height ||
            frame.format() != input_.format) {
            return result::Failure{result::FailureKind::badArgument,
                                   "a picture of another size or format"};
        }
        auto packet = encodePicture(frame);
        if (!packet) {
            return packet.failure();
        }
        packet->presentationTime = packet->decodeTime = frame.time;
        packet->duration = frame.duration;
        packet->sync = true;
        ready_.push_back(std::move(*packet));
        return {};
    }

    result::Status finish() final { return {}; }

    result::Expected<std::optional<Packet>> receive() final {
        if (ready_.empty()) {
            return std::optional<Packet>();
        }
        std::optional<Packet> packet(std::move(ready_.front()));
        ready_.pop_front();
        return packet;
    }

  protected:
    using VideoEncoder::VideoEncoder;
    /// The bytes of a picture of the right size and format; its times are set by encode().
    virtual result::Expected<Packet> encodePicture(const VideoFrame& frame) = 0;

  private:
    std::deque<Packet> ready_;
};

}  // namespace TWQuickTime::codec
