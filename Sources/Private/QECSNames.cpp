#include "Private/QECSNames.h"

#include "NSBundle.h"
#include "TWQECS.h"
#include "TWQuickTimeBundle.h"

namespace TWQuickTime {

QECSNames namesInMainBundle(std::vector<std::shared_ptr<TWQECS>> (TWQECSReader::*presetsOf)()
                                const) {
    QECSNames names;
    for (const PropertyListValue& path :
         NSBundle::mainBundle()->pathsForResourcesOfType("qecs", nullptr)) {
        const auto reader =
            TWQECSReader::qecsReaderWithPath(path.stringValue().stringByExpandingTildeInPath());
        if (!reader)
            continue;
        for (const std::shared_ptr<TWQECS>& preset : ((*reader).*presetsOf)())
            if (preset->identifier() && preset->name())
                names[preset->identifier()] = preset->name();
    }
    return names;
}

PropertyListValue nameOfIdentifier(const PropertyListValue& identifier,
                                   const std::optional<QECSNames>& names) {
    if (!identifier || !names)
        return nullptr;
    if (const auto name = names->find(identifier); name != names->end())
        return name->second;
    const auto bundle = NSBundle::bundleWithIdentifier(TWQuickTimeBundleIdentifier);
    return bundle ? bundle->localizedStringForKey("Unknown", "", TWQuickTimeStringsTable)
                  : NSString("Unknown");
}

}  // namespace TWQuickTime
