// A still picture in one of the formats that are read here, seen without its format.
//
// Opening reads the header and checks what can be checked cheaply; drawing decodes, straight to the
// wanted size where the format allows it. The bytes must outlive the object.
//
//     Expected<std::unique_ptr<StillImage>> picture = openPNG(bytes);
//     if (picture) (*picture)->draw(RowPlacer(buffer, {0, 0, 1920, 1080}, AlphaKind::skipped),
//     {1920, 1080}, profile);
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "Engines/image/RowConsumer.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::image {

/// Pictures that must be held whole while decoding (interlaced PNG, progressive JPEG and all
/// formats but plain PNG and JPEG) are refused above this many pixels.
inline constexpr std::int64_t kMaximumWholePixels = 128 * 1024 * 1024;

struct SizeInPixels {
    int width = 0;
    int height = 0;
};

class StillImage {
  public:
    virtual ~StillImage() = default;
    virtual SizeInPixels size() const = 0;
    /// Sends every row to the consumer, colours converted to the destination profile.
    /// @param wanted  the size that the picture will be shown at; a format that can decode to a
    ///        smaller size does so when that is still at least as large. The consumer is told the
    ///        size that it really gets.
    /// @param destinationProfile  ICC bytes; empty for sRGB
    virtual result::Status draw(RowConsumer& consumer, SizeInPixels wanted,
                                std::span<const std::byte> destinationProfile) const = 0;
};

using StillImageOrFailure = result::Expected<std::unique_ptr<StillImage>>;

/// PNG (ISO/IEC 15948). Every chunk's place and checksum is verified.
StillImageOrFailure openPNG(std::span<const std::byte> bytes);
/// JPEG (ITU-T T.81), 8 bits a sample.
StillImageOrFailure openJPEG(std::span<const std::byte> bytes);
/// Everything else that the codec library reads as a picture (TIFF, GIF, BMP, TGA, WebP, PSD, JPEG
/// 2000, SGI, PNM …), and HEIC and AVIF; animated ones show their first picture.
/// @param fileName  its extension decides where the contents do not (TGA has no signature)
StillImageOrFailure openOther(std::span<const std::byte> bytes, const std::string& fileName);
/// PNG and JPEG by their signature, all others through openOther().
StillImageOrFailure openAny(std::span<const std::byte> bytes, const std::string& fileName);

}  // namespace TWQuickTime::image
