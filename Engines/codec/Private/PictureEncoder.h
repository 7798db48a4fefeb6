// What encoders share whose packets come in the order of the pictures, all of them key frames.
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
        return take(frame);
    }

    result::Status finish() override { return {}; }

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

    /// Gets a picture of the right size and format, and delivers its packet now or later.
    virtual result::Status take(const VideoFrame& frame) = 0;

    /// @param packet  needs no times yet
    void deliver(Packet packet, std::int64_t time, std::int64_t duration) {
        packet.presentationTime = packet.decodeTime = time;
        packet.duration = duration;
        packet.sync = true;
        ready_.push_back(std::move(packet));
    }

  private:
    std::deque<Packet> ready_;
};

}  // namespace TWQuickTime::codec
