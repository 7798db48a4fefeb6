// Turns a value into another one for display; user interfaces bind to transformers by name.
//
//     NSValueTransformer::setValueTransformer(std::make_shared<CodeToName>(), "CodeToName");
//     NSValueTransformer::valueTransformerForName("CodeToName")->transformedValue(code);
#pragma once

#include <memory>

#include "ClassRegistry.h"
#include "NSObject.h"
#include "PropertyListValue.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT NSValueTransformer : public NSObject {
  public:
    /// Name of the class of the results, as "NSString" or "NSNumber".       (transformedValueClass)
    virtual NSString transformedValueClass() const = 0;
    /// Whether reverseTransformedValue works; true unless a class says otherwise.
    virtual bool allowsReverseTransformation() const { return true; }
    /// @param value  null for none       (transformedValue:)
    /// @return null for none
    virtual PropertyListValue transformedValue(const PropertyListValue& value) const = 0;
    /// By default the same as transformedValue. Raises NSInvalidArgumentException when the class
    /// allows no reverse transformation.       (reverseTransformedValue:)
    virtual PropertyListValue reverseTransformedValue(const PropertyListValue& value) const;

    /// Null removes the name. Any thread.       (setValueTransformer:forName:)
    static void setValueTransformer(std::shared_ptr<NSValueTransformer> transformer,
                                    const NSString& forName);
    /// The transformer of that name; else one of the class that entered itself under the name,
    /// which then keeps it; else null. Any thread.       (valueTransformerForName:)
    static std::shared_ptr<NSValueTransformer> valueTransformerForName(const NSString& name);
    /// Under which transformer classes enter themselves.
    using Classes = ClassRegistry<std::shared_ptr<NSValueTransformer>()>;
};

}  // namespace TWQuickTime
