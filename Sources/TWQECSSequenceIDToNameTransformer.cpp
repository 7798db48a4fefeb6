#include "TWQECSSequenceIDToNameTransformer.h"

#include "NSBundle.h"
#include "TWQECS.h"
#include "TWQECSReader.h"
#include "TWQuickTimeBundle.h"

namespace TWQuickTime {

TWQECSSequenceIDToNameTransformer::TWQECSSequenceIDToNameTransformer() {
    loadQECSDefinitions();
}

TWQECSSequenceIDToNameTransformer::~TWQECSSequenceIDToNameTransformer() = default;

void TWQECSSequenceIDToNameTransformer::loadQECSDefinitions() {
    NameDictionary names;
    for (const PropertyListValue& path :
         NSBundle::mainBundle()->pathsForResourcesOfType("qecs", nullptr)) {
        const auto reader =
            TWQECSReader::qecsReaderWithPath(path.stringValue().stringByExpandingTildeInPath());
        if (!reader)
            continue;
        for (const std::shared_ptr<TWQECS>& sequence : reader->componentSettingSequences())
            if (sequence->identifier() && sequence->name())
                names[sequence->identifier()] = sequence->name();
    }
    setQecsNameDict(std::move(names));
}

void TWQECSSequenceIDToNameTransformer::setQecsNameDict(
    std::optional<NameDictionary> qecsNameDict) {
    _qecsNameDict = std::move(qecsNameDict);
}

NSString TWQECSSequenceIDToNameTransformer::transformedValueClass() const {
    return "NSString";
}

bool TWQECSSequenceIDToNameTransformer::allowsReverseTransformation() const {
    return false;
}

PropertyListValue TWQECSSequenceIDToNameTransformer::transformedValue(
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
