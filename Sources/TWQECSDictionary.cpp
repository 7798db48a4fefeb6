#include "TWQECSDictionary.h"

#include "TWQECS.h"

namespace TWQuickTime {

void TWQECSDictionary::setObject(std::shared_ptr<TWQECS> preset, const PropertyListValue& forKey) {
    if (!preset || forKey.isNull())
        return;
    const auto [place, isNew] = positions_.try_emplace(forKey, presets_.size());
    if (isNew)
        presets_.push_back(std::move(preset));
    else
        presets_[place->second] = std::move(preset);
}

std::shared_ptr<TWQECS> TWQECSDictionary::objectForKey(const PropertyListValue& key) const {
    const auto found = positions_.find(key);
    return found == positions_.end() ? nullptr : presets_[found->second];
}

void TWQECSDictionary::reserve(std::size_t capacity) {
    presets_.reserve(capacity);
    positions_.reserve(capacity);
}

}  // namespace TWQuickTime
