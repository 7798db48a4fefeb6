#include "Private/HandleTable.h"

#include <sys/mman.h>

#include <new>

namespace TWQuickTime {

HandleTable& HandleTable::shared() {
    // Never destroyed: handles may be disposed of while the process takes its statics down.
    static HandleTable* const table = new HandleTable;
    return *table;
}

HandleTable::HandleTable() noexcept {
    void* range = mmap(nullptr, kMostRecords * sizeof(HandleRecord), PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (range != MAP_FAILED)
        records_ = static_cast<HandleRecord*>(range);
}

HandleRecord* HandleTable::take() noexcept {
    HandleRecord* record = nullptr;
    {
        std::lock_guard lock(mutex_);
        if (firstFree_ != 0) {
            record = &records_[firstFree_ - 1];
            firstFree_ = record->capacity;
            if (firstFree_ == 0)
                lastFree_ = 0;
        } else if (records_ && used_ < kMostRecords) {
            record = new (&records_[used_++]) HandleRecord;
        } else {
            return nullptr;
        }
    }
    record->size = 0;
    record->capacity = 0;
    record->locks.store(0, std::memory_order_relaxed);
    record->live.store(1, std::memory_order_release);
    return record;
}

void HandleTable::giveBack(HandleRecord* record) noexcept {
    record->live.store(0, std::memory_order_release);
    record->bytes = nullptr;
    std::lock_guard lock(mutex_);
    record->capacity = 0;
    const std::size_t place = static_cast<std::size_t>(record - records_) + 1;
    if (lastFree_ != 0)
        records_[lastFree_ - 1].capacity = place;
    else
        firstFree_ = place;
    lastFree_ = place;
}

HandleRecord* HandleTable::find(const void* pointer) const noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(pointer);
    const auto first = reinterpret_cast<std::uintptr_t>(records_);
    if (!records_ || address < first)
        return nullptr;
    const std::size_t offset = address - first;
    if (offset >= kMostRecords * sizeof(HandleRecord) || offset % sizeof(HandleRecord) != 0)
        return nullptr;
    HandleRecord* record = records_ + offset / sizeof(HandleRecord);
    return record->live.load(std::memory_order_acquire) == 1 ? record : nullptr;
}

}  // namespace TWQuickTime
