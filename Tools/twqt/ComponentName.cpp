#include "ComponentName.h"

#include <Handles.h>

namespace twqt {

std::string componentName(TWQuickTime::Component component) {
    const TWQuickTime::Handle name = TWQuickTime::NewHandle(0);
    std::string text;
    if (TWQuickTime::GetComponentInfo(component, nullptr, name, nullptr, nullptr) ==
            TWQuickTime::noErr &&
        TWQuickTime::GetHandleSize(name) > 0)
        text.assign(*name + 1, static_cast<unsigned char>(**name));
    TWQuickTime::DisposeHandle(name);
    return text;
}

}  // namespace twqt
