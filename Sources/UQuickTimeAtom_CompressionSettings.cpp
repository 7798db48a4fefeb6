#include <cstring>
#include <type_traits>

#include "CodecInformation.h"
#include "NSBundle.h"
#include "TWLog.h"
#include "TWQuickTimeBundle.h"
#include "UQuickTimeAtom.h"

namespace TWQuickTime {
namespace {

/// Reverses the bytes on a little-endian host, does nothing on a big-endian one.
template <class Number>
Number swapped(Number value) {
    std::uint8_t bytes[sizeof(Number)];
    std::memcpy(bytes, &value, sizeof bytes);
    std::make_unsigned_t<Number> result = 0;
    for (const std::uint8_t byte : bytes)
        result = static_cast<std::make_unsigned_t<Number>>(result << 8 | byte);
    return static_cast<Number>(result);
}

/// The zeroed record, filled from its atom; `found` tells whether there is one.
template <class Record>
Record readRecord(QTAtomContainer container, OSType type, bool& found) {
    Record record;
    found = UQuickTimeAtom::GetDataFromAtomContainer(container, type, &record, sizeof record, 0, 0);
    return record;
}

}  // namespace

SCSpatialSettings UQuickTimeAtom::SpatialSettings_BtoN(SCSpatialSettings inSettings) {
    inSettings.codecType = swapped(inSettings.codecType);
    inSettings.codec = swapped(inSettings.codec);
    inSettings.depth = swapped(inSettings.depth);
    inSettings.spatialQuality = swapped(inSettings.spatialQuality);
    return inSettings;
}

SCSpatialSettings UQuickTimeAtom::SpatialSettings_NtoB(SCSpatialSettings inSettings) {
    return SpatialSettings_BtoN(inSettings);
}

SCTemporalSettings UQuickTimeAtom::TemporalSettings_BtoN(SCTemporalSettings inSettings) {
    inSettings.temporalQuality = swapped(inSettings.temporalQuality);
    inSettings.frameRate = swapped(inSettings.frameRate);
    inSettings.keyFrameRate = swapped(inSettings.keyFrameRate);
    return inSettings;
}

SCTemporalSettings UQuickTimeAtom::TemporalSettings_NtoB(SCTemporalSettings inSettings) {
    return TemporalSettings_BtoN(inSettings);
}

SCDataRateSettings UQuickTimeAtom::DataRateSettings_BtoN(SCDataRateSettings inSettings) {
    inSettings.dataRate = swapped(inSettings.dataRate);
    inSettings.frameDuration = swapped(inSettings.frameDuration);
    inSettings.minSpatialQuality = swapped(inSettings.minSpatialQuality);
    inSettings.minTemporalQuality = swapped(inSettings.minTemporalQuality);
    return inSettings;
}

SCDataRateSettings UQuickTimeAtom::DataRateSettings_NtoB(SCDataRateSettings inSettings) {
    return DataRateSettings_BtoN(inSettings);
}

SCSpatialSettings UQuickTimeAtom::GetSpatialSettingsFromAtomContainer(QTAtomContainer inContainer,
                                                                      bool inConvertToNative) {
    bool found = false;
    const auto record = readRecord<SCSpatialSettings>(inContainer, scSpatialSettingsType, found);
    return found && inConvertToNative ? SpatialSettings_BtoN(record) : record;
}

SCTemporalSettings UQuickTimeAtom::GetTemporalSettingsFromAtomContainer(QTAtomContainer inContainer,
                                                                        bool inConvertToNative) {
    bool found = false;
    const auto record = readRecord<SCTemporalSettings>(inContainer, scTemporalSettingsType, found);
    return found && inConvertToNative ? TemporalSettings_BtoN(record) : record;
}

SCDataRateSettings UQuickTimeAtom::GetDataRateSettingsFromAtomContainer(QTAtomContainer inContainer,
                                                                        bool inConvertToNative) {
    bool found = false;
    const auto record = readRecord<SCDataRateSettings>(inContainer, scDataRateSettingsType, found);
    return found && inConvertToNative ? DataRateSettings_BtoN(record) : record;
}

NSString UQuickTimeAtom::GetCodecName(CodecType inCodecType) {
    CodecInfo info;
    const OSErr infoStatus = GetCodecInfo(&info, inCodecType, nullptr);
    const NSStringEncoding encoding =
        CFStringConvertEncodingToNSStringEncoding(GetApplicationTextEncoding());
    if (infoStatus == noErr)
        return stringWithPascalString(info.typeName, encoding);
    std::uint8_t name[256] = {};
    const OSErr nameStatus = GetCompressionName(inCodecType, name);
    TWLogError(nameStatus, "GetCompressionName", "Sources/UQuickTimeAtom", 867);
    if (nameStatus == noErr)
        return stringWithPascalString(name, encoding);
    const auto bundle = NSBundle::bundleWithIdentifier(TWQuickTimeBundleIdentifier);
    // Without the bundle an unknown name is still told from a nil one.
    return bundle ? bundle->localizedStringForKey("Unknown", "", TWQuickTimeStringsTable)
                  : NSString("Unknown");
}

}  // namespace TWQuickTime
