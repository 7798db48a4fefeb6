// A colour as a value: components 0…1 in a named colour space.
//
//     NSColor red = NSColor::colorWithCalibratedRed(1, 0, 0, 1);
//     NSColor rgb = NSColor::colorWithDeviceCyan(0, 1, 1, 0,
//     1).colorUsingColorSpaceName(NSCalibratedRGBColorSpace);
#pragma once

#include <array>

#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

inline constexpr const char* NSCalibratedRGBColorSpace = "NSCalibratedRGBColorSpace";
inline constexpr const char* NSDeviceRGBColorSpace = "NSDeviceRGBColorSpace";
inline constexpr const char* NSCalibratedWhiteColorSpace = "NSCalibratedWhiteColorSpace";
inline constexpr const char* NSDeviceCMYKColorSpace = "NSDeviceCMYKColorSpace";

class TWQT_EXPORT NSColor {
  public:
    /// Nil.
    NSColor() = default;
    static NSColor colorWithCalibratedRed(double red, double green, double blue, double alpha);
    static NSColor colorWithDeviceRed(double red, double green, double blue, double alpha);
    static NSColor colorWithCalibratedWhite(double white, double alpha);
    static NSColor colorWithDeviceCyan(double cyan, double magenta, double yellow, double black,
                                       double alpha);

    bool isNil() const { return space_.isNil(); }
    explicit operator bool() const { return !isNil(); }
    const NSString& colorSpaceName() const { return space_; }
    /// The colour in another of the spaces above; nil for an unknown one.
    /// (colorUsingColorSpaceName:)
    NSColor colorUsingColorSpaceName(const NSString& name) const;
    /// 0 in spaces without the component.
    double redComponent() const { return isRGB() ? components_[0] : 0; }
    double greenComponent() const { return isRGB() ? components_[1] : 0; }
    double blueComponent() const { return isRGB() ? components_[2] : 0; }
    double whiteComponent() const {
        return space_ == NSCalibratedWhiteColorSpace ? components_[0] : 0;
    }
    /// 1 for nil.
    double alphaComponent() const { return alpha_; }

    friend bool operator==(const NSColor&, const NSColor&) = default;

  private:
    NSColor(const char* space, std::array<double, 4> components, double alpha);
    bool isRGB() const;

    NSString space_;
    std::array<double, 4> components_{};
    double alpha_ = 1;
};

}  // namespace TWQuickTime
