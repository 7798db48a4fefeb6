// Presets by identifier, in the order in which they were filed.
//
//     TWQECSDictionary presets;
//     presets.setObject(preset, "h264");
//     auto found = presets.objectForKey("h264");
#pragma once

#include <cstddef>
#include <memory>
#include <unordered_map>
#include <vector>

#include "PropertyListValue.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQECS;

class TWQT_EXPORT TWQECSDictionary {
  public:
    /// Identifiers are compared as values: 1 and 1.0 are the same, "1" is another one. A later
    /// preset of an equal identifier takes the earlier one's place. Null is not filed.
    ///       (setObject:forKey:)
    void setObject(std::shared_ptr<TWQECS> preset, const PropertyListValue& forKey);
    /// Null when there is none.       (objectForKey:)
    std::shared_ptr<TWQECS> objectForKey(const PropertyListValue& key) const;
    std::size_t count() const { return presets_.size(); }
    const std::vector<std::shared_ptr<TWQECS>>& allValues() const { return presets_; }
    /// Makes room for that many presets.
    void reserve(std::size_t capacity);

  private:
    std::vector<std::shared_ptr<TWQECS>> presets_;
    std::unordered_map<PropertyListValue, std::size_t> positions_;
};

}  // namespace TWQuickTime
