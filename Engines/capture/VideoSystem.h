// The system calls of the V4L2 back end, and nothing else: the seam at which tests play a driver.
//
// Calls that fail give a negative error number instead of setting `errno`; an interrupted call is
// made again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Engines/capture/DeviceManager.h"

namespace TWQuickTime::capture {

class VideoSystem {
  public:
    virtual ~VideoSystem() = default;

    /// Of video devices, in the order of their numbers.
    virtual std::vector<DeviceNode> nodes() = 0;
    /// For reading and writing, without waiting. @return a descriptor
    virtual int open(const std::string& path) = 0;
    virtual void close(int descriptor) = 0;
    /// @param argument  the record of the request, read and written as that says
    virtual int control(int descriptor, unsigned long request, void* argument) = 0;
    /// Memory shared with the driver; null when there is none.
    virtual void* map(int descriptor, std::size_t sizeInBytes, std::uint32_t offset) = 0;
    virtual void unmap(void* address, std::size_t sizeInBytes) = 0;
    /// Waits for something to read. @return 1, or 0 when the time ran out
    virtual int wait(int descriptor, int milliseconds) = 0;

    /// The real system, asked through libudev.
    static std::unique_ptr<VideoSystem> system();
};

}  // namespace TWQuickTime::capture
