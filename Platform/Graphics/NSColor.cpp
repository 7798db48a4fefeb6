#include "NSColor.h"

#include <algorithm>

namespace TWQuickTime {

NSColor::NSColor(const char* space, std::array<double, 4> components, double alpha)
    : space_(space) {
    for (std::size_t i = 0; i < components.size(); ++i)
        components_[i] = std::clamp(components[i], 0.0, 1.0);
    alpha_ = std::clamp(alpha, 0.0, 1.0);
}

NSColor NSColor::colorWithCalibratedRed(double red, double green, double blue, double alpha) {
    return {NSCalibratedRGBColorSpace, {red, green, blue, 0}, alpha};
}

NSColor NSColor::colorWithDeviceRed(double red, double green, double blue, double alpha) {
    return {NSDeviceRGBColorSpace, {red, green, blue, 0}, alpha};
}

NSColor NSColor::colorWithCalibratedWhite(double white, double alpha) {
    return {NSCalibratedWhiteColorSpace, {white, 0, 0, 0}, alpha};
}

NSColor NSColor::colorWithDeviceCyan(double cyan, double magenta, double yellow, double black,
                                     double alpha) {
    return {NSDeviceCMYKColorSpace, {cyan, magenta, yellow, black}, alpha};
}

bool NSColor::isRGB() const {
    return space_ == NSCalibratedRGBColorSpace || space_ == NSDeviceRGBColorSpace;
}

NSColor NSColor::colorUsingColorSpaceName(const NSString& name) const {
    if (isNil() || name == space_)
        return *this;
    std::array<double, 4> rgb = components_;
    if (space_ == NSCalibratedWhiteColorSpace)
        rgb = {components_[0], components_[0], components_[0], 0};
    else if (space_ == NSDeviceCMYKColorSpace)
        for (std::size_t i = 0; i < 3; ++i)
            rgb[i] = (1 - components_[i]) * (1 - components_[3]);
    if (name == NSCalibratedRGBColorSpace)
        return {NSCalibratedRGBColorSpace, rgb, alpha_};
    if (name == NSDeviceRGBColorSpace)
        return {NSDeviceRGBColorSpace, rgb, alpha_};
    if (name == NSCalibratedWhiteColorSpace)
        // Luma weights of ITU-R BT.601, as for device colours.
        return {NSCalibratedWhiteColorSpace,
                {0.299 * rgb[0] + 0.587 * rgb[1] + 0.114 * rgb[2], 0, 0, 0},
                alpha_};
    if (name == NSDeviceCMYKColorSpace) {
        const double black = 1 - std::max({rgb[0], rgb[1], rgb[2]});
        const double rest = 1 - black;
        std::array<double, 4> inks = {0, 0, 0, black};
        for (std::size_t i = 0; i < 3 && rest > 0; ++i)
            inks[i] = (rest - rgb[i]) / rest;
        return {NSDeviceCMYKColorSpace, inks, alpha_};
    }
    return {};
}

}  // namespace TWQuickTime
