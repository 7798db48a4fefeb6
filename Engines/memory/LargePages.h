// Memory of many megabytes in large pages, where the system has them.
//
//     std::vector<std::uint8_t> pixels = memory::zerosInLargePages(1920 * 1080 * 4);
//     memory::preferLargePages(buffer, size);        // before anything is written
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TWQuickTime::memory {

/// Asks for large pages for those parts of a range that fill them. A wish only: whatever the system
/// answers, the memory is as usable as before. Any thread.
void preferLargePages(void* begin, std::size_t byteCount) noexcept;

std::vector<std::uint8_t> zerosInLargePages(std::size_t byteCount);

/// Memory that is given out piece by piece and freed as a whole, when this object goes. Only what
/// is touched takes room. Not for use from two threads at once.
class LargePageArena {
  public:
    LargePageArena() = default;
    ~LargePageArena();
    LargePageArena(const LargePageArena&) = delete;
    LargePageArena& operator=(const LargePageArena&) = delete;

    /// @return zeros, at a multiple of 64; null when there is no memory
    void* take(std::size_t byteCount) noexcept;

  private:
    struct Slab {
        std::byte* begin;
        std::size_t size;
    };
    bool addSlab(std::size_t byteCount) noexcept;

    std::vector<Slab> slabs_;
    /// Of the last slab.
    std::size_t used_ = 0;
};

}  // namespace TWQuickTime::memory
