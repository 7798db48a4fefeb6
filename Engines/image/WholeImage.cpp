#include "Engines/image/WholeImage.h"

#include <algorithm>
#include <cstring>

#include "Engines/image/ColorTransform.h"
#include "Engines/image/PremultipliedAlpha.h"

namespace TWQuickTime::image {

using result::Status;

WholeImage::WholeImage(SizeInPixels size, AlphaKind alpha, std::vector<std::uint8_t> pixels,
                       std::vector<std::byte> profile)
    : size_(size), alpha_(alpha), pixels_(std::move(pixels)), profile_(std::move(profile)) {}

WholeImage::WholeImage(ConstPixelView pixels, AlphaKind alpha, std::span<const std::byte> profile)
    : size_{pixels.width, pixels.height}, alpha_(alpha), profile_(profile.begin(), profile.end()) {
    const std::size_t rowBytes = static_cast<std::size_t>(pixels.width) * 4;
    pixels_.resize(rowBytes * static_cast<std::size_t>(pixels.height));
    for (int y = 0; y < pixels.height; ++y)
        std::memcpy(&pixels_[rowBytes * static_cast<std::size_t>(y)], pixels.row(y), rowBytes);
}

Status WholeImage::draw(RowConsumer& consumer, SizeInPixels,
                        std::span<const std::byte> destinationProfile) const {
    std::unique_ptr<ColorTransform> transform;
    if (!std::ranges::equal(profile_, destinationProfile)) {
        SourceColors colors;
        colors.profile = profile_;
        auto made = ColorTransform::make(colors, destinationProfile);
        if (!made)
            return made.failure();
        transform = *std::move(made);
    }
    // Colours convert as they are, not as alpha has darkened them.
    const bool divides = transform && alpha_ == AlphaKind::premultiplied;
    if (Status begun =
            consumer.begin(size_.width, size_.height, divides ? AlphaKind::straight : alpha_);
        !begun)
        return begun;
    std::vector<std::uint8_t> row(static_cast<std::size_t>(size_.width) * 4);
    for (int y = 0; y < size_.height; ++y) {
        std::memcpy(row.data(), &pixels_[static_cast<std::size_t>(y) * row.size()], row.size());
        if (alpha_ == AlphaKind::skipped)
            for (std::size_t i = 0; i < row.size(); i += 4)
                row[i] = 255;
        if (divides)
            unpremultiplyRow(row.data(), size_.width);
        if (transform)
            transform->convertRow(row.data(), size_.width);
        if (Status taken = consumer.row(row.data()); !taken)
            return taken;
    }
    return {};
}

}  // namespace TWQuickTime::image
