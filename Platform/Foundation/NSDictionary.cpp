#include <algorithm>
#include <unordered_map>

#include "Private/SharedOwnership.h"
#include "PropertyListValue.h"

namespace TWQuickTime {
namespace {

const PropertyListValue noValue;

/// Up to this many keys, comparing them one by one is faster than hashing.
constexpr std::size_t unindexedKeysMaximum = 8;

/// For few entries: compares each with each.
bool haveDistinctKeys(const std::vector<NSDictionary::Entry>& entries) noexcept {
    for (auto entry = entries.begin(); entry != entries.end(); ++entry)
        for (auto earlier = entries.begin(); earlier != entry; ++earlier)
            if (earlier->first == entry->first)
                return false;
    return true;
}

}  // namespace

struct NSDictionary::Rep {
    static constexpr std::size_t notFound = static_cast<std::size_t>(-1);

    std::size_t find(const NSString& key) const noexcept {
        if (entries.size() > unindexedKeysMaximum) {
            const auto found = indexByKey.find(key);
            return found == indexByKey.end() ? notFound : found->second;
        }
        const auto found = std::ranges::find(entries, key, &Entry::first);
        return found == entries.end() ? notFound
                                      : static_cast<std::size_t>(found - entries.begin());
    }

    void append(NSString key, PropertyListValue value) {
        entries.emplace_back(std::move(key), std::move(value));
        if (entries.size() == unindexedKeysMaximum + 1)
            rebuildIndex();
        else if (entries.size() > unindexedKeysMaximum)
            indexByKey.emplace(entries.back().first, entries.size() - 1);
    }

    void remove(std::size_t index) {
        if (index + 1 == entries.size()) {
            indexByKey.erase(entries.back().first);
            entries.pop_back();
            return;
        }
        entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(index));
        rebuildIndex();
    }

    void rebuildIndex() {
        indexByKey.clear();
        if (entries.size() <= unindexedKeysMaximum)
            return;
        indexByKey.reserve(entries.size());
        for (std::size_t index = 0; index < entries.size(); ++index)
            indexByKey.emplace(entries[index].first, index);
    }

    std::vector<Entry> entries;
    /// Filled only while there are more than unindexedKeysMaximum entries.
    std::unordered_map<NSString, std::size_t> indexByKey;
};

NSDictionary::NSDictionary(std::initializer_list<Entry> entries) : rep_(std::make_shared<Rep>()) {
    for (const Entry& entry : entries)
        setObject(entry.second, entry.first);
}

NSDictionary NSDictionary::dictionary() {
    return NSDictionary(std::initializer_list<Entry>{});
}

NSDictionary NSDictionary::dictionaryWithEntries(std::vector<Entry> entries) {
    NSDictionary result = dictionary();
    if (entries.size() > unindexedKeysMaximum) {
        result.rep_->entries.reserve(entries.size());
        result.rep_->indexByKey.reserve(entries.size());
    } else if (haveDistinctKeys(entries)) {
        std::erase_if(entries, [](const Entry& entry) { return entry.second.isNull(); });
        result.rep_->entries = std::move(entries);
        return result;
    }
    for (Entry& entry : entries)
        result.setObject(std::move(entry.second), entry.first);
    return result;
}

NSDictionary::Rep& NSDictionary::uniqueRep() {
    if (!rep_)
        rep_ = std::make_shared<Rep>();
    else if (!isOnlyOwner(rep_))
        rep_ = std::make_shared<Rep>(*rep_);
    return *rep_;
}

std::size_t NSDictionary::count() const noexcept {
    return rep_ ? rep_->entries.size() : 0;
}

const PropertyListValue& NSDictionary::objectForKey(const NSString& key) const noexcept {
    const std::size_t index = rep_ ? rep_->find(key) : Rep::notFound;
    return index == Rep::notFound ? noValue : rep_->entries[index].second;
}

bool NSDictionary::hasKey(const NSString& key) const noexcept {
    return rep_ && rep_->find(key) != Rep::notFound;
}

void NSDictionary::setObject(PropertyListValue value, const NSString& forKey) {
    if (value.isNull()) {
        removeObjectForKey(forKey);
        return;
    }
    Rep& rep = uniqueRep();
    const std::size_t index = rep.find(forKey);
    if (index == Rep::notFound)
        rep.append(forKey, std::move(value));
    else
        rep.entries[index].second = std::move(value);
}

void NSDictionary::removeObjectForKey(const NSString& key) {
    if (!rep_) {
        rep_ = std::make_shared<Rep>();
        return;
    }
    const std::size_t index = rep_->find(key);
    if (index != Rep::notFound)
        uniqueRep().remove(index);
}

NSArray NSDictionary::allKeys() const {
    if (!rep_)
        return nullptr;
    std::vector<PropertyListValue> keys;
    keys.reserve(rep_->entries.size());
    for (const Entry& entry : rep_->entries)
        keys.emplace_back(entry.first);
    return NSArray(std::move(keys));
}

const NSDictionary::Entry* NSDictionary::begin() const noexcept {
    return rep_ ? rep_->entries.data() : nullptr;
}

const NSDictionary::Entry* NSDictionary::end() const noexcept {
    return rep_ ? rep_->entries.data() + rep_->entries.size() : nullptr;
}

bool operator==(const NSDictionary& a, const NSDictionary& b) {
    if (a.rep_ == b.rep_)
        return true;
    if (!a.rep_ || !b.rep_ || a.count() != b.count())
        return false;
    return std::ranges::all_of(a.rep_->entries, [&](const NSDictionary::Entry& entry) {
        const std::size_t index = b.rep_->find(entry.first);
        return index != NSDictionary::Rep::notFound &&
               b.rep_->entries[index].second == entry.second;
    });
}

}  // namespace TWQuickTime
