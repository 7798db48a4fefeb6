// One picture: shared pixels, and what is known about them.
//
// A frame is a cheap value. Its pixels are shared by all copies and are written only between
// allocate() and the first copy; a decoder's frame wraps the decoder's own memory.
//
//     VideoFrame frame = *VideoFrame::allocate(PixelFormat::bgra32(), 64, 48);
//     std::memset(frame.writableRow(0, 0), 0, 64 * 4);
#pragma once

#include <cstdint>
#include <memory>

#include "Engines/codec/PixelFormat.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::codec {

struct NativeFrame;

class VideoFrame {
  public:
    VideoFrame() = default;
    explicit VideoFrame(std::shared_ptr<NativeFrame> native) : native_(std::move(native)) {}

    /// Memory for a picture, rows aligned for SIMD, contents undefined.
    /// Fails for sizes below 1 or above 32768 in either direction.
    static result::Expected<VideoFrame> allocate(PixelFormat format, int width, int height);

    explicit operator bool() const { return native_ != nullptr; }
    int width() const;
    int height() const;
    PixelFormat format() const;
    const std::uint8_t* row(int plane, int y) const;
    std::uint8_t* writableRow(int plane, int y);
    /// Bytes from one row to the next; may be negative.
    std::ptrdiff_t stride(int plane) const;
    /// Makes this frame's pixels look smaller: the right and bottom edges are hidden, not copied.
    /// Only for a frame whose pixels nobody else holds yet.
    void cropTo(int width, int height);
    const std::shared_ptr<NativeFrame>& native() const { return native_; }

    /// Presentation time and duration in the units of whoever made the frame.
    std::int64_t time = 0;
    std::int64_t duration = 0;
    bool keyFrame = false;
    bool interlaced = false;
    bool topFieldFirst = false;
    ColorTags color;
    Rational pixelAspect;

  private:
    std::shared_ptr<NativeFrame> native_;
};

/// Memory for pictures of one kind that comes back when the last copy of a picture goes: fresh
/// memory costs as much time as a simple conversion. The pool may go before its pictures.
class PicturePool {
  public:
    /// As VideoFrame::allocate(); another format or size than the last one's starts anew.
    result::Expected<VideoFrame> take(PixelFormat format, int width, int height);

  private:
    struct Blocks;
    std::shared_ptr<Blocks> blocks_;
};

}  // namespace TWQuickTime::codec
