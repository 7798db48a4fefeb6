#include <algorithm>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>
#include <vector>

#include "Private/ComponentTable.h"

namespace TWQuickTime {
namespace {

struct Provider {
    ComponentRank rank;
    std::function<void()> registerAll;
};

/// Filled while the library loads, before any thread can look something up.
std::vector<Provider>& providers() {
    static auto* const list = new std::vector<Provider>;
    return *list;
}

struct Table {
    std::shared_mutex mutex;
    std::uint64_t lastSerial = 0;
    std::vector<ComponentPointer> ordered;  ///< by serial
    std::unordered_map<const ComponentRecord*, ComponentPointer> components;
    std::unordered_map<const ComponentInstanceRecord*, std::unique_ptr<ComponentInstanceRecord>>
        instances;
};

Table& table() {
    // Never destroyed: instances may be closed while the process takes its statics down.
    static auto* const shared = new Table;
    return *shared;
}

/// Asks the providers once. They register components themselves, on the thread that asks.
void askProviders() {
    static std::once_flag asked;
    thread_local bool asking = false;
    if (asking)
        return;
    std::call_once(asked, [] {
        asking = true;
        std::stable_sort(providers().begin(), providers().end(),
                         [](const Provider& a, const Provider& b) { return a.rank < b.rank; });
        for (const Provider& provider : providers())
            provider.registerAll();
        asking = false;
    });
}

bool matches(const ComponentRecord& record, const ComponentDescription& wanted) {
    const ComponentDescription& has = record.registration.description;
    const auto fits = [](OSType code, OSType wish) { return wish == 0 || wish == code; };
    return fits(has.componentType, wanted.componentType) &&
           fits(has.componentSubType, wanted.componentSubType) &&
           fits(has.componentManufacturer, wanted.componentManufacturer) &&
           (has.componentFlags & wanted.componentFlagsMask) ==
               (wanted.componentFlags & wanted.componentFlagsMask) &&
           record.isInstalled();
}

}  // namespace

bool ComponentRecord::isInstalled() const {
    std::call_once(
        asked_, [this] { isInstalled_ = !registration.isInstalled || registration.isInstalled(); });
    return isInstalled_;
}

ComponentStorage::~ComponentStorage() = default;

ComponentProvider::ComponentProvider(ComponentRank rank, std::function<void()> registerAll) {
    providers().push_back({rank, std::move(registerAll)});
}

Component registerComponent(ComponentRegistration registration) {
    askProviders();
    std::lock_guard lock(table().mutex);
    const auto record =
        std::make_shared<ComponentRecord>(std::move(registration), ++table().lastSerial);
    table().ordered.push_back(record);
    table().components[record.get()] = record;
    return record.get();
}

void unregisterComponent(Component component) {
    std::lock_guard lock(table().mutex);
    const auto entry = table().components.find(component);
    if (entry == table().components.end())
        return;
    std::erase(table().ordered, entry->second);
    table().components.erase(entry);
}

ComponentPointer findComponentRecord(Component component) {
    askProviders();
    std::shared_lock lock(table().mutex);
    const auto entry = table().components.find(component);
    return entry == table().components.end() ? nullptr : entry->second;
}

ComponentPointer findMatchingComponent(Component after, const ComponentDescription& wanted) {
    askProviders();
    std::shared_lock lock(table().mutex);
    const auto& ordered = table().ordered;
    auto next = ordered.begin();
    if (after) {
        const auto entry = table().components.find(after);
        if (entry == table().components.end())
            return nullptr;
        next = std::upper_bound(
            ordered.begin(), ordered.end(), entry->second->serial,
            [](std::uint64_t serial, const auto& record) { return serial < record->serial; });
    }
    next = std::find_if(next, ordered.end(),
                        [&](const auto& record) { return matches(*record, wanted); });
    return next == ordered.end() ? nullptr : *next;
}

std::size_t countMatchingComponents(const ComponentDescription& wanted) {
    askProviders();
    std::shared_lock lock(table().mutex);
    return static_cast<std::size_t>(
        std::count_if(table().ordered.begin(), table().ordered.end(),
                      [&](const auto& record) { return matches(*record, wanted); }));
}

ComponentInstance openInstance(const ComponentPointer& component) {
    std::unique_ptr<ComponentStorage> storage = component->registration.open
                                                    ? component->registration.open()
                                                    : std::make_unique<ComponentStorage>();
    if (!storage)
        return nullptr;
    auto record = std::make_unique<ComponentInstanceRecord>();
    record->component = component;
    record->storage = std::move(storage);
    ComponentInstance instance = record.get();
    std::lock_guard lock(table().mutex);
    table().instances[instance] = std::move(record);
    return instance;
}

ComponentResult closeInstance(ComponentInstance instance) {
    std::unique_ptr<ComponentInstanceRecord> record;
    {
        std::lock_guard lock(table().mutex);
        const auto entry = table().instances.find(instance);
        if (entry == table().instances.end())
            return badInstance;
        record = std::move(entry->second);
        table().instances.erase(entry);
    }
    return record->storage->close();
}

ComponentStorage* componentStorage(ComponentInstance instance) {
    std::shared_lock lock(table().mutex);
    const auto entry = table().instances.find(instance);
    return entry == table().instances.end() ? nullptr : entry->second->storage.get();
}

Component componentOfInstance(ComponentInstance instance) {
    std::shared_lock lock(table().mutex);
    const auto entry = table().instances.find(instance);
    return entry == table().instances.end() ? nullptr : entry->second->component.get();
}

}  // namespace TWQuickTime
