// Components: finding, opening and closing them, and moving an exporter's settings in and out as
// the flat bytes of its atom container.
//
//     ComponentInstance exporter =
//         UQuickTimeComponent::OpenComponent(fourCC("spit"), fourCC("MooV"), fourCC("appl"));
//     UQuickTimeComponent::SetComponentSettings(exporter, data);
//     …
//     UQuickTimeComponent::CloseComponent(&exporter);
//
// Failures are logged and come back as statuses, null, nil or false; nothing throws. No lock is
// taken: callers that use components on several threads serialise them.
#pragma once

#include "ComponentInstallationFault.h"
#include "Components.h"
#include "NSData.h"
#include "NSString.h"
#include "PropertyListValue.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class TWQT_EXPORT UQuickTimeComponent {
  public:
    /// The first match, 0 in a code matching any; null and a log line when there is none.
    static Component FindComponentWithParameters(OSType inType, OSType inSubType,
                                                 OSType inManufacturer, std::uint32_t inFlags,
                                                 std::uint32_t inFlagsMask);
    static ComponentInstance OpenComponentWithParameters(OSType inType, OSType inSubType,
                                                         OSType inManufacturer,
                                                         std::uint32_t inFlags,
                                                         std::uint32_t inFlagsMask);
    /// Looks only among components that export from procedures (flag 0x8000).
    static ComponentInstance OpenComponent(OSType inType, OSType inSubType, OSType inManufacturer);
    static ComponentInstance OpenComponent(Component inComponent);
    /// paramErr for null.
    static OSErr CloseComponent(ComponentInstance inInstance);
    /// The same, and the variable is null afterwards whatever the status.
    static OSErr CloseComponent(ComponentInstance* ioInstance);

    /// All bytes of the settings container; nil on failure.
    static NSData GetComponentSettings(ComponentInstance inInstance);
    /// Nil data are handed over as an empty container. Without memory nothing happens, and the
    /// status is 0 (on purpose).
    static OSErr SetComponentSettings(ComponentInstance inInstance, const NSData& inSettings);
    /// An unreadable file is taken for an empty container.
    static OSErr LoadComponentSettingsFromFile(ComponentInstance inInstance,
                                               const NSString& inPath);
    /// Always 0, also when nothing was written (on purpose).
    static OSErr SaveComponentSettingsToFile(ComponentInstance inInstance, const NSString& inPath);

    /// Whether the exporter of a preset's entry exists and takes its settings, and all codecs that
    /// they name exist. Keys as in TWQECSFormat.h; without a type 'spit', without a manufacturer
    /// 'appl'.
    static bool IsComponentInstalled(const NSDictionary& inPresetSetting);
    /// @param outFault  told what is missing, and nothing when the result is true; may be null
    static bool IsComponentInstalled(OSType inType, OSType inSubType, OSType inManufacturer,
                                     const NSData& inSettings,
                                     ComponentInstallationFault* outFault = nullptr);
    /// Whether both compressor and decompressor of the type 'icod' exist.
    static bool IsAppleIntermediateCodecInstalled();
};

}  // namespace TWQuickTime
