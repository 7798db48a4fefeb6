#include "GWorlds.h"

#include <cstring>
#include <optional>
#include <vector>

#include "Engines/image/Scale.h"
#include "Private/GWorldRecord.h"
#include "Private/ToolboxCall.h"

namespace TWQuickTime {
namespace {

OpaquePixMap* findPixMap(PixMapHandle pixMap) {
    return LiveObjects<OpaquePixMap>::shared().find(pixMap);
}

/// A 24-bit map as 32-bit pixels, for the length of a copy.
class ThirtyTwoBitCopy {
  public:
    explicit ThirtyTwoBitCopy(const OpaquePixMap& map)
        : pixels_(static_cast<std::size_t>(map.width()) * 4 *
                  static_cast<std::size_t>(map.height())),
          width_(map.width()),
          height_(map.height()) {
        for (int y = 0; y < height_; ++y) {
            const std::uint8_t* in = map.pixels + std::ptrdiff_t{map.rowBytes} * y;
            std::uint8_t* out = view().row(y);
            for (int x = 0; x < width_; ++x, in += 3, out += 4) {
                out[0] = 255;
                std::memcpy(out + 1, in, 3);
            }
        }
    }
    image::PixelView view() {
        return {pixels_.data(), width_, height_, std::ptrdiff_t{width_} * 4};
    }
    void writeBack(OpaquePixMap& map) {
        for (int y = 0; y < height_; ++y) {
            const std::uint8_t* in = view().row(y);
            std::uint8_t* out = map.pixels + std::ptrdiff_t{map.rowBytes} * y;
            for (int x = 0; x < width_; ++x, in += 4, out += 3)
                std::memcpy(out, in + 1, 3);
        }
    }

  private:
    std::vector<std::uint8_t> pixels_;
    int width_;
    int height_;
};

image::PixelRect within(const Rect& rect, const Rect& bounds) {
    return {rect.left - bounds.left, rect.top - bounds.top, rect.right - bounds.left,
            rect.bottom - bounds.top};
}

bool overlap(const OpaquePixMap& a, const OpaquePixMap& b) {
    const std::uint8_t* aEnd = a.pixels + std::ptrdiff_t{a.rowBytes} * a.height();
    const std::uint8_t* bEnd = b.pixels + std::ptrdiff_t{b.rowBytes} * b.height();
    return a.pixels < bEnd && b.pixels < aEnd;
}

}  // namespace

OpaqueGrafPtr* findGWorld(GWorldPtr world) {
    return LiveObjects<OpaqueGrafPtr>::shared().find(world);
}

OSErr QTNewGWorldFromPtr(GWorldPtr* world, OSType pixelFormat, const Rect* bounds,
                         const void* colorTable, const void* device, std::uint32_t flags,
                         void* buffer, std::int32_t rowBytes) {
    ToolboxCall call("QTNewGWorldFromPtr");
    if (world)
        *world = nullptr;
    if (call.faulted())
        return call.fail(call.status());
    const bool known = pixelFormat == k24RGBPixelFormat || pixelFormat == k32ARGBPixelFormat;
    if (!world || !bounds || !buffer || !known || colorTable || device || flags != 0)
        return call.fail(paramErr);
    OpaquePixMap map;
    map.format = pixelFormat;
    map.bounds = *bounds;
    if (map.width() < 1 || map.height() < 1 || rowBytes < map.width() * map.bytesPerPixel())
        return call.fail(paramErr);
    auto* record = new OpaqueGrafPtr;
    record->pixMap.format = pixelFormat;
    record->pixMap.bounds = *bounds;
    record->pixMap.pixels = static_cast<std::uint8_t*>(buffer);
    record->pixMap.rowBytes = rowBytes;
    *world = record;
    return call.succeed();
}

void DisposeGWorld(GWorldPtr world) {
    ToolboxCall call("DisposeGWorld");
    if (call.faulted())
        return;
    delete findGWorld(world);
    call.succeed();
}

PixMapHandle GetGWorldPixMap(GWorldPtr world) {
    ToolboxCall call("GetGWorldPixMap");
    OpaqueGrafPtr* record = findGWorld(world);
    return record && !call.faulted() ? &record->pixMap : nullptr;
}

Boolean LockPixels(PixMapHandle pixMap) {
    ToolboxCall call("LockPixels");
    return !call.faulted() && findPixMap(pixMap) != nullptr;
}

void UnlockPixels(PixMapHandle) {
    ToolboxCall call("UnlockPixels");
}

Ptr GetPixBaseAddr(PixMapHandle pixMap) {
    const OpaquePixMap* map = findPixMap(pixMap);
    return map ? reinterpret_cast<Ptr>(map->pixels) : nullptr;
}

std::int32_t QTGetPixMapHandleRowBytes(PixMapHandle pixMap) {
    const OpaquePixMap* map = findPixMap(pixMap);
    return map ? map->rowBytes : 0;
}

Rect GetPixBounds(PixMapHandle pixMap) {
    const OpaquePixMap* map = findPixMap(pixMap);
    return map ? map->bounds : Rect();
}

OSType GetPixMapFormat(PixMapHandle pixMap) {
    const OpaquePixMap* map = findPixMap(pixMap);
    return map ? map->format : 0;
}

void SetPortOpColor(CGrafPtr port, const RGBColor* color) {
    ToolboxCall call("SetPortOpColor");
    OpaqueGrafPtr* record = findGWorld(port);
    if (record && color && !call.faulted())
        record->opColor = *color;
}

OSErr CopyBits(PixMapHandle source, PixMapHandle destination, const Rect* sourceRect,
               const Rect* destinationRect, std::int16_t mode, const void* maskRegion) {
    ToolboxCall call("CopyBits");
    if (call.faulted())
        return call.fail(call.status());
    const OpaquePixMap* from = findPixMap(source);
    OpaquePixMap* to = findPixMap(destination);
    if (!from || !to || !sourceRect || !destinationRect || mode != srcCopy || maskRegion ||
        overlap(*from, *to))
        return call.fail(paramErr);
    const image::PixelRect fromRect = within(*sourceRect, from->bounds);
    const image::PixelRect toRect = within(*destinationRect, to->bounds);

    std::optional<ThirtyTwoBitCopy> fromCopy;
    std::optional<ThirtyTwoBitCopy> toCopy;
    if (from->format == k24RGBPixelFormat)
        fromCopy.emplace(*from);
    if (to->format == k24RGBPixelFormat)
        toCopy.emplace(*to);
    const result::Status copied =
        image::scalePixels(fromCopy ? fromCopy->view() : from->view(), fromRect,
                           toCopy ? toCopy->view() : to->view(), toRect);
    if (!copied)
        return call.fail(paramErr);
    if (toCopy)
        toCopy->writeBack(*to);
    return call.succeed();
}

}  // namespace TWQuickTime
