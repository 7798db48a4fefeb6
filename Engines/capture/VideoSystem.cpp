#include "Engines/capture/VideoSystem.h"

#include <fcntl.h>
#include <libudev.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "Engines/lazyload/LazyLibrary.h"

namespace TWQuickTime::capture {
namespace {

struct UdevRelease {
    void operator()(udev* context) const { udev_unref(context); }
    void operator()(udev_enumerate* list) const { udev_enumerate_unref(list); }
    void operator()(udev_device* device) const { udev_device_unref(device); }
};
template <class Object>
using UdevPointer = std::unique_ptr<Object, UdevRelease>;

std::string textOf(const char* text) {
    return text ? text : "";
}

/// The serial where the device has one of its own, else the place that it is plugged into; and
/// which of the device's nodes it is.
std::string identityOf(udev_device* device) {
    const bool hasSerial = udev_device_get_property_value(device, "ID_SERIAL_SHORT") != nullptr;
    std::string identity =
        textOf(udev_device_get_property_value(device, hasSerial ? "ID_SERIAL" : "ID_PATH"));
    const std::string index = textOf(udev_device_get_sysattr_value(device, "index"));
    if (!identity.empty() && !index.empty() && index != "0")
        identity += "#" + index;
    return identity;
}

/// "/dev/video10" comes after "/dev/video9".
bool isEarlier(const VideoNode& a, const VideoNode& b) {
    return a.path.size() != b.path.size() ? a.path.size() < b.path.size() : a.path < b.path;
}

class LinuxVideoSystem : public VideoSystem {
  public:
    std::vector<VideoNode> nodes() override {
        std::vector<VideoNode> found;
        if (!lazyload::isInstalled("libudev.so.1"))
            return found;
        const UdevPointer<udev> context(udev_new());
        if (!context)
            return found;
        const UdevPointer<udev_enumerate> list(udev_enumerate_new(context.get()));
        if (!list || udev_enumerate_add_match_subsystem(list.get(), "video4linux") < 0 ||
            udev_enumerate_scan_devices(list.get()) < 0)
            return found;
        for (udev_list_entry* entry = udev_enumerate_get_list_entry(list.get()); entry;
             entry = udev_list_entry_get_next(entry)) {
            const UdevPointer<udev_device> device(
                udev_device_new_from_syspath(context.get(), udev_list_entry_get_name(entry)));
            const char* path = device ? udev_device_get_devnode(device.get()) : nullptr;
            if (path && std::string_view(path).starts_with("/dev/video"))
                found.push_back({path, textOf(udev_device_get_sysattr_value(device.get(), "name")),
                                 identityOf(device.get())});
        }
        std::sort(found.begin(), found.end(), isEarlier);
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
