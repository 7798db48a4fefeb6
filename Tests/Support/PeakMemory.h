// How much a part of a test makes the whole process grow, whoever allocates: the kernel's own
// count.
//
//     const PeakMemory memory;
//     open(bomb);
//     EXPECT_LT(memory.grownBytes(), 64u << 20);
#pragma once

#include <cstddef>
#include <fstream>
#include <string>

namespace TWQuickTime::test {

class PeakMemory {
  public:
    PeakMemory() {
        // Resets the peak to what is in use now.
        std::ofstream("/proc/self/clear_refs") << 5 << std::flush;
        start_ = peak();
    }
    /// Most bytes that were resident at one time, beyond those at the beginning.
    std::size_t grownBytes() const { return peak() - start_; }

  private:
    static std::size_t peak() {
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);)
            if (line.starts_with("VmHWM:"))
                return std::stoul(line.substr(6)) * 1024;
        return 0;
    }
    std::size_t start_ = 0;
};

}  // namespace TWQuickTime::test
