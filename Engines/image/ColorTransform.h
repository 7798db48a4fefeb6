// Converts colours from one ICC profile to another, row by row.
//
// Perceptual intent, through the colour engine. A profile is the bytes of an ICC file; no bytes
// stand for sRGB, which is also what device RGB is taken to be.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "Engines/result/Result.h"

namespace TWQuickTime::image {

/// Primaries, white point (CIE x, y) and gamma of a picture that names them without a profile.
struct Chromaticities {
    double whiteX = 0.3127, whiteY = 0.3290;
    double redX = 0.64, redY = 0.33;
    double greenX = 0.30, greenY = 0.60;
    double blueX = 0.15, blueY = 0.06;
};

/// What the colours of a picture mean.
struct SourceColors {
    std::span<const std::byte> profile;       ///< ICC bytes; empty for none
    std::optional<Chromaticities> primaries;  ///< used when there is no profile
    double gamma = 0;  ///< of the stored samples (0.45455 = 1/2.2); 0 for none
    int channels = 3;  ///< 1 grey, 3 RGB, 4 CMYK (which needs a profile)
};

class ColorTransform {
  public:
    /// Null when no conversion is needed. A damaged or unfit source profile counts as none.
    /// @return damaged for a destination profile that cannot be used for RGB
    static result::Expected<std::unique_ptr<ColorTransform>> make(
        const SourceColors& source, std::span<const std::byte> destinationProfile);
    ~ColorTransform();
    ColorTransform(const ColorTransform&) = delete;
    ColorTransform& operator=(const ColorTransform&) = delete;

    /// Converts a row of A R G B pixels in place; alpha stays.
    void convertRow(std::uint8_t* pixels, int width) const;
    /// Whether convertCMYKRow() is the one to call: the source is CMYK and has a profile for it.
    bool convertsCMYK() const;
    /// Converts a row of C M Y K samples (255 = full ink) to A R G B with alpha 255.
    void convertCMYKRow(const std::uint8_t* inks, std::uint8_t* pixels, int width) const;

  private:
    struct State;
    explicit ColorTransform(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

/// True when the bytes are a profile of any kind.
bool isProfile(std::span<const std::byte> profile);
/// True when they are one for RGB.
bool isRGBProfile(std::span<const std::byte> profile);

}  // namespace TWQuickTime::image
