#include "TWQECSSequenceIDToNameTransformer.h"

#include "Private/QECSNames.h"

namespace TWQuickTime {

TWQECSSequenceIDToNameTransformer::TWQECSSequenceIDToNameTransformer() {
    loadQECSDefinitions();
}

TWQECSSequenceIDToNameTransformer::~TWQECSSequenceIDToNameTransformer() = default;

void TWQECSSequenceIDToNameTransformer::loadQECSDefinitions() {
    setQecsNameDict(namesInMainBundle(&TWQECSReader::componentSettingSequences));
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
    return nameOfIdentifier(value, _qecsNameDict);
}

}  // namespace TWQuickTime
