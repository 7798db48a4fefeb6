#include "Components.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "Private/ComponentTable.h"
#include "Private/HandleBytes.h"
#include "Private/ToolboxCall.h"

namespace TWQuickTime {
namespace {

/// Makes the handle hold the text as a Pascal string, cut between characters at 255 bytes; no text
/// leaves no bytes.
OSErr putPascalString(Handle handle, const std::string& text) {
    if (!IsHandleValid(handle))
        return nilHandleErr;
    if (text.empty())
        return resizeHandle(handle, 0) ? noErr : memFullErr;
    std::size_t count = std::min<std::size_t>(text.size(), 255);
    while (count < text.size() && count > 0 &&
           (static_cast<unsigned char>(text[count]) & 0xC0) == 0x80)
        --count;
    if (!resizeHandle(handle, count + 1))
        return memFullErr;
    **handle = static_cast<char>(count);
    std::memcpy(*handle + 1, text.data(), count);
    return noErr;
}

}  // namespace

Component FindNextComponent(Component after, const ComponentDescription* looking) {
    ToolboxCall call("FindNextComponent");
    if (call.faulted() || !looking)
        return nullptr;
    return findMatchingComponent(after, *looking).get();
}

std::int32_t CountComponents(const ComponentDescription* looking) {
    ToolboxCall call("CountComponents");
    if (call.faulted() || !looking)
        return 0;
    return static_cast<std::int32_t>(countMatchingComponents(*looking));
}

ComponentInstance OpenComponent(Component component) {
    ToolboxCall call("OpenComponent");
    if (call.faulted())
        return nullptr;
    const ComponentPointer record = findComponentRecord(component);
    return record ? openInstance(record) : nullptr;
}

OSErr OpenAComponent(Component component, ComponentInstance* instance) {
    ToolboxCall call("OpenAComponent");
    if (instance)
        *instance = nullptr;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    const ComponentPointer record = findComponentRecord(component);
    if (!record || !instance)
        return call.fail(record ? paramErr : invalidComponentID);
    *instance = openInstance(record);
    return call.finish(*instance ? noErr : componentDidNotOpen);
}

ComponentInstance OpenDefaultComponent(OSType componentType, OSType componentSubType) {
    ToolboxCall call("OpenDefaultComponent");
    if (call.faulted())
        return nullptr;
    const ComponentDescription wanted{.componentType = componentType,
                                      .componentSubType = componentSubType};
    ComponentPointer record = findMatchingComponent(nullptr, wanted);
    for (; record; record = findMatchingComponent(record.get(), wanted))
        if (ComponentInstance instance = openInstance(record))
            return instance;
    return nullptr;
}

ComponentResult CloseComponent(ComponentInstance instance) {
    ToolboxCall call("CloseComponent");
    if (call.faulted())
        return call.status();
    return closeInstance(instance);
}

OSErr GetComponentInfo(Component component, ComponentDescription* description, Handle name,
                       Handle info, Handle icon) {
    ToolboxCall call("GetComponentInfo");
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    const ComponentPointer record = findComponentRecord(component);
    if (!record)
        return invalidComponentID;
    if (description) {
        *description = record->registration.description;
        description->componentFlagsMask = 0;
    }
    OSErr status = name ? putPascalString(name, record->registration.name) : noErr;
    if (status == noErr && info)
        status = putPascalString(info, record->registration.info);
    if (status == noErr && icon)
        status = !IsHandleValid(icon) ? nilHandleErr : resizeHandle(icon, 0) ? noErr : memFullErr;
    return status;
}

}  // namespace TWQuickTime
