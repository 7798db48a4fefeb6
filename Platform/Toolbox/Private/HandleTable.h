// The records behind all handles of the process.
//
// They lie side by side in one reserved range of addresses that is never given back, so that any
// pointer can be judged without a look-up: in the range, on a record's boundary, and marked live.
// Freed records are used again in the order in which they were freed.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace TWQuickTime {

struct HandleRecord {
    char* bytes = nullptr;  ///< what a handle points to; must stay the first member
    std::size_t size = 0;
    std::size_t capacity = 0;  ///< while free: 1 + index of the next free record, 0: none
    std::atomic<std::int32_t> locks{0};
    std::atomic<std::uint32_t> live{0};
};
static_assert(sizeof(HandleRecord) == 32);

class HandleTable {
  public:
    static HandleTable& shared();

    /// A live record without bytes; null when all are taken.
    HandleRecord* take() noexcept;
    void giveBack(HandleRecord* record) noexcept;
    /// The live record that the pointer is, or null.
    HandleRecord* find(const void* pointer) const noexcept;

  private:
    HandleTable() noexcept;

    static constexpr std::size_t kMostRecords = std::size_t{1} << 23;

    HandleRecord* records_ = nullptr;
    std::mutex mutex_;
    std::size_t used_ = 0;       ///< records that were ever taken
    std::size_t firstFree_ = 0;  ///< 1 + index, 0: none
    std::size_t lastFree_ = 0;
};

}  // namespace TWQuickTime
