// Shows the subtype of a movie exporter as the exporter's name.
//
//     TWQuickTimeComponentNameTransformer names;
//     show(names.transformedValue(subtype).stringValue());
#pragma once

#include "NSString.h"
#include "NSValueTransformer.h"
#include "PropertyListValue.h"

namespace TWQuickTime {

class TWQT_EXPORT TWQuickTimeComponentNameTransformer : public NSValueTransformer {
  public:
    /// "NSString".
    NSString transformedValueClass() const override;
    /// No.
    bool allowsReverseTransformation() const override;
    /// None for none, and when no exporter to files has the subtype.       (transformedValue:)
    PropertyListValue transformedValue(const PropertyListValue& value) const override;
};

}  // namespace TWQuickTime
