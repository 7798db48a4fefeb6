// Shows the subtype of a movie exporter as whether it has a settings dialog.
//
//     TWQuickTimeComponentHasUITransformer hasDialog;
//     button.setEnabled(hasDialog.transformedValue(subtype).boolValue());
#pragma once

#include "NSString.h"
#include "NSValueTransformer.h"
#include "PropertyListValue.h"

namespace TWQuickTime {

class TWQT_EXPORT TWQuickTimeComponentHasUITransformer : public NSValueTransformer {
  public:
    /// "NSNumber".
    NSString transformedValueClass() const override;
    /// No.
    bool allowsReverseTransformation() const override;
    /// Always a boolean: no for none, and when no exporter to files has the subtype.
    ///     (transformedValue:)
    PropertyListValue transformedValue(const PropertyListValue& value) const override;
};

}  // namespace TWQuickTime
