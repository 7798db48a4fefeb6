#include "Engines/codec/VideoFrame.h"

#include <algorithm>

#include "Engines/codec/Private/Native.h"
#include "Engines/memory/LargePages.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;

Expected<VideoFrame> VideoFrame::allocate(PixelFormat format, int width, int height) {
    if (!format.valid() || width < 1 || height < 1 || width > 32768 || height > 32768) {
        return Failure{FailureKind::badArgument, "a frame of " + std::to_string(width) + "x" +
                                                     std::to_string(height) + " " + format.name()};
    }
    auto native = std::make_shared<NativeFrame>();
    native->frame->format = format.number();
    native->frame->width = width;
    native->frame->height = height;
    if (const int error = av_frame_get_buffer(native->frame, 0); error < 0) {
        return nativeFailure(error, "av_frame_get_buffer");
    }
    for (const AVBufferRef* buffer : native->frame->buf) {
        if (buffer) {
            memory::preferLargePages(buffer->data, buffer->size);
        }
    }
    return VideoFrame(std::move(native));
}

int VideoFrame::width() const {
    return native_ ? native_->frame->width : 0;
}
int VideoFrame::height() const {
    return native_ ? native_->frame->height : 0;
}

PixelFormat VideoFrame::format() const {
    return native_ ? PixelFormat(native_->frame->format) : PixelFormat();
}

const std::uint8_t* VideoFrame::row(int plane, int y) const {
    return native_->frame->data[plane] + std::ptrdiff_t(y) * native_->frame->linesize[plane];
}

std::uint8_t* VideoFrame::writableRow(int plane, int y) {
    return native_->frame->data[plane] + std::ptrdiff_t(y) * native_->frame->linesize[plane];
}

std::ptrdiff_t VideoFrame::stride(int plane) const {
    return native_->frame->linesize[plane];
}

void VideoFrame::cropTo(int width, int height) {
    native_->frame->width = std::min(native_->frame->width, width);
    native_->frame->height = std::min(native_->frame->height, height);
}

}  // namespace TWQuickTime::codec
