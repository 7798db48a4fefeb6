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

struct PicturePool::Blocks {
    PixelFormat format;
    int width, height;
    AVBufferPool* pool;
    Blocks(PixelFormat f, int w, int h, std::size_t sizeInBytes)
        : format(f), width(w), height(h), pool(av_buffer_pool_init(sizeInBytes, nullptr)) {}
    ~Blocks() { av_buffer_pool_uninit(&pool); }
    Blocks(const Blocks&) = delete;
    Blocks& operator=(const Blocks&) = delete;
};

Expected<VideoFrame> PicturePool::take(PixelFormat format, int width, int height) {
    constexpr int kRowAlignment = 64;
    // Vector code of the library reads and writes a little past the end of rows.
    constexpr std::size_t kPastTheEnd = 256;
    const auto number = static_cast<AVPixelFormat>(format.number());
    const int size =
        format.valid() && width > 0 && height > 0 && width <= 32768 && height <= 32768
            ? av_image_get_buffer_size(number, width, (height + 31) & ~31, kRowAlignment)
            : -1;
    if (size < 0) {
        return VideoFrame::allocate(format, width, height);
    }
    if (!blocks_ || blocks_->format != format || blocks_->width != width ||
        blocks_->height != height) {
        blocks_ = std::make_shared<Blocks>(format, width, height, std::size_t(size) + kPastTheEnd);
    }
    auto native = std::make_shared<NativeFrame>();
    AVFrame& frame = *native->frame;
    frame.format = format.number();
    frame.width = width;
    frame.height = height;
    frame.buf[0] = blocks_->pool ? av_buffer_pool_get(blocks_->pool) : nullptr;
    if (!frame.buf[0]) {
        return nativeFailure(AVERROR(ENOMEM), "av_buffer_pool_get");
    }
    if (const int error = av_image_fill_arrays(frame.data, frame.linesize, frame.buf[0]->data,
                                               number, width, (height + 31) & ~31, kRowAlignment);
        error < 0) {
        return nativeFailure(error, "av_image_fill_arrays");
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
