#include "NSValueTransformer.h"

#include "FormatString.h"
#include "NSException.h"
#include "NSMutableDictionary.h"

namespace TWQuickTime {
namespace {

NSMutableDictionary<NSValueTransformer>& transformersByName() {
    static auto& transformers = *new NSMutableDictionary<NSValueTransformer>();
    return transformers;
}

}  // namespace

PropertyListValue NSValueTransformer::reverseTransformedValue(
    const PropertyListValue& value) const {
    if (!allowsReverseTransformation())
        throw NSException(NSInvalidArgumentException,
                          formatString("%@ allows no reverse transformation", className()));
    return transformedValue(value);
}

void NSValueTransformer::setValueTransformer(std::shared_ptr<NSValueTransformer> transformer,
                                             const NSString& forName) {
    transformersByName().setObject(std::move(transformer), forName);
}

std::shared_ptr<NSValueTransformer> NSValueTransformer::valueTransformerForName(
    const NSString& name) {
    if (auto known = transformersByName().objectForKey(name))
        return known;
    const auto make = Classes::classNamed(name);
    return make ? transformersByName().setObjectIfAbsent(make(), name) : nullptr;
}

}  // namespace TWQuickTime
