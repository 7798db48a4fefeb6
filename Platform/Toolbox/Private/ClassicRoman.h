// The classic encoding of Latin scripts, by which names from before Unicode are read.
#pragma once

#include <string_view>

#include "NSString.h"

namespace TWQuickTime {

/// Every byte has a character.
NSString stringWithClassicRoman(std::string_view bytes);

}  // namespace TWQuickTime
