#include "Private/MemoryReferences.h"

#include <mutex>
#include <unordered_map>
#include <vector>

#include "Private/BigEndianBytes.h"

namespace TWQuickTime {
namespace {

constexpr timeline::FourCharCode kMemoryReferenceType = timeline::fourCharCode("hndl");

/// All stores that were ever named.
class NamedStores {
  public:
    static NamedStores& shared() {
        static auto* stores = new NamedStores;
        return *stores;
    }

    std::uint32_t nameOf(const std::shared_ptr<timeline::SampleStore>& store) {
        std::lock_guard lock(mutex_);
        std::erase_if(stores_, [](const auto& entry) { return entry.second.expired(); });
        for (const auto& [name, known] : stores_)
            if (known.lock() == store)
                return name;
        stores_.emplace(++lastName_, store);
        return lastName_;
    }

    std::shared_ptr<timeline::SampleStore> find(std::uint32_t name) {
        std::lock_guard lock(mutex_);
        const auto found = stores_.find(name);
        return found == stores_.end() ? nullptr : found->second.lock();
    }

  private:
    std::mutex mutex_;
    std::unordered_map<std::uint32_t, std::weak_ptr<timeline::SampleStore>> stores_;
    std::uint32_t lastName_ = 0;
};

}  // namespace

timeline::DataReference makeMemoryReference(std::shared_ptr<timeline::SampleStore> store) {
    std::vector<std::byte> name;
    appendBigEndian32(name, NamedStores::shared().nameOf(store));
    return {.type = kMemoryReferenceType,
            .flags = 0,
            .data = timeline::SharedBytes::adopt(std::move(name)),
            .store = std::move(store)};
}

std::shared_ptr<timeline::SampleStore> storeOfMemoryReference(
    const timeline::DataReference& reference) {
    if (reference.type != kMemoryReferenceType || reference.data.size() != 4)
        return nullptr;
    return NamedStores::shared().find(readBigEndian32(reference.data, 0));
}

}  // namespace TWQuickTime
