// A sparse index that is made at the first look-up, by whichever thread comes first.
//
// Copies of a column share the finished index; a change of the column drops or extends its own.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

namespace TWQuickTime::timeline {

template <class Entry>
class LazyIndex {
  public:
    static constexpr std::size_t kRowsPerEntry = 256;

    /// The entries; made by `make()` the first time. The reference holds until the next change.
    template <class Make>
    const std::vector<Entry>& get(Make&& make) const {
        std::call_once(slot_->once, [&] { slot_->entries = make(); });
        return slot_->entries;
    }

    /// Forgets the entries; to be called by every change that moves totals of earlier rows.
    void reset() { slot_ = std::make_shared<Slot>(); }

  private:
    struct Slot {
        std::once_flag once;
        std::vector<Entry> entries;
    };
    std::shared_ptr<Slot> slot_ = std::make_shared<Slot>();
};

}  // namespace TWQuickTime::timeline
