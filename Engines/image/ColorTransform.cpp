#include "Engines/image/ColorTransform.h"

#include <lcms2.h>

#include <cmath>
#include <cstring>

namespace TWQuickTime::image {
namespace {

struct CloseProfile {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, CloseProfile>;

struct DeleteTransform {
    void operator()(void* transform) const { cmsDeleteTransform(transform); }
};
using Transform = std::unique_ptr<void, DeleteTransform>;

Profile openProfile(std::span<const std::byte> bytes) {
    if (bytes.empty() || bytes.size() > 0x7FFFFFFF)
        return nullptr;
    return Profile(cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())));
}

cmsColorSpaceSignature spaceOf(int channels) {
    return channels == 1 ? cmsSigGrayData : channels == 4 ? cmsSigCmykData : cmsSigRgbData;
}

Profile profileFromPrimaries(const Chromaticities& c, double gamma) {
    const cmsCIExyY white = {c.whiteX, c.whiteY, 1.0};
    const cmsCIExyYTRIPLE primaries = {
        {c.redX, c.redY, 1.0}, {c.greenX, c.greenY, 1.0}, {c.blueX, c.blueY, 1.0}};
    cmsToneCurve* curve = cmsBuildGamma(nullptr, 1.0 / gamma);
    if (!curve)
        return nullptr;
    cmsToneCurve* curves[3] = {curve, curve, curve};
    Profile profile(cmsCreateRGBProfile(&white, &primaries, curves));
    cmsFreeToneCurve(curve);
    return profile;
}

bool near(double a, double b) {
    return std::abs(a - b) < 0.002;
}

bool areTheUsualPrimaries(const Chromaticities& c) {
    const Chromaticities usual;
    return near(c.whiteX, usual.whiteX) && near(c.whiteY, usual.whiteY) &&
           near(c.redX, usual.redX) && near(c.redY, usual.redY) && near(c.greenX, usual.greenX) &&
           near(c.greenY, usual.greenY) && near(c.blueX, usual.blueX) && near(c.blueY, usual.blueY);
}

}  // namespace

struct ColorTransform::State {
    bool fromCMYK = false;
    Transform transform;  ///< A R G B to A R G B, or C M Y K to A R G B
    bool usesTable = false;
    std::uint8_t table[3][256] =
        {};  ///< for red, green and blue, when each sample converts by itself
};

ColorTransform::ColorTransform(std::unique_ptr<State> state) : state_(std::move(state)) {}
ColorTransform::~ColorTransform() = default;

bool isProfile(std::span<const std::byte> profile) {
    return openProfile(profile) != nullptr;
}

bool isRGBProfile(std::span<const std::byte> profile) {
    const Profile opened = openProfile(profile);
    return opened && cmsGetColorSpace(opened.get()) == cmsSigRgbData;
}

result::Expected<std::unique_ptr<ColorTransform>> ColorTransform::make(
    const SourceColors& source, std::span<const std::byte> destinationProfile) {
    Profile destination;
    if (!destinationProfile.empty()) {
        destination = openProfile(destinationProfile);
        if (!destination || cmsGetColorSpace(destination.get()) != cmsSigRgbData)
            return result::Failure{result::FailureKind::damaged,
                                   "colour profile: not a profile for RGB"};
    }
    Profile from = openProfile(source.profile);
    if (from && cmsGetColorSpace(from.get()) != spaceOf(source.channels))
        from = nullptr;
    auto state = std::make_unique<State>();

    // A gamma alone is a table; differences below a twentieth are not worth one, by the PNG custom.
    const double exponent = source.gamma > 0 ? 1.0 / (source.gamma * 2.2) : 1.0;
    const bool gammaMatters = std::abs(exponent - 1.0) >= 0.05;
    if (!from && source.gamma > 0 && source.primaries && !areTheUsualPrimaries(*source.primaries) &&
        source.channels == 3) {
        from = profileFromPrimaries(*source.primaries, source.gamma);
    } else if (!from && gammaMatters) {
        state->usesTable = true;
        for (int i = 0; i < 256; ++i) {
            const auto value =
                static_cast<std::uint8_t>(std::floor(255.0 * std::pow(i / 255.0, exponent) + 0.5));
            state->table[0][i] = state->table[1][i] = state->table[2][i] = value;
        }
    }
    if (!from && !destination && !state->usesTable)
        return std::unique_ptr<ColorTransform>();
    if (!from && !destination)
        return std::unique_ptr<ColorTransform>(new ColorTransform(std::move(state)));

    const bool fromGrey = from && source.channels == 1;
    const bool fromCMYK = from && source.channels == 4;
    state->fromCMYK = fromCMYK;
    if (!from)
        from.reset(cmsCreate_sRGBProfile());
    if (!destination)
        destination.reset(cmsCreate_sRGBProfile());
    const cmsUInt32Number inputType = fromGrey ? TYPE_GRAY_8 : fromCMYK ? TYPE_CMYK_8 : TYPE_ARGB_8;
    const cmsUInt32Number flags = inputType == TYPE_ARGB_8 ? cmsFLAGS_COPY_ALPHA : 0;
    state->transform.reset(cmsCreateTransform(from.get(), inputType, destination.get(), TYPE_ARGB_8,
                                              INTENT_PERCEPTUAL, flags));
    if (!state->transform)
        return result::Failure{result::FailureKind::damaged,
                               "colour profile: no conversion from the picture's colours"};
    if (fromGrey) {
        std::uint8_t greys[256];
        std::uint8_t converted[256 * 4];
        for (int i = 0; i < 256; ++i)
            greys[i] = static_cast<std::uint8_t>(i);
        cmsDoTransform(state->transform.get(), greys, converted, 256);
        for (int i = 0; i < 256; ++i)
            for (int c = 0; c < 3; ++c)
                state->table[c][i] = converted[i * 4 + 1 + c];
        state->usesTable = true;
        state->transform.reset();
    }
    return std::unique_ptr<ColorTransform>(new ColorTransform(std::move(state)));
}

void ColorTransform::convertRow(std::uint8_t* pixels, int width) const {
    if (state_->usesTable) {
        for (std::uint8_t *pixel = pixels, *end = pixels + std::ptrdiff_t{width} * 4; pixel != end;
             pixel += 4)
            for (int c = 0; c < 3; ++c)
                pixel[1 + c] = state_->table[c][pixel[1 + c]];
    }
    if (state_->transform)
        cmsDoTransform(state_->transform.get(), pixels, pixels,
                       static_cast<cmsUInt32Number>(width));
}

bool ColorTransform::convertsCMYK() const {
    return state_->fromCMYK;
}

void ColorTransform::convertCMYKRow(const std::uint8_t* inks, std::uint8_t* pixels,
                                    int width) const {
    cmsDoTransform(state_->transform.get(), inks, pixels, static_cast<cmsUInt32Number>(width));
    for (int x = 0; x < width; ++x)
        pixels[std::ptrdiff_t{x} * 4] = 255;
}

}  // namespace TWQuickTime::image
