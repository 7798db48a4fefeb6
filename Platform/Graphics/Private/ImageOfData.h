// Images of pictures in any format, for the parts of the platform that import files.
#pragma once

#include <string>

#include "CGImage.h"
#include "NSData.h"

namespace TWQuickTime {

/// An image of a picture in any format; null when there is none. Keeps the data.
/// @param fileName  may be empty; its extension decides where the contents do not
CGImageRef createImageOfData(const NSData& data, const std::string& fileName);

}  // namespace TWQuickTime
