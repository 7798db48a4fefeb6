// What the numbers of a colour mean: device RGB, or RGB by an ICC profile.
//
// Spaces and profiles are counted references: every Create or Open is paired with one Release or
// Close, and whatever is drawn with them keeps its own. Null is accepted everywhere and gives a
// neutral answer. Calls may be made on any thread.
//
//     CMProfileRef profile = CMOpenProfile(NSData::dataWithContentsOfFile(path));
//     CGColorSpaceRef space = CGColorSpaceCreateWithPlatformColorSpace(profile);
//     …
//     CGColorSpaceRelease(space);
//     CMCloseProfile(profile);
#pragma once

#include "NSData.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// A colour profile (ICC.1).
using CMProfileRef = struct CMProfile*;
using CGColorSpace = struct CGColorSpaceRecord;
using CGColorSpaceRef = CGColorSpace*;

/// A profile from the bytes of an ICC file; null for bytes that are no profile.
TWQT_EXPORT CMProfileRef CMOpenProfile(const NSData& iccData);
TWQT_EXPORT void CMCloseProfile(CMProfileRef profile);

/// The display's RGB, taken as sRGB (IEC 61966-2-1).
TWQT_EXPORT CGColorSpaceRef CGColorSpaceCreateDeviceRGB();
/// The profile's space; null for a null profile and for one that is not for RGB.
TWQT_EXPORT CGColorSpaceRef CGColorSpaceCreateWithPlatformColorSpace(CMProfileRef profile);
TWQT_EXPORT CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space);
TWQT_EXPORT void CGColorSpaceRelease(CGColorSpaceRef space);
/// The profile's bytes; nil for device RGB.
TWQT_EXPORT NSData CGColorSpaceCopyICCProfile(CGColorSpaceRef space);

}  // namespace TWQuickTime
