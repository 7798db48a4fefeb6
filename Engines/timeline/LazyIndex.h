// An index over a column that is made at the first look-up, by whichever thread comes first.
//
// Copies of a column share the index; a column that changes extends an index of its own.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>

namespace TWQuickTime::timeline {

/// Rows between two entries of a sparse index.
constexpr std::size_t kRowsPerIndexEntry = 256;

template <class Index>
class LazyIndex {
  public:
    /// The index; `make()` gives it the first time. The reference holds until the next change.
    template <class Make>
    const Index& get(Make&& make) const {
        if (!slot_->made.load(std::memory_order_acquire)) {
            std::lock_guard lock(slot_->mutex);
            if (!slot_->made.load(std::memory_order_relaxed)) {
                slot_->index = make();
                slot_->made.store(true, std::memory_order_release);
            }
        }
        return slot_->index;
    }

    /// The index to bring up to date with a change; null when none was made yet. Always to be
    /// called with a change, so that copies of the column keep the index of the old rows.
    Index* ownForChange() {
        const bool made = slot_->made.load(std::memory_order_acquire);
        if (slot_.use_count() > 1) {
            auto own = std::make_shared<Slot>();
            if (made) {
                own->index = slot_->index;
                own->made.store(true, std::memory_order_release);
            }
            slot_ = std::move(own);
        }
        return made ? &slot_->index : nullptr;
    }

    /// Forgets the index.
    void reset() { slot_ = std::make_shared<Slot>(); }

  private:
    struct Slot {
        std::mutex mutex;
        std::atomic<bool> made = false;
        Index index{};
    };
    std::shared_ptr<Slot> slot_ = std::make_shared<Slot>();
};

}  // namespace TWQuickTime::timeline
