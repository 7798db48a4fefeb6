#include "TWUSequenceGrabber.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "CodecInformation.h"
#include "Handles.h"
#include "TWLog.h"

namespace TWQuickTime {

namespace {

constexpr const char* kListingMethod =
    "+[TWUSequenceGrabber "
    "createInputDeviceArrayForChannel:ofSequenceGrabber:ignoreUnavailableDriverFlag:]";
constexpr std::size_t kMostNameBytes = 63;

/// A channel's devices with their inputs, disposed of with the object.
class StDeviceList {
  public:
    StDeviceList(SGChannel channel, SeqGrabComponent grabber) : grabber_(grabber) {
        if (SGGetChannelDeviceList(channel, sgDeviceListIncludeInputs, &list_) != noErr)
            list_ = nullptr;
    }
    ~StDeviceList() { SGDisposeDeviceList(grabber_, list_); }
    StDeviceList(const StDeviceList&) = delete;
    StDeviceList& operator=(const StDeviceList&) = delete;

    explicit operator bool() const { return list_ != nullptr; }
    const SGDeviceListRecord* operator->() const { return *list_; }
    /// Null in an empty list.
    const SGDeviceName* selected() const {
        return (*list_)->count > 0 ? &(*list_)->entry[(*list_)->selectedIndex] : nullptr;
    }

  private:
    SeqGrabComponent grabber_;
    SGDeviceList list_ = nullptr;
};

/// The name with a question mark for every byte that is not ASCII.
NSString substituteName(const std::uint8_t* name) {
    std::string text(reinterpret_cast<const char*>(name + 1), name[0]);
    std::replace_if(
        text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; }, '?');
    return text;
}

NSString decodedName(const std::uint8_t* name) {
    NSString decoded = stringWithPascalString(name, NSUTF8StringEncoding);
    if (decoded.isNil())
        decoded = stringWithPascalString(
            name, CFStringConvertEncodingToNSStringEncoding(GetApplicationTextEncoding()));
    return decoded.isNil() ? substituteName(name) : decoded;
}

NSString uniqueName(const NSString& inputName, const NSString& deviceName) {
    return inputName == deviceName ? inputName
                                   : NSString(inputName.utf8() + " (" + deviceName.utf8() + ")");
}

NSString identityOf(const SGDeviceName& device) {
    if (!device.identity || GetHandleSize(device.identity) == 0)
        return nullptr;
    return std::string(*device.identity, static_cast<std::size_t>(GetHandleSize(device.identity)));
}

/// Any flag counts as unavailable, on purpose, not only the one of that name.
bool isConsidered(const SGDeviceName& device, bool ignoreFlags) {
    return device.inputs && (device.flags == 0 || ignoreFlags) && (*device.inputs)->count > 0;
}

void addInputs(NSArray& list, const SGDeviceName& device, bool isSelectedDevice) {
    const NSString deviceName = decodedName(device.name);
    const NSString identity = identityOf(device);
    const SGDeviceInputListRecord& inputs = **device.inputs;
    for (std::int16_t i = 0; i < inputs.count; ++i) {
        const bool isSelected = isSelectedDevice && i == inputs.selectedIndex;
        if (inputs.entry[i].flags != 0 && !isSelected)
            continue;
        const NSString inputName = decodedName(inputs.entry[i].name);
        NSDictionary entry{{"Device Name Unique", uniqueName(inputName, deviceName)},
                           {"Device Name", deviceName},
                           {"Device Index", std::int32_t{i}},
                           {"Device Selected", isSelected},
                           {"Device Input Name", inputName}};
        entry.setObject(identity, "Device Identity");
        list.addObject(entry);
    }
}

}  // namespace

NSArray TWUSequenceGrabber::createInputDeviceArrayForChannel(SGChannel channel,
                                                             SeqGrabComponent ofSequenceGrabber,
                                                             bool ignoreUnavailableDriverFlag) {
    if (!channel) {
        TWLog("%s: No SG Channel provided.", kListingMethod);
        return nullptr;
    }
    if (!ofSequenceGrabber) {
        TWLog("%s: No SG provided.", kListingMethod);
        return nullptr;
    }
    const StDeviceList devices(channel, ofSequenceGrabber);
    if (!devices)
        return nullptr;
    NSArray list = NSArray::array();
    for (std::int16_t i = 0; i < devices->count; ++i) {
        const SGDeviceName& device = devices->entry[i];
        if (isConsidered(device, ignoreUnavailableDriverFlag))
            addInputs(list, device, i == devices->selectedIndex);
    }
    return list;
}

NSString TWUSequenceGrabber::dataSourceNameForChannel(SGChannel channel,
                                                      SeqGrabComponent inSequenceGrabber) {
    if (!channel || !inSequenceGrabber)
        return nullptr;
    const StDeviceList devices(channel, inSequenceGrabber);
    const SGDeviceName* device = devices ? devices.selected() : nullptr;
    if (!device)
        return nullptr;
    if (!device->inputs)
        return decodedName(device->name);
    return decodedName((*device->inputs)->entry[(*device->inputs)->selectedIndex].name);
}

NSString TWUSequenceGrabber::driverSourceNameForChannel(SGChannel channel,
                                                        SeqGrabComponent inSequenceGrabber) {
    if (!channel || !inSequenceGrabber)
        return nullptr;
    const StDeviceList devices(channel, inSequenceGrabber);
    const SGDeviceName* device = devices ? devices.selected() : nullptr;
    return device ? decodedName(device->name) : NSString();
}

OSErr TWUSequenceGrabber::switchChannel(SGChannel channel, SeqGrabComponent ofSequenceGrabber,
                                        const NSString& toDeviceName, std::int16_t atDeviceIndex) {
    if (!channel || !ofSequenceGrabber || toDeviceName.isNil())
        return noErr;
    std::uint8_t name[kMostNameBytes + 1] = {};
    // Characters set the count of bytes, on purpose.
    const std::size_t length = std::min(toDeviceName.length(), kMostNameBytes);
    name[0] = static_cast<std::uint8_t>(length);
    std::memcpy(name + 1, toDeviceName.utf8().c_str(),
                std::min(length, toDeviceName.utf8().size()));

    auto status = static_cast<OSErr>(SGStop(ofSequenceGrabber));
    const bool wasIdle = status == cantDoThatInCurrentMode;
    if (wasIdle)
        status = noErr;
    if (status == noErr)
        status = static_cast<OSErr>(SGSetChannelDevice(channel, name));
    if (status == noErr)
        status = static_cast<OSErr>(SGSetChannelDeviceInput(channel, atDeviceIndex));
    if (!wasIdle)
        SGStartRecord(ofSequenceGrabber);
    return status;
}

OSErr TWUSequenceGrabber::switchChannel(SGChannel channel, SeqGrabComponent ofSequenceGrabber,
                                        const NSDictionary& toDeviceDict) {
    return switchChannel(
        channel, ofSequenceGrabber, toDeviceDict.objectForKey("Device Name").stringValue(),
        static_cast<std::int16_t>(toDeviceDict.objectForKey("Device Index").intValue()));
}

}  // namespace TWQuickTime
