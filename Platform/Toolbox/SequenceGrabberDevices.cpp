// The calls of the sequence grabber that speak of a channel's devices.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>

#include "Handles.h"
#include "Private/GrabberChannel.h"
#include "Private/HandleBytes.h"
#include "Private/ToolboxCall.h"
#include "SequenceGrabber.h"

namespace TWQuickTime {
namespace {

constexpr std::size_t kMostListed = std::numeric_limits<std::int16_t>::max();

/// Makes the call on the instance's channel, or says why there is none.
template <class Request>
ComponentResult onChannel(const char* name, SGChannel instance, Request request) {
    ToolboxCall call(name);
    if (call.faulted())
        return call.status();
    if (!componentStorage(instance))
        return badInstance;
    auto* storage = componentStorageAs<GrabberChannelStorage>(instance);
    if (!storage || !storage->channel)
        return badComponentSelector;
    try {
        return call.finish(request(*storage->channel));
    } catch (const std::bad_alloc&) {
        return call.fail(memFullErr);
    }
}

/// @param room  bytes behind the length
void putPascalString(std::uint8_t* to, const std::string& text, std::size_t room) {
    const std::size_t size = std::min(text.size(), room);
    to[0] = static_cast<std::uint8_t>(size);
    std::memcpy(to + 1, text.data(), size);
}

std::string textOfPascalString(const std::uint8_t* text) {
    return {reinterpret_cast<const char*>(text + 1), text[0]};
}

/// A handle to a list record with room for so many entries; null when there is no memory.
template <class List>
List** newList(std::size_t count) {
    using Entry = std::remove_extent_t<decltype(List::entry)>;
    const std::size_t size = sizeof(List) + (std::max<std::size_t>(count, 1) - 1) * sizeof(Entry);
    auto** list = reinterpret_cast<List**>(NewHandleClear(static_cast<Size>(size)));
    if (list)
        (*list)->count = static_cast<std::int16_t>(count);
    return list;
}

/// How many entries of a list are really there.
template <class List>
std::size_t entryCount(List** list) {
    using Entry = std::remove_extent_t<decltype(List::entry)>;
    const auto handle = reinterpret_cast<Handle>(list);
    if (!IsHandleValid(handle) || GetHandleSize(handle) < static_cast<Size>(offsetof(List, entry)))
        return 0;
    const std::size_t room =
        (static_cast<std::size_t>(GetHandleSize(handle)) - offsetof(List, entry)) / sizeof(Entry);
    return std::min(room, static_cast<std::size_t>(std::max<std::int16_t>((*list)->count, 0)));
}

SGDeviceInputList newInputList(const capture::Device& device, std::size_t selected) {
    const std::size_t count = std::min(device.inputs.size(), kMostListed);
    const SGDeviceInputList list = newList<SGDeviceInputListRecord>(count);
    if (!list)
        return nullptr;
    (*list)->selectedIndex = static_cast<std::int16_t>(selected);
    for (std::size_t i = 0; i < count; ++i) {
        SGDeviceInputName& entry = (*list)->entry[i];
        putPascalString(entry.name, device.inputs[i].name, sizeof entry.name - 1);
        entry.flags = device.inputs[i].available ? 0 : sgDeviceInputNameFlagInputUnavailable;
    }
    return list;
}

OSErr listDevices(GrabberChannel& channel, std::int32_t flags, SGDeviceList* to) {
    const std::vector<ListedDevice> devices =
        channel.devices((flags & sgDeviceListDontCheckAvailability) == 0);
    const std::size_t count = std::min(devices.size(), kMostListed);
    const SGDeviceList list = newList<SGDeviceListRecord>(count);
    if (!list)
        return memFullErr;
    if (count > 0)
        (*list)->selectedIndex = static_cast<std::int16_t>(channel.selectedDevice(devices));
    for (std::size_t i = 0; i < count; ++i) {
        const ListedDevice& device = devices[i];
        // Handles are made first: making one may move the record.
        const SGDeviceInputList inputs =
            flags & sgDeviceListIncludeInputs
                ? newInputList(device.device, channel.selectedInput(device))
                : nullptr;
        const Handle identity =
            newHandleWithBytes(std::as_bytes(std::span(device.device.identity)));
        SGDeviceName& entry = (*list)->entry[i];
        putPascalString(entry.name, device.name, sizeof entry.name - 1);
        entry.flags = device.device.available ? 0 : sgDeviceNameFlagDeviceUnavailable;
        entry.inputs = inputs;
        entry.identity = identity;
    }
    *to = list;
    return noErr;
}

}  // namespace

ComponentResult SGGetChannelDeviceList(SGChannel channel, std::int32_t selectionFlags,
                                       SGDeviceList* list) {
    if (list)
        *list = nullptr;
    return onChannel("SGGetChannelDeviceList", channel, [&](GrabberChannel& each) {
        return list ? listDevices(each, selectionFlags, list) : paramErr;
    });
}

ComponentResult SGDisposeDeviceList(SeqGrabComponent grabber, SGDeviceList list) {
    ToolboxCall call("SGDisposeDeviceList");
    const auto handle = reinterpret_cast<Handle>(list);
    if (IsHandleValid(handle)) {
        for (std::size_t i = 0; i < entryCount(list); ++i) {
            for (const Handle inner :
                 {reinterpret_cast<Handle>((*list)->entry[i].inputs), (*list)->entry[i].identity}) {
                if (inner)
                    DisposeHandle(inner);
            }
        }
        DisposeHandle(handle);
    }
    if (call.faulted())
        return call.status();
    if (!componentStorage(grabber))
        return badInstance;
    return call.finish(list ? noErr : nilHandleErr);
}

ComponentResult SGSetChannelUsage(SGChannel channel, std::int32_t usage) {
    return onChannel("SGSetChannelUsage", channel, [&](GrabberChannel& each) {
        if (each.grabber()->recording)
            return cantDoThatInCurrentMode;
        each.usage = usage;
        return noErr;
    });
}

ComponentResult SGGetChannelUsage(SGChannel channel, std::int32_t* usage) {
    return onChannel("SGGetChannelUsage", channel, [&](const GrabberChannel& each) {
        if (!usage)
            return paramErr;
        *usage = each.usage;
        return noErr;
    });
}

ComponentResult SGSetChannelDevice(SGChannel channel, const std::uint8_t* name) {
    return onChannel("SGSetChannelDevice", channel, [&](GrabberChannel& each) {
        return name ? each.selectDevice(textOfPascalString(name)) : paramErr;
    });
}

ComponentResult SGSetChannelDeviceInput(SGChannel channel, std::int16_t inputNumber) {
    return onChannel("SGSetChannelDeviceInput", channel,
                     [&](GrabberChannel& each) { return each.selectInput(inputNumber); });
}

ComponentResult SGGetChannelDeviceAndInputNames(SGChannel channel, std::uint8_t* deviceName,
                                                std::uint8_t* inputName,
                                                std::int16_t* inputNumber) {
    return onChannel("SGGetChannelDeviceAndInputNames", channel, [&](GrabberChannel& each) {
        constexpr std::size_t kRoom = 255;
        const std::vector<ListedDevice> list = each.devices(true);
        if (list.empty())
            return noDeviceForChannel;
        const ListedDevice& device = list[each.selectedDevice(list)];
        const std::size_t input = each.selectedInput(device);
        if (deviceName)
            putPascalString(deviceName, device.name, kRoom);
        if (inputName)
            putPascalString(
                inputName,
                input < device.device.inputs.size() ? device.device.inputs[input].name : "", kRoom);
        if (inputNumber)
            *inputNumber = static_cast<std::int16_t>(input);
        return noErr;
    });
}

}  // namespace TWQuickTime
