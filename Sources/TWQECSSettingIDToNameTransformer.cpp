#include "TWQECSSettingIDToNameTransformer.h"

#include "NSBundle.h"
#include "TWQECS.h"
#include "TWQECSReader.h"
#include "TWQuickTimeBundle.h"

namespace TWQuickTime {

TWQECSSettingIDToNameTransformer::TWQECSSettingIDToNameTransformer() {
    loadQECSDefinitions();
}

TWQECSSettingIDToNameTransformer::~TWQECSSettingIDToNameTransformer() = default;

void TWQECSSettingIDToNameTransformer::loadQECSDefinitions() {
    NameDictionary names;
    for (const PropertyListValue& path :
         NSBundle::mainBundle()->pathsForResourcesOfType("qecs", nullptr)) {
        const auto reader =
            TWQECSReader::qecsReaderWithPath(path.stringValue().stringByExpandingTildeInPath());
        if (!reader)
            continue;
        for (const std::shared_ptr<TWQECS>& setting : reader->componentSettings())
            if (setting->identifier() && setting->name())
                names[setting->identifier()] = setting->name();
    }
    setQecsNameDict(std::move(names));
}

void TWQECSSettingIDToNameTransformer::setQecsNameDict(std::optional<NameDictionary> qecsNameDict) {
    _qecsNameDict = std::move(qecsNameDict);
}

NSString TWQECSSettingIDToNameTransformer::transformedValueClass() const {
    return "NSString";
}

bool TWQECSSettingIDToNameTransformer::allowsReverseTransformation() const {
    return false;
}

PropertyListValue TWQECSSettingIDToNameTransformer::transformedValue(
    const PropertyListValue& value) const {
    if (!value || !_qecsNameDict)
        return nullptr;
    if (const auto name = _qecsNameDict->find(value); name != _qecsNameDict->end())
        return name->second;
    const auto bundle = NSBundle::bundleWithIdentifier(TWQuickTimeBundleIdentifier);
    return bundle ? bundle->localizedStringForKey("Unknown", "", TWQuickTimeStringsTable)
                  : NSString("Unknown");
}

}  // namespace TWQuickTime
