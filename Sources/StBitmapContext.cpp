#include "StBitmapContext.h"

#include <cstdlib>

#include "CGImageDestination.h"
#include "NSURL.h"
#include "TWLog.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

StBitmapContext::StBitmapContext(unsigned char* buffer, int width, int height, int rowBytes,
                                 CMProfileRef profile)
    : mBuffer(buffer), mWidth(width), mHeight(height), mRowBytes(rowBytes) {
    OSErr status = noErr;
    if (width < 1) {
        TWLog("%s: inWidth is 0...", "StBitmapContext");
        status = paramErr;
    }
    if (height < 1) {
        TWLog("%s: inHeight is 0...", "StBitmapContext");
        status = paramErr;
    }
    if (mRowBytes < 1 && !mBuffer)
        mRowBytes = static_cast<int>((static_cast<unsigned>(width) * 4 + 15) & ~15u);
    if (status != noErr)
        return;
    if (!mBuffer) {
        mBuffer = static_cast<unsigned char*>(
            std::malloc(static_cast<std::size_t>(mRowBytes) * static_cast<std::size_t>(height)));
        mOwnsBuffer = mBuffer != nullptr;
        if (!mBuffer) {
            TWLog("%s: Failed to allocte buffer...", "StBitmapContext");
            return;
        }
    }
    mColorSpace =
        profile ? CGColorSpaceCreateWithPlatformColorSpace(profile) : CGColorSpaceCreateDeviceRGB();
    if (!mColorSpace) {
        TWLog("%s: Failed to create color space...", "StBitmapContext");
        return;
    }
    // A caller's buffer with row bytes below 1 makes no context: on purpose.
    if (mRowBytes > 0)
        mContext = CGBitmapContextCreate(
            mBuffer, static_cast<std::size_t>(width), static_cast<std::size_t>(height), 8,
            static_cast<std::size_t>(mRowBytes), mColorSpace, kCGImageAlphaNoneSkipFirst);
    if (!mContext)
        TWLog("%s: Failed to create bitmap context...", "StBitmapContext");
}

StBitmapContext::~StBitmapContext() {
    CGContextRelease(mContext);
    CGColorSpaceRelease(mColorSpace);
    if (mOwnsBuffer)
        std::free(mBuffer);
}

void StBitmapContext::EraseToColor(const NSColor& color) {
    const NSColor rgb = color.colorUsingColorSpaceName(NSCalibratedRGBColorSpace);
    CGContextSetRGBFillColor(mContext, rgb.redComponent(), rgb.greenComponent(),
                             rgb.blueComponent(), rgb.alphaComponent());
    CGContextFillRect(mContext, CGRectMake(0, 0, mWidth, mHeight));
}

void StBitmapContext::SavePNG(const NSString& path) {
    if (path.isNil())
        return;
    CGImageRef image = CGBitmapContextCreateImage(mContext);
    if (!image)
        return;
    CGImageDestinationRef destination =
        CGImageDestinationCreateWithURL(NSURL::fileURLWithPath(path), kUTTypePNG, 1);
    CGImageDestinationAddImage(destination, image);
    CGImageDestinationFinalize(destination);
    CGImageDestinationRelease(destination);
    CGImageRelease(image);
}

}  // namespace TWQuickTime
