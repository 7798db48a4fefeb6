#include "ComponentInstallationFault.h"

#include "FormatString.h"
#include "OSTypeStrings.h"

namespace TWQuickTime {

NSString ComponentInstallationFault::description() const {
    switch (kind) {
        case Kind::none:
            return "installed";
        case Kind::exporter:
            return "not installed";
        case Kind::settingsRefused:
            return "settings refused";
        case Kind::settingsNotGiven:
            return "settings not handed back";
        case Kind::videoCodec:
            return formatString("video codec '%@' not installed", QTStringForOSType(codec));
        case Kind::soundCompressor:
            return formatString("sound codec '%@' not installed", QTStringForOSType(codec));
        case Kind::stepWithoutPreset:
            return "a step has no installed fallback";
    }
    return nullptr;
}

}  // namespace TWQuickTime
