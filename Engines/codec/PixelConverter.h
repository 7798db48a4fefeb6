// Changes a picture's size, pixel format and colour coding.
//
// A picture that needs no change is passed on without a copy. Numbers are converted by the
// pictures' tags: matrix coefficients and range, never the size of a tagged picture.
#pragma once

#include <memory>

#include "Engines/codec/VideoFrame.h"

namespace TWQuickTime::codec {

struct PictureTarget {
    PixelFormat format;
    int width = 0;
    int height = 0;
    /// Unspecified members are taken from the source.
    ColorTags color;
};

/// Keeps what it needs between pictures of the same kind; one thread at a time.
class PixelConverter {
  public:
    PixelConverter();
    ~PixelConverter();
    PixelConverter(PixelConverter&&) noexcept;
    PixelConverter& operator=(PixelConverter&&) noexcept;

    result::Expected<VideoFrame> convert(const VideoFrame& source, const PictureTarget& target);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The matrix that a picture is coded with, also when it is not tagged: RGB has none (0), untagged
/// pictures of up to 576 lines are BT.601 (6), larger ones BT.709 (1).
int matrixOf(const VideoFrame& frame);
/// Whether a picture uses all levels, also when it is not tagged.
bool isFullRange(const VideoFrame& frame);

/// A part of a picture, sharing its pixels; edges are moved to whole chroma samples.
result::Expected<VideoFrame> croppedView(const VideoFrame& frame, int x, int y, int width,
                                         int height);

}  // namespace TWQuickTime::codec
