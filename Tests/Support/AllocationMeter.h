// Counts what operator new hands out in this test program, the library's own allocations included.
//
//     AllocationMeter meter;
//     parse(file);
//     EXPECT_LT(meter.peakBytes(), 32 * file.size());
#pragma once

#include <cstddef>

namespace TWQuickTime::test {

class AllocationMeter {
  public:
    AllocationMeter();
    /// Most bytes alive at one time since this meter was made, beyond those alive then. One meter
    /// at a time.
    std::size_t peakBytes() const;

  private:
    std::size_t start_;
};

}  // namespace TWQuickTime::test
