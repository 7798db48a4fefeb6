// Offscreen graphics worlds: pixel buffers of 24 or 32 bits that pictures are drawn into and copied
// between.
//
// A world looks at the caller's memory, which must outlive it. Null, foreign and disposed worlds
// and pixel maps are recognised. A world is used by one thread at a time.
//
//     GWorldPtr world = nullptr;
//     Rect bounds = {0, 0, 480, 720};      // top, left, bottom, right
//     QTNewGWorldFromPtr(&world, k32ARGBPixelFormat, &bounds, nullptr, nullptr, 0, buffer, 720 *
//     4); … DisposeGWorld(world);
#pragma once

#include <cstdint>

#include "ToolboxTypes.h"

namespace TWQuickTime {

using GWorldPtr = struct OpaqueGrafPtr*;
using CGrafPtr = struct OpaqueGrafPtr*;
using PixMapHandle = struct OpaquePixMap*;

/// Three bytes R G B, rows as long as rowBytes says.
constexpr OSType k24RGBPixelFormat = 24;
/// Four bytes A R G B.
constexpr OSType k32ARGBPixelFormat = 32;

struct RGBColor {
    std::uint16_t red = 0, green = 0, blue = 0;
};

constexpr std::int16_t srcCopy = 0;

/// @param pixelFormat  24 or 32
/// @param colorTable, device  null
/// @param flags  0
/// @param rowBytes  at least the bytes of a row
/// @return paramErr for empty bounds, other formats, a null buffer and too short rows
TWQT_EXPORT OSErr QTNewGWorldFromPtr(GWorldPtr* world, OSType pixelFormat, const Rect* bounds,
                                     const void* colorTable, const void* device,
                                     std::uint32_t flags, void* buffer, std::int32_t rowBytes);
/// Does not touch the pixels. Null is no error.
TWQT_EXPORT void DisposeGWorld(GWorldPtr world);

/// The world's pixel map, which goes with it; null for what is no world.
TWQT_EXPORT PixMapHandle GetGWorldPixMap(GWorldPtr world);
/// Pixels never move here; false for what is no pixel map.
TWQT_EXPORT Boolean LockPixels(PixMapHandle pixMap);
TWQT_EXPORT void UnlockPixels(PixMapHandle pixMap);
TWQT_EXPORT Ptr GetPixBaseAddr(PixMapHandle pixMap);
TWQT_EXPORT std::int32_t QTGetPixMapHandleRowBytes(PixMapHandle pixMap);
/// All zero for what is no pixel map.
TWQT_EXPORT Rect GetPixBounds(PixMapHandle pixMap);
TWQT_EXPORT OSType GetPixMapFormat(PixMapHandle pixMap);
/// The colour of transfer modes that need one.
TWQT_EXPORT void SetPortOpColor(CGrafPtr port, const RGBColor* color);

/// Scales one rectangle onto another, all channels alike, area average down and linear up. Parts
/// outside either map are cut with the mapping kept.
/// @param mode  srcCopy
/// @param maskRegion  null
/// @return the status that GetMoviesError() gives too: paramErr for null maps, empty rectangles,
///         overlapping pixels and other modes
TWQT_EXPORT OSErr CopyBits(PixMapHandle source, PixMapHandle destination, const Rect* sourceRect,
                           const Rect* destinationRect, std::int16_t mode, const void* maskRegion);

}  // namespace TWQuickTime
