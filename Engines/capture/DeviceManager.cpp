#include "Engines/capture/DeviceManager.h"

#include <libudev.h>
#include <unistd.h>

#include <algorithm>

#include "Engines/lazyload/LazyLibrary.h"

namespace TWQuickTime::capture {

using result::Expected;
using result::Failure;
using result::FailureKind;

namespace {

constexpr const char* kUdevLibrary = "libudev.so.1";

struct UdevRelease {
    void operator()(udev* context) const { udev_unref(context); }
    void operator()(udev_enumerate* list) const { udev_enumerate_unref(list); }
    void operator()(udev_device* device) const { udev_device_unref(device); }
    void operator()(udev_monitor* monitor) const { udev_monitor_unref(monitor); }
};
template <class Object>
using UdevPointer = std::unique_ptr<Object, UdevRelease>;

UdevPointer<udev> connectToManager() {
    return UdevPointer<udev>(lazyload::isInstalled(kUdevLibrary) ? udev_new() : nullptr);
}

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
bool isEarlier(const DeviceNode& a, const DeviceNode& b) {
    return a.path.size() != b.path.size() ? a.path.size() < b.path.size() : a.path < b.path;
}

class UdevWatch : public DeviceWatch {
  public:
    UdevWatch(UdevPointer<udev> context, UdevPointer<udev_monitor> monitor)
        : context_(std::move(context)), monitor_(std::move(monitor)) {}

    int descriptor() const override { return udev_monitor_get_fd(monitor_.get()); }

    bool takeChanges() override {
        bool changed = false;
        while (UdevPointer<udev_device>(udev_monitor_receive_device(monitor_.get())))
            changed = true;
        return changed;
    }

  private:
    UdevPointer<udev> context_;
    UdevPointer<udev_monitor> monitor_;
};

}  // namespace

std::vector<DeviceNode> deviceNodes(const std::string& subsystem) {
    std::vector<DeviceNode> found;
    const UdevPointer<udev> context = connectToManager();
    if (!context)
        return found;
    const UdevPointer<udev_enumerate> list(udev_enumerate_new(context.get()));
    if (!list || udev_enumerate_add_match_subsystem(list.get(), subsystem.c_str()) < 0 ||
        udev_enumerate_scan_devices(list.get()) < 0)
        return found;
    for (udev_list_entry* entry = udev_enumerate_get_list_entry(list.get()); entry;
         entry = udev_list_entry_get_next(entry)) {
        const UdevPointer<udev_device> device(
            udev_device_new_from_syspath(context.get(), udev_list_entry_get_name(entry)));
        if (const char* path = device ? udev_device_get_devnode(device.get()) : nullptr)
            found.push_back({path, textOf(udev_device_get_sysattr_value(device.get(), "name")),
                             identityOf(device.get())});
    }
    std::sort(found.begin(), found.end(), isEarlier);
    return found;
}

Expected<std::unique_ptr<DeviceWatch>> DeviceWatch::start(
    const std::vector<std::string>& subsystems) {
    const Failure failure{FailureKind::notAvailable, "the device manager tells no changes"};
    UdevPointer<udev> context = connectToManager();
    if (!context)
        return failure;
    // The manager passes the kernel's events on when it has made the nodes. Where it does not run,
    // as in many containers, the kernel has to do.
    const bool managerRuns = access("/run/udev/control", F_OK) == 0;
    UdevPointer<udev_monitor> monitor(
        udev_monitor_new_from_netlink(context.get(), managerRuns ? "udev" : "kernel"));
    if (!monitor)
        return failure;
    for (const std::string& subsystem : subsystems) {
        if (udev_monitor_filter_add_match_subsystem_devtype(monitor.get(), subsystem.c_str(),
                                                            nullptr) < 0)
            return failure;
    }
    if (udev_monitor_enable_receiving(monitor.get()) < 0)
        return failure;
    return std::unique_ptr<DeviceWatch>(
        std::make_unique<UdevWatch>(std::move(context), std::move(monitor)));
}

}  // namespace TWQuickTime::capture
