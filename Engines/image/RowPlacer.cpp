#include "Engines/image/RowPlacer.h"

#include <algorithm>
#include <cstring>

#include "Engines/image/PremultipliedAlpha.h"

namespace TWQuickTime::image {

RowPlacer::RowPlacer(PixelView destination, PixelRect target, AlphaKind destinationAlpha)
    : destination_(destination), target_(target), destinationAlpha_(destinationAlpha) {
    visible_ = {std::max(0, target.left), std::max(0, target.top),
                std::min(destination.width, target.right),
                std::min(destination.height, target.bottom)};
}

result::Status RowPlacer::begin(int width, int height, AlphaKind alpha) {
    sourceAlpha_ = alpha;
    width_ = width;
    sourceRow_ = 0;
    if (visible_.isEmpty())
        return {};
    sameSize_ = width == target_.width() && height == target_.height();
    if (sameSize_)
        return {};
    const double xScale = double(width) / target_.width();
    const double yScale = double(height) / target_.height();
    scaler_ = std::make_unique<RowScaler>(ScaleMapping{
        width, height, (visible_.left - target_.left) * xScale,
        (visible_.top - target_.top) * yScale, (visible_.right - target_.left) * xScale,
        (visible_.bottom - target_.top) * yScale, visible_.width(), visible_.height()});
    return {};
}

result::Status RowPlacer::row(std::uint8_t* pixels) {
    const int y = sourceRow_++;
    if (visible_.isEmpty())
        return {};
    if (sourceAlpha_ == AlphaKind::straight)
        premultiplyRow(pixels, width_);
    if (scaler_) {
        scaler_->push(pixels, [this](int row, const std::uint8_t* scaled) {
            place(visible_.top + row, scaled);
        });
    } else {
        const int row = target_.top + y;
        if (row >= visible_.top && row < visible_.bottom)
            place(row, pixels + std::ptrdiff_t{visible_.left - target_.left} * 4);
    }
    return {};
}

void RowPlacer::place(int row, const std::uint8_t* pixels) {
    std::uint8_t* out = destination_.row(row) + std::ptrdiff_t{visible_.left} * 4;
    const int width = visible_.width();
    const bool keepsAlpha = destinationAlpha_ != AlphaKind::skipped;
    if (sourceAlpha_ != AlphaKind::skipped) {
        composeRowOver(pixels, out, width, keepsAlpha);
    } else if (keepsAlpha) {
        std::memcpy(out, pixels, static_cast<std::size_t>(width) * 4);
    } else {
        for (int x = 0; x < width; ++x)
            std::memcpy(out + x * 4 + 1, pixels + x * 4 + 1, 3);
    }
}

}  // namespace TWQuickTime::image
