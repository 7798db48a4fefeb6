// Planar luma and chroma of 8 bits to 32-bit pixels of the same size, without a scaler.
//
// Chroma of fewer samples is interpolated; as a scaler does, it takes each chroma sample to stand
// in the middle of the pixels that share it.
//
//     if (canBecomeRgb(frame.format(), PixelFormat::bgra32(), matrix))
//         auto pixels = convertedToRgb(frame, PixelFormat::bgra32(), matrix, fullRange);
#pragma once

#include "Engines/codec/VideoFrame.h"

namespace TWQuickTime::codec {

/// @param matrix  the code point of what the source's numbers mean (ISO/IEC 23091-2)
bool canBecomeRgb(PixelFormat source, PixelFormat target, int matrix);

/// The picture with alpha 255; only where canBecomeRgb() says so.
/// @param fullRange  of the source; the pixels always have the full range
result::Expected<VideoFrame> convertedToRgb(const VideoFrame& source, PixelFormat target,
                                            int matrix, bool fullRange);

}  // namespace TWQuickTime::codec
