#include "Engines/capture/VideoSystem.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

namespace TWQuickTime::capture {
namespace {

class LinuxVideoSystem : public VideoSystem {
  public:
    std::vector<DeviceNode> nodes() override {
        std::vector<DeviceNode> found = deviceNodes("video4linux");
        // The class has radios and teletext too.
        std::erase_if(found, [](const DeviceNode& node) {
            return !std::string_view(node.path).starts_with("/dev/video");
        });
        return found;
    }

    int open(const std::string& path) override {
        return again([&] { return ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC); });
    }
    void close(int descriptor) override { ::close(descriptor); }

    int control(int descriptor, unsigned long request, void* argument) override {
        return again([&] { return ioctl(descriptor, request, argument); });
    }

    void* map(int descriptor, std::size_t sizeInBytes, std::uint32_t offset) override {
        void* address =
            mmap(nullptr, sizeInBytes, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, offset);
        return address == MAP_FAILED ? nullptr : address;
    }
    void unmap(void* address, std::size_t sizeInBytes) override { munmap(address, sizeInBytes); }

    int wait(int descriptor, int milliseconds) override {
        pollfd waiting{descriptor, POLLIN, 0};
        const int ready = again([&] { return poll(&waiting, 1, milliseconds); });
        // A device that was pulled out says so by an error; the next call asks what it is.
        return std::min(ready, 1);
    }

  private:
    template <class Call>
    static int again(Call call) {
        int result = 0;
        do {
            result = call();
        } while (result < 0 && errno == EINTR);
        return result < 0 ? -errno : result;
    }
};

}  // namespace

std::unique_ptr<VideoSystem> VideoSystem::system() {
    return std::make_unique<LinuxVideoSystem>();
}

}  // namespace TWQuickTime::capture
