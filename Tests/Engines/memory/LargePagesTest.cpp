#include "Engines/memory/LargePages.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>

namespace TWQuickTime::memory {
namespace {

constexpr std::size_t kLargePage = 2 << 20;

/// Whether the system has noted a wish for large pages at an address.
bool wantsLargePages(const void* address) {
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream maps("/proc/self/smaps");
    bool inside = false;
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0, end = 0;
        char dash = 0;
        std::istringstream range(line);
        if (range >> std::hex >> begin >> dash >> end && dash == '-')
            inside = begin <= wanted && wanted < end;
        else if (inside && line.starts_with("VmFlags:"))
            return line.find(" hg") != std::string::npos;
    }
    return false;
}

bool systemHasLargePages() {
    return std::ifstream("/sys/kernel/mm/transparent_hugepage/enabled").good();
}

class Mapping {
  public:
    explicit Mapping(std::size_t size)
        : size_(size),
          begin_(static_cast<std::byte*>(
              mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {}
    ~Mapping() { munmap(begin_, size_); }
    std::byte* begin() const { return begin_; }

  private:
    std::size_t size_;
    std::byte* begin_;
};

TEST(LargePages, AreWishedForInTheMiddleOfALargeRangeOnly) {
    if (!systemHasLargePages())
        GTEST_SKIP() << "this kernel has no transparent large pages";
    const Mapping mapping(4 * kLargePage);
    preferLargePages(mapping.begin() + 100, 4 * kLargePage - 200);
    EXPECT_TRUE(wantsLargePages(mapping.begin() + 2 * kLargePage));
    EXPECT_FALSE(wantsLargePages(mapping.begin()));
}

TEST(LargePages, AreNotWishedForInARangeThatFillsNone) {
    const Mapping mapping(2 * kLargePage);
    preferLargePages(mapping.begin() + 100, kLargePage / 2);
    preferLargePages(nullptr, 0);
    EXPECT_FALSE(wantsLargePages(mapping.begin() + 200));
}

TEST(LargePages, AreWishedForByVectorsOfZeros) {
    if (!systemHasLargePages())
        GTEST_SKIP() << "this kernel has no transparent large pages";
    const auto bytes = zerosInLargePages(4 * kLargePage);
    EXPECT_EQ(bytes, std::vector<std::uint8_t>(4 * kLargePage));
    EXPECT_TRUE(wantsLargePages(&bytes[2 * kLargePage]));
}

TEST(LargePageArena, GivesAlignedZerosThatDoNotOverlap) {
    LargePageArena arena;
    std::vector<std::byte*> pieces;
    // More than one slab holds, and one that is larger than a slab.
    for (const std::size_t size :
         {std::size_t{3'000'001}, std::size_t{5'000'000}, std::size_t{9'000'000},
          std::size_t{40'000'000}, std::size_t{1}}) {
        auto* piece = static_cast<std::byte*>(arena.take(size));
        ASSERT_NE(piece, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(piece) % 64, 0u);
        EXPECT_TRUE(std::all_of(piece, piece + size, [](std::byte b) { return b == std::byte{0}; }))
            << size;
        std::fill(piece, piece + size, std::byte{1});
        pieces.push_back(piece);
    }
    std::ranges::sort(pieces);
    EXPECT_EQ(std::ranges::adjacent_find(pieces), pieces.end());
}

TEST(LargePageArena, WishesForLargePages) {
    if (!systemHasLargePages())
        GTEST_SKIP() << "this kernel has no transparent large pages";
    LargePageArena arena;
    EXPECT_TRUE(wantsLargePages(arena.take(3'000'000)));
}

TEST(LargePageArena, GivesNothingWhenThereIsNoMemory) {
    LargePageArena arena;
    EXPECT_EQ(arena.take(SIZE_MAX - 100), nullptr);
    EXPECT_EQ(arena.take(std::size_t{1} << 52), nullptr);
    EXPECT_NE(arena.take(100), nullptr);
}

}  // namespace
}  // namespace TWQuickTime::memory
