#include "OSTypeStrings.h"

#include <string>

namespace TWQuickTime {

NSString QTStringForOSType(OSType code) {
    std::u16string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text.push_back(static_cast<char16_t>(code >> shift & 0xFF));
    return NSString::stringWithUTF16(text);
}

OSType QTOSTypeForString(const NSString& text) {
    if (text.isNil())
        return 0;
    OSType code = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const char16_t unit = i < text.length() ? text.characterAtIndex(i) : u' ';
        if (unit > 0xFF)
            return 0;
        code = code << 8 | unit;
    }
    return code;
}

}  // namespace TWQuickTime
