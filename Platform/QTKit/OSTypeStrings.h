// Four-character codes as text.
//
//     QTStringForOSType(fourCC("mov "));   // "mov "
#pragma once

#include "NSString.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

/// The four bytes of a code as characters; those above 0x7F are taken for Latin-1.
TWQT_EXPORT NSString QTStringForOSType(OSType code);
/// The code of a text: its first four characters, filled with blanks; 0 for nil and for characters
/// beyond Latin-1.
TWQT_EXPORT OSType QTOSTypeForString(const NSString& text);

}  // namespace TWQuickTime
