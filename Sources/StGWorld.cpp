#include "StGWorld.h"

#include <cstdlib>

#include "Handles.h"
#include "TWLog.h"

namespace TWQuickTime {
namespace {

constexpr OSType kVendor = fourCC("TWVD");
constexpr Fixed kDotsPerInch = 72 * 65536;

}  // namespace

StGWorld::StGWorld(unsigned char* buffer, int width, int height, OSType pixelFormat)
    : mBuffer(buffer), mWidth(width), mHeight(height) {
    mRowBytes = static_cast<int>(static_cast<unsigned>(width) *
                                 (pixelFormat == k24RGBPixelFormat ? 3u : 4u));
    OSErr status = noErr;
    if (width < 1) {
        TWLog("%s: inWidth is 0...", "StGWorld");
        status = paramErr;
    }
    if (height < 1) {
        TWLog("%s: inHeight is 0...", "StGWorld");
        Dispose();
        return;
    }
    if (status == noErr) {
        if (!mBuffer) {
            mBuffer = static_cast<unsigned char*>(std::malloc(static_cast<std::size_t>(mRowBytes) *
                                                              static_cast<std::size_t>(height)));
            mOwnsBuffer = mBuffer != nullptr;
        }
        // Without memory there is no world, but no failure either: on purpose.
        if (mBuffer) {
            const Rect bounds = {0, 0, static_cast<std::int16_t>(height),
                                 static_cast<std::int16_t>(width)};
            status = QTNewGWorldFromPtr(&mGWorld, pixelFormat, &bounds, nullptr, nullptr, 0,
                                        mBuffer, mRowBytes);
            TWLogError(status, "QTNewGWorldFromPtr", "Sources/StGWorld", 101);
        }
    }
    if (status == noErr)
        status = makeImageDescription(pixelFormat);
    if (status != noErr)
        Dispose();
}

StGWorld::~StGWorld() {
    Dispose();
}

OSErr StGWorld::makeImageDescription(OSType pixelFormat) {
    mImageDescription =
        reinterpret_cast<ImageDescriptionHandle>(NewHandle(sizeof(ImageDescription)));
    if (!mImageDescription)
        return MemError();
    ImageDescription& description = **mImageDescription;
    description.idSize = sizeof(ImageDescription);
    description.cType = kRawCodecType;
    description.resvd1 = 0;
    description.resvd2 = 0;
    description.dataRefIndex = 0;
    description.version = 2;
    description.revisionLevel = 0;
    description.vendor = kVendor;
    description.temporalQuality = 0;
    description.spatialQuality = codecLosslessQuality;
    description.width = static_cast<std::int16_t>(mWidth);
    description.height = static_cast<std::int16_t>(mHeight);
    description.hRes = kDotsPerInch;
    description.vRes = kDotsPerInch;
    description.dataSize = static_cast<std::int32_t>(std::int64_t{mRowBytes} * mHeight);
    description.frameCount = 1;
    description.depth = pixelFormat == k24RGBPixelFormat ? 24 : 32;
    description.clutID = -1;
    return noErr;
}

void StGWorld::Dispose() {
    if (mImageDescription) {
        DisposeHandle(reinterpret_cast<Handle>(mImageDescription));
        mImageDescription = nullptr;
    }
    if (mGWorld) {
        DisposeGWorld(mGWorld);
        mGWorld = nullptr;
    }
    if (mOwnsBuffer && mBuffer) {
        std::free(mBuffer);
        mBuffer = nullptr;
    }
}

}  // namespace TWQuickTime
