#include "TWQECSSettingIDToNameTransformer.h"

#include "Private/QECSNames.h"

namespace TWQuickTime {

TWQECSSettingIDToNameTransformer::TWQECSSettingIDToNameTransformer() {
    loadQECSDefinitions();
}

TWQECSSettingIDToNameTransformer::~TWQECSSettingIDToNameTransformer() = default;

void TWQECSSettingIDToNameTransformer::loadQECSDefinitions() {
    setQecsNameDict(namesInMainBundle(&TWQECSReader::componentSettings));
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
    return nameOfIdentifier(value, _qecsNameDict);
}

}  // namespace TWQuickTime
