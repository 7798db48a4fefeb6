// What stands behind the references of the graphics calls.
#pragma once

#include <memory>
#include <span>

#include "CGColorSpace.h"
#include "CGContext.h"
#include "CGImage.h"
#include "CGImageDestination.h"
#include "CountedObject.h"
#include "Engines/image/PixelView.h"
#include "Engines/image/StillImage.h"
#include "NSData.h"
#include "NSURL.h"

namespace TWQuickTime {

struct CMProfile : CountedObject {
    NSData icc;
};

struct CGColorSpaceRecord : CountedObject {
    NSData icc;  ///< nil for device RGB
};

struct CGDataProviderRecord : CountedObject {
    NSData data;
};

struct CGImageRecord : CountedObject {
    NSData
        data;  ///< the encoded bytes that the picture looks at; nil for one that holds its pixels
    std::unique_ptr<image::StillImage> picture;
    NSData icc;  ///< the profile of a picture that holds its pixels; nil for device RGB
};

struct CGContextRecord : CountedObject {
    image::PixelView pixels;
    image::AlphaKind alpha = image::AlphaKind::skipped;
    CGColorSpaceRef space = nullptr;
    double fill[4] = {0, 0, 0, 1};
    bool shouldAntialias = true;
    bool allowsAntialiasing = true;
    ~CGContextRecord();
};

struct CGImageDestinationRecord : CountedObject {
    NSString path;
    CGImageRef image = nullptr;
    ~CGImageDestinationRecord();
};

}  // namespace TWQuickTime
