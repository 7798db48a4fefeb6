// Why an exporter, or what its settings ask for, is not installed.
//
// Made by UQuickTimeComponent::IsComponentInstalled and kept by presets, so that a host can tell
// its user more than "not installed".
//
//     if (!setting->isInstalled())
//         show(setting->installationFault().description());   // "settings refused"
#pragma once

#include "NSString.h"
#include "TWQTExport.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

struct TWQT_EXPORT ComponentInstallationFault {
    enum class Kind {
        none,               ///< nothing is missing
        exporter,           ///< no such exporter, or it does not open
        settingsRefused,    ///< the exporter does not take the settings
        settingsNotGiven,   ///< the exporter does not hand its settings back
        videoCodec,         ///< no codec of the type that the settings name
        soundCompressor,    ///< no sound compressor of the type that the settings name
        stepWithoutPreset,  ///< a sequence has a step none of whose fallbacks is installed
    };

    Kind kind = Kind::none;
    OSStatus status = noErr;  ///< of the call that failed, as the toolbox gives it
    OSType codec = 0;         ///< the type that is missing, for the two kinds of codecs

    explicit operator bool() const { return kind != Kind::none; }
    /// A few English words without a full stop; "installed" for no fault.
    NSString description() const;
};

}  // namespace TWQuickTime
