#include "CGColorSpace.h"

#include "Engines/image/ColorTransform.h"
#include "Private/GraphicsRecords.h"

namespace TWQuickTime {

CMProfileRef CMOpenProfile(const NSData& iccData) {
    if (!image::isProfile(iccData.bytes()))
        return nullptr;
    auto* profile = new CMProfile;
    profile->icc = iccData;
    return profile;
}

void CMCloseProfile(CMProfileRef profile) {
    releaseCounted(profile);
}

CGColorSpaceRef CGColorSpaceCreateDeviceRGB() {
    return new CGColorSpaceRecord;
}

CGColorSpaceRef CGColorSpaceCreateWithPlatformColorSpace(CMProfileRef profile) {
    if (!profile || !image::isRGBProfile(profile->icc.bytes()))
        return nullptr;
    auto* space = new CGColorSpaceRecord;
    space->icc = profile->icc;
    return space;
}

CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space) {
    return retainCounted(space);
}

void CGColorSpaceRelease(CGColorSpaceRef space) {
    releaseCounted(space);
}

NSData CGColorSpaceCopyICCProfile(CGColorSpaceRef space) {
    return space ? space->icc : NSData();
}

}  // namespace TWQuickTime
