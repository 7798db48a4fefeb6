#include "TWPlistLocalizer.h"

#include <optional>
#include <utility>
#include <vector>

namespace TWQuickTime {
namespace {

/// Makes changed copies only of what holds a translated text; the rest stays shared.
class Translator {
  public:
    explicit Translator(NSDictionary table) : table_(std::move(table)) {}

    /// Nothing when the value needs no change.
    std::optional<PropertyListValue> changed(const PropertyListValue& value) const {
        switch (value.kind()) {
            case PropertyListValue::Kind::dictionary:
                return changedDictionary(value.dictionaryValue());
            case PropertyListValue::Kind::array:
                return changedArray(value.arrayValue());
            default:
                return std::nullopt;
        }
    }

  private:
    std::optional<PropertyListValue> changedEntry(const NSDictionary::Entry& entry) const {
        const auto& [key, value] = entry;
        if (!value.isString())
            return changed(value);
        if (key != "Name" && key != "Comment")
            return std::nullopt;
        const PropertyListValue& translation = table_.objectForKey(value.stringValue());
        return translation.isString() ? std::optional(translation) : std::nullopt;
    }

    std::optional<PropertyListValue> changedDictionary(NSDictionary dictionary) const {
        const NSDictionary original = dictionary;
        bool isChanged = false;
        for (const NSDictionary::Entry& entry : original) {
            if (std::optional<PropertyListValue> value = changedEntry(entry)) {
                dictionary.setObject(std::move(*value), entry.first);
                isChanged = true;
            }
        }
        return isChanged ? std::optional<PropertyListValue>(std::move(dictionary)) : std::nullopt;
    }

    std::optional<PropertyListValue> changedArray(const NSArray& array) const {
        std::vector<PropertyListValue> values;
        for (std::size_t i = 0; i < array.count(); ++i) {
            std::optional<PropertyListValue> value = changed(array.objectAtIndex(i));
            if (value && values.empty())
                values.assign(array.begin(), array.end());
            if (value)
                values[i] = std::move(*value);
        }
        return values.empty() ? std::nullopt
                              : std::optional<PropertyListValue>(NSArray(std::move(values)));
    }

    NSDictionary table_;
};

}  // namespace

NSDictionary TWPlistLocalizer::localizePlist(const NSDictionary& plist, const NSString& withTable,
                                             const std::shared_ptr<NSBundle>& inBundle) {
    if (plist.isNil() || !inBundle)
        return plist;
    NSDictionary table = inBundle->localizedStringsOfTable(withTable);
    if (table.count() == 0)
        return plist;
    const std::optional<PropertyListValue> translated =
        Translator(std::move(table)).changed(PropertyListValue(plist));
    return translated ? translated->dictionaryValue() : plist;
}

}  // namespace TWQuickTime
