#include "UQuickTimeComponent.h"

#include "AtomContainers.h"
#include "Handles.h"
#include "MovieExport.h"
#include "TWLog.h"
#include "TWQECSFormat.h"
#include "UQuickTimeAtom.h"

namespace TWQuickTime {
namespace {

constexpr const char* kSourceFile = "Sources/UQuickTimeComponent";
constexpr const char* kNotFound = "%s: Failed to find compoment...";

Component findComponent(OSType type, OSType subType, OSType manufacturer, std::uint32_t flags,
                        std::uint32_t flagsMask, const char* functionName) {
    const ComponentDescription description{type, subType, manufacturer, flags, flagsMask};
    const Component component = FindNextComponent(nullptr, &description);
    if (!component)
        TWLog(kNotFound, functionName);
    return component;
}

using Fault = ComponentInstallationFault;

/// Whether the exporter's own settings name only codecs that exist.
Fault faultOfCodecs(QTAtomContainer container) {
    const SCSpatialSettings video =
        UQuickTimeAtom::GetSpatialSettingsFromAtomContainer(container, true);
    if (video.codecType != 0) {
        CodecInfo info;
        const OSErr status = GetCodecInfo(&info, video.codecType, nullptr);
        if (status != noErr)
            return {Fault::Kind::videoCodec, status, video.codecType};
    }
    std::uint8_t sound[4] = {};
    if (!UQuickTimeAtom::GetDataFromAtomContainer(container, scSoundCompressionType, sound,
                                                  sizeof sound, 0, 0))
        return {};
    const OSType soundType =
        OSType{sound[0]} << 24 | OSType{sound[1]} << 16 | OSType{sound[2]} << 8 | sound[3];
    std::uint8_t name[256] = {};
    const OSErr status = GetCompressionName(soundType, name);
    if (status != noErr)
        return {Fault::Kind::soundCompressor, status, soundType};
    return {};
}

/// Whether the open exporter takes the settings and finds all that they need.
Fault faultOfSettings(ComponentInstance instance, const NSData& settings) {
    OSErr status = UQuickTimeComponent::SetComponentSettings(instance, settings);
    TWLogError(status, "SetExporterSettings", kSourceFile, 125);
    if (status != noErr)
        return {Fault::Kind::settingsRefused, status};
    QTAtomContainer container = nullptr;
    status = static_cast<OSErr>(MovieExportGetSettingsAsAtomContainer(instance, &container));
    TWLogError(status, "MovieExportGetSettingsAsAtomContainer", kSourceFile, 132);
    if (!container)
        TWLog("%s: container is NULL...", "IsComponentInstalled");
    const Fault fault = status == noErr && container ? faultOfCodecs(container)
                                                     : Fault{Fault::Kind::settingsNotGiven, status};
    if (container)
        QTDisposeAtomContainer(container);
    return fault;
}

}  // namespace

Component UQuickTimeComponent::FindComponentWithParameters(OSType inType, OSType inSubType,
                                                           OSType inManufacturer,
                                                           std::uint32_t inFlags,
                                                           std::uint32_t inFlagsMask) {
    return findComponent(inType, inSubType, inManufacturer, inFlags, inFlagsMask,
                         "FindComponentWithParameters");
}

ComponentInstance UQuickTimeComponent::OpenComponentWithParameters(OSType inType, OSType inSubType,
                                                                   OSType inManufacturer,
                                                                   std::uint32_t inFlags,
                                                                   std::uint32_t inFlagsMask) {
    const Component component =
        FindComponentWithParameters(inType, inSubType, inManufacturer, inFlags, inFlagsMask);
    return component ? OpenComponent(component) : nullptr;
}

ComponentInstance UQuickTimeComponent::OpenComponent(OSType inType, OSType inSubType,
                                                     OSType inManufacturer) {
    const Component component =
        findComponent(inType, inSubType, inManufacturer, canMovieExportFromProcedures,
                      canMovieExportFromProcedures, "OpenComponent");
    if (!component) {
        TWLog("%s: Failed to find specified compoment...", "OpenComponent");
        return nullptr;
    }
    return OpenComponent(component);
}

ComponentInstance UQuickTimeComponent::OpenComponent(Component inComponent) {
    if (!inComponent) {
        TWLog("%s: No component specified...", "OpenComponent");
        return nullptr;
    }
    const ComponentInstance instance = TWQuickTime::OpenComponent(inComponent);
    if (!instance)
        TWLog("%s: Failed to open compoment...", "OpenComponent");
    return instance;
}

OSErr UQuickTimeComponent::CloseComponent(ComponentInstance inInstance) {
    if (!inInstance)
        return paramErr;
    const auto status = static_cast<OSErr>(TWQuickTime::CloseComponent(inInstance));
    TWLogError(status, "CloseComponent", kSourceFile, 350);
    return status;
}

OSErr UQuickTimeComponent::CloseComponent(ComponentInstance* ioInstance) {
    if (!ioInstance || !*ioInstance)
        return paramErr;
    const auto status = static_cast<OSErr>(TWQuickTime::CloseComponent(*ioInstance));
    TWLogError(status, "CloseComponent", kSourceFile, 331);
    *ioInstance = nullptr;
    return status;
}

NSData UQuickTimeComponent::GetComponentSettings(ComponentInstance inInstance) {
    QTAtomContainer container = nullptr;
    OSErr status =
        static_cast<OSErr>(MovieExportGetSettingsAsAtomContainer(inInstance, &container));
    TWLogError(status, "MovieExportGetSettingsAsAtomContainer", kSourceFile, 372);
    if (status != noErr || !container)
        return nullptr;
    HLock(container);
    const NSData data =
        NSData::dataWithBytes(*container, static_cast<std::size_t>(GetHandleSize(container)));
    HUnlock(container);
    status = QTDisposeAtomContainer(container);
    TWLogError(status, "QTDisposeAtomContainer", kSourceFile, 382);
    return data;
}

OSErr UQuickTimeComponent::SetComponentSettings(ComponentInstance inInstance,
                                                const NSData& inSettings) {
    Handle handle = NewHandleClear(static_cast<Size>(inSettings.length()));
    // No memory is not reported, on purpose.
    if (!handle)
        return noErr;
    HLock(handle);
    inSettings.getBytes(*handle);
    HUnlock(handle);
    const auto status =
        static_cast<OSErr>(MovieExportSetSettingsFromAtomContainer(inInstance, handle));
    TWLogError(status, "MovieExportSetSettingsFromAtomContainer", kSourceFile, 408);
    DisposeHandle(handle);
    return status;
}

OSErr UQuickTimeComponent::LoadComponentSettingsFromFile(ComponentInstance inInstance,
                                                         const NSString& inPath) {
    return SetComponentSettings(inInstance,
                                NSData::dataWithContentsOfFile(inPath.stringByStandardizingPath()));
}

OSErr UQuickTimeComponent::SaveComponentSettingsToFile(ComponentInstance inInstance,
                                                       const NSString& inPath) {
    const NSData settings = GetComponentSettings(inInstance);
    // Whether the file could be written is not looked at, on purpose.
    if (settings)
        (void)settings.writeToFile(inPath.stringByStandardizingPath(), false);
    return noErr;
}

bool UQuickTimeComponent::IsComponentInstalled(const NSDictionary& inPresetSetting) {
    const auto code = [&](const NSString& key, OSType whenAbsent) {
        const PropertyListValue& value = inPresetSetting.objectForKey(key);
        return value ? static_cast<OSType>(value.intValue()) : whenAbsent;
    };
    return IsComponentInstalled(
        code(TWQECSFormatSettingComponentType, MovieExportType),
        code(TWQECSFormatSettingComponentSubType, 0),
        code(TWQECSFormatSettingComponentManufacturer, kAppleManufacturer),
        inPresetSetting.objectForKey(TWQECSFormatSettingComponentAtomData).dataValue());
}

bool UQuickTimeComponent::IsComponentInstalled(OSType inType, OSType inSubType,
                                               OSType inManufacturer, const NSData& inSettings,
                                               ComponentInstallationFault* outFault) {
    Fault fault{Fault::Kind::exporter, badComponentType};
    if (const ComponentInstance instance = OpenComponent(inType, inSubType, inManufacturer)) {
        fault = faultOfSettings(instance, inSettings);
        CloseComponent(instance);
    }
    if (outFault)
        *outFault = fault;
    return !fault;
}

bool UQuickTimeComponent::IsAppleIntermediateCodecInstalled() {
    // Both are always looked for, so that each one missing is logged.
    const Component compressor = FindComponentWithParameters(
        compressorComponentType, fourCC("icod"), kAppleManufacturer, 0, 0);
    const Component decompressor = FindComponentWithParameters(
        decompressorComponentType, fourCC("icod"), kAppleManufacturer, 0, 0);
    return compressor && decompressor;
}

}  // namespace TWQuickTime
