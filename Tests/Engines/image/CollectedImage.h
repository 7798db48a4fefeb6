// Keeps the rows of a picture whole, so that tests can look at them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "Engines/image/RowConsumer.h"
#include "Engines/image/StillImage.h"

namespace TWQuickTime::image::test {

class CollectedImage : public RowConsumer {
  public:
    result::Status begin(int w, int h, AlphaKind a) override {
        width = w;
        height = h;
        alpha = a;
        pixels.clear();
        return {};
    }
    result::Status row(std::uint8_t* row) override {
        pixels.insert(pixels.end(), row, row + width * 4);
        return {};
    }
    const std::uint8_t* at(int x, int y) const {
        return &pixels[static_cast<std::size_t>((y * width + x) * 4)];
    }

    int width = 0;
    int height = 0;
    AlphaKind alpha = AlphaKind::skipped;
    std::vector<std::uint8_t> pixels;
};

/// The picture at its own size, or a test failure.
CollectedImage collect(const StillImageOrFailure& image, std::span<const std::byte> profile = {});

std::vector<std::byte> readBytes(const std::string& path);

/// Peak signal-to-noise ratio over colour bytes, in decibels; 100 for equal pictures.
double psnr(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b);

}  // namespace TWQuickTime::image::test
