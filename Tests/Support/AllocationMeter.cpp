#include "AllocationMeter.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

// What the allocator adds in front of each block.
constexpr std::size_t blockOverheadInBytes = sizeof(std::size_t);

std::atomic<std::size_t> aliveBytes = 0;
std::atomic<std::size_t> peakAliveBytes = 0;

/// Null when there is no memory.
void* countedAllocation(std::size_t size) noexcept {
    void* block = std::malloc(size == 0 ? 1 : size);
    if (!block)
        return nullptr;
    const std::size_t added = malloc_usable_size(block) + blockOverheadInBytes;
    const std::size_t alive = aliveBytes.fetch_add(added) + added;
    std::size_t peak = peakAliveBytes.load();
    while (alive > peak && !peakAliveBytes.compare_exchange_weak(peak, alive)) {
    }
    return block;
}

void* countedOrThrown(std::size_t size) {
    void* block = countedAllocation(size);
    if (!block)
        throw std::bad_alloc();
    return block;
}

void countedRelease(void* block) {
    if (!block)
        return;
    aliveBytes.fetch_sub(malloc_usable_size(block) + blockOverheadInBytes);
    std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
    return countedOrThrown(size);
}
void* operator new[](std::size_t size) {
    return countedOrThrown(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return countedAllocation(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return countedAllocation(size);
}
void operator delete(void* block) noexcept {
    countedRelease(block);
}
void operator delete[](void* block) noexcept {
    countedRelease(block);
}
void operator delete(void* block, std::size_t) noexcept {
    countedRelease(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    countedRelease(block);
}

namespace TWQuickTime::test {

AllocationMeter::AllocationMeter() : start_(aliveBytes.load()) {
    peakAliveBytes.store(start_);
}

std::size_t AllocationMeter::peakBytes() const {
    return peakAliveBytes.load() - start_;
}

}  // namespace TWQuickTime::test
