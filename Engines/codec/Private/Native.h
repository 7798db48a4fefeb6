// Owners of the codec library's objects, and its error numbers as our failures. Included by the
// sources of the codec and transcode engines only.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/imgutils.h>
#include <libavutil/mastering_display_metadata.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <memory>
#include <string>

#include "Engines/codec/PixelFormat.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::codec {

struct NativeFrame {
    AVFrame* frame = nullptr;
    NativeFrame() : frame(av_frame_alloc()) {}
    ~NativeFrame() { av_frame_free(&frame); }
    NativeFrame(const NativeFrame&) = delete;
    NativeFrame& operator=(const NativeFrame&) = delete;
};

/// What a muxer has to know about a stream.
struct NativeParameters {
    AVCodecParameters* parameters = nullptr;
    AVRational timeBase{0, 1};
    NativeParameters() : parameters(avcodec_parameters_alloc()) {}
    ~NativeParameters() { avcodec_parameters_free(&parameters); }
    NativeParameters(const NativeParameters&) = delete;
    NativeParameters& operator=(const NativeParameters&) = delete;
};

struct CodecContextCloser {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
using CodecContextPointer = std::unique_ptr<AVCodecContext, CodecContextCloser>;

struct PacketFreer {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using PacketPointer = std::unique_ptr<AVPacket, PacketFreer>;

struct FrameFreer {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using FramePointer = std::unique_ptr<AVFrame, FrameFreer>;

/// The library's error as ours: "avcodec_open2: Invalid argument".
inline result::Failure nativeFailure(int error, const std::string& what) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(error, text, sizeof text);
    if (error == AVERROR(ENOSPC) || error == AVERROR(EACCES) || error == AVERROR(EIO) ||
        error == AVERROR(ENOENT)) {
        return result::systemFailure(-error, what + ": " + text);
    }
    result::FailureKind kind = result::FailureKind::damaged;
    if (error == AVERROR(ENOMEM)) {
        kind = result::FailureKind::limit;
    } else if (error == AVERROR_DECODER_NOT_FOUND || error == AVERROR_ENCODER_NOT_FOUND ||
               error == AVERROR_MUXER_NOT_FOUND) {
        kind = result::FailureKind::notAvailable;
    } else if (error == AVERROR(EINVAL)) {
        kind = result::FailureKind::badArgument;
    } else if (error == AVERROR_PATCHWELCOME || error == AVERROR(ENOSYS)) {
        kind = result::FailureKind::unsupported;
    }
    return {kind, what + ": " + text, 0};
}

/// Failures come back as values; the library shall not write on standard error besides.
inline void silenceLibrary() {
    [[maybe_unused]] static const bool once = (av_log_set_level(AV_LOG_QUIET), true);
}

inline ColorTags tagsOf(const AVFrame& frame) {
    return {frame.color_primaries, frame.color_trc, frame.colorspace,
            frame.color_range == AVCOL_RANGE_JPEG   ? ColorRange::full
            : frame.color_range == AVCOL_RANGE_MPEG ? ColorRange::video
                                                    : ColorRange::unspecified};
}

inline AVColorRange nativeRange(ColorRange range) {
    return range == ColorRange::full    ? AVCOL_RANGE_JPEG
           : range == ColorRange::video ? AVCOL_RANGE_MPEG
                                        : AVCOL_RANGE_UNSPECIFIED;
}

/// The byte-reversed code that the library calls a tag.
inline std::uint32_t nativeTag(std::uint32_t code) {
    return __builtin_bswap32(code);
}

}  // namespace TWQuickTime::codec
