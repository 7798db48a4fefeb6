// Shows the identifier of a setting as its name, from the preset files ("*.qecs") among the main
// bundle's resources.
//
//     TWQECSSettingIDToNameTransformer names;
//     show(names.transformedValue("h264").stringValue());
//
// Reads the files when it is made, on the calling thread; takes no lock.
#pragma once

#include <optional>
#include <unordered_map>

#include "NSString.h"
#include "NSValueTransformer.h"
#include "PropertyListValue.h"

namespace TWQuickTime {

class TWQT_EXPORT TWQECSSettingIDToNameTransformer : public NSValueTransformer {
  public:
    /// Names by identifier, which is a string or a number.
    using NameDictionary = std::unordered_map<PropertyListValue, NSString>;

    /// Loads the definitions.       (init)
    TWQECSSettingIDToNameTransformer();
    ~TWQECSSettingIDToNameTransformer() override;

    /// Files the name of every setting that has one. A later file replaces names of an earlier one;
    /// a file that cannot be read adds nothing.
    void loadQECSDefinitions();
    const std::optional<NameDictionary>& qecsNameDict() const { return _qecsNameDict; }
    void setQecsNameDict(std::optional<NameDictionary> qecsNameDict);

    /// "NSString".
    NSString transformedValueClass() const override;
    /// No.
    bool allowsReverseTransformation() const override;
    /// The name; the localised "Unknown" for an identifier without one; none for none, or without
    /// a dictionary.       (transformedValue:)
    PropertyListValue transformedValue(const PropertyListValue& value) const override;

  private:
    std::optional<NameDictionary> _qecsNameDict;
};

}  // namespace TWQuickTime
