#include "Engines/memory/LargePages.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <new>

namespace TWQuickTime::memory {
namespace {

constexpr std::size_t kLargePage = 2 << 20;
constexpr std::size_t kSlabBytes = 8 * kLargePage;
constexpr std::size_t kAlignment = 64;

std::uintptr_t roundedUp(std::uintptr_t value, std::size_t step) {
    return (value + step - 1) / step * step;
}

}  // namespace

void preferLargePages(void* begin, std::size_t byteCount) noexcept {
    const auto from = reinterpret_cast<std::uintptr_t>(begin);
    const std::uintptr_t first = roundedUp(from, kLargePage);
    const std::uintptr_t end = (from + byteCount) / kLargePage * kLargePage;
    if (begin && first < end)
        madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
}

std::vector<std::uint8_t> zerosInLargePages(std::size_t byteCount) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(byteCount);
    preferLargePages(bytes.data(), byteCount);
    bytes.resize(byteCount);
    return bytes;
}

LargePageArena::~LargePageArena() {
    for (const Slab& slab : slabs_)
        munmap(slab.begin, slab.size);
}

bool LargePageArena::addSlab(std::size_t byteCount) noexcept {
    if (byteCount > SIZE_MAX / 2)
        return false;
    const std::size_t size = roundedUp(std::max(byteCount, kSlabBytes), kLargePage);
    // One page more, so that a multiple of the page's size lies within.
    void* mapped = mmap(nullptr, size + kLargePage, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapped == MAP_FAILED)
        return false;
    auto* const begin = static_cast<std::byte*>(mapped);
    const auto address = reinterpret_cast<std::uintptr_t>(mapped);
    const std::size_t before = roundedUp(address, kLargePage) - address;
    if (before > 0)
        munmap(begin, before);
    if (before < kLargePage)
        munmap(begin + before + size, kLargePage - before);
    try {
        slabs_.push_back({begin + before, size});
    } catch (const std::bad_alloc&) {
        munmap(begin + before, size);
        return false;
    }
    used_ = 0;
    preferLargePages(begin + before, size);
    return true;
}

void* LargePageArena::take(std::size_t byteCount) noexcept {
    if (slabs_.empty() || byteCount > slabs_.back().size - used_) {
        if (!addSlab(byteCount))
            return nullptr;
    }
    void* const piece = slabs_.back().begin + used_;
    used_ = std::min<std::size_t>(slabs_.back().size, roundedUp(used_ + byteCount, kAlignment));
    return piece;
}

}  // namespace TWQuickTime::memory
