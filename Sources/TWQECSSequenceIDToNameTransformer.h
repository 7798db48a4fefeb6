// Shows the identifier of a sequence as its name, from the preset files ("*.qecs") among the main
// bundle's resources.
//
//     TWQECSSequenceIDToNameTransformer names;
//     show(names.transformedValue("web").stringValue());
//
// Reads the files when it is made, on the calling thread; takes no lock.
#pragma once

#include <optional>
#include <unordered_map>

#include "NSObject.h"
#include "NSString.h"
#include "PropertyListValue.h"

namespace TWQuickTime {

/// No NSValueTransformer, on purpose: it only offers the same three operations.
class TWQT_EXPORT TWQECSSequenceIDToNameTransformer : public NSObject {
  public:
    /// Names by identifier, which is a string or a number.
    using NameDictionary = std::unordered_map<PropertyListValue, NSString>;

    /// Loads the definitions.       (init)
    TWQECSSequenceIDToNameTransformer();
    ~TWQECSSequenceIDToNameTransformer() override;

    /// Files the name of every sequence that has one. A later file replaces names of an earlier
    /// one; a file that cannot be read adds nothing.
    void loadQECSDefinitions();
    const std::optional<NameDictionary>& qecsNameDict() const { return _qecsNameDict; }
    void setQecsNameDict(std::optional<NameDictionary> qecsNameDict);

    /// "NSString".
    NSString transformedValueClass() const;
    /// No.
    bool allowsReverseTransformation() const;
    /// The name; the localised "Unknown" for an identifier without one; none for none, or without
    /// a dictionary.       (transformedValue:)
    PropertyListValue transformedValue(const PropertyListValue& value) const;

  private:
    std::optional<NameDictionary> _qecsNameDict;
};

}  // namespace TWQuickTime
