// The property of every picture reader: any bytes may fail, none may do more than fail.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Engines/image/RowPlacer.h"
#include "Engines/image/StillImage.h"
#include "FuzzProperty.h"

namespace TWQuickTime::image {

/// Draws a picture that opened into a small buffer; what it says of itself must hold.
inline void drawAnything(const StillImageOrFailure& opened) {
    if (!opened)
        return;
    const SizeInPixels size = (*opened)->size();
    FUZZ_PROPERTY(size.width > 0 && size.height > 0);
    // Decoding what a small file claims to hold takes as long as it is large.
    if (std::int64_t{size.width} * size.height > 1 << 20)
        return;
    std::uint8_t buffer[16 * 12 * 4] = {};
    RowPlacer placer({buffer, 16, 12, 64}, {-2, 0, 15, 13}, AlphaKind::premultiplied);
    const result::Status drawn = (*opened)->draw(placer, {17, 13}, {});
    FUZZ_PROPERTY(drawn.ok() || !drawn.failure().message.empty());
}

}  // namespace TWQuickTime::image
