// The modes of one run loop as sets of bits: which modes a perform is for, and which performs a run
// in a mode may call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "NSString.h"

namespace TWQuickTime {

class RunLoopModes {
  public:
    RunLoopModes();

    std::uint64_t modesOfPerform(std::span<const NSString> names);
    /// The mode's own bit and, for a common mode, the bit that stands for all of them.
    std::uint64_t modesOfRun(const NSString& name);
    void addCommonMode(const NSString& name);

  private:
    static constexpr std::uint64_t commonModes = 1;

    /// Raises NSRangeException beyond 63 names.
    std::uint64_t bitOf(const NSString& name);

    /// Place n has bit n + 1.
    std::vector<NSString> names_;
    std::uint64_t areCommon_ = 0;
};

}  // namespace TWQuickTime
