#include "Private/RunLoopModes.h"

#include <algorithm>

#include "NSException.h"
#include "NSRunLoop.h"

namespace TWQuickTime {

RunLoopModes::RunLoopModes() {
    for (const char* name :
         {NSDefaultRunLoopMode, NSEventTrackingRunLoopMode, NSModalPanelRunLoopMode})
        addCommonMode(name);
}

std::uint64_t RunLoopModes::bitOf(const NSString& name) {
    constexpr std::size_t namesMaximum = 63;
    const auto found = std::ranges::find(names_, name);
    const auto place = static_cast<std::size_t>(found - names_.begin());
    if (place >= namesMaximum)
        throw NSException(NSRangeException, "a run loop has at most 63 modes");
    if (found == names_.end())
        names_.push_back(name);
    return std::uint64_t{1} << (place + 1);
}

std::uint64_t RunLoopModes::modesOfPerform(std::span<const NSString> names) {
    std::uint64_t modes = 0;
    for (const NSString& name : names)
        modes |= name == NSRunLoopCommonModes ? commonModes : bitOf(name);
    return modes;
}

std::uint64_t RunLoopModes::modesOfRun(const NSString& name) {
    const std::uint64_t own = bitOf(name == NSRunLoopCommonModes ? NSDefaultRunLoopMode : name);
    return own & areCommon_ ? own | commonModes : own;
}

void RunLoopModes::addCommonMode(const NSString& name) {
    areCommon_ |= bitOf(name);
}

}  // namespace TWQuickTime
