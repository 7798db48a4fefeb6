// Colours as indexes into the standard table of 256, for the codecs that know nothing else.
#pragma once

#include "Engines/codec/VideoFrame.h"

namespace TWQuickTime::codec {

/// An indexed picture of an RGB one (bytes R G B), dithered with a fixed pattern so that still
/// parts stay still, its colour table being the standard one of depth 8.
result::Expected<VideoFrame> palettePicture(const VideoFrame& rgb);

}  // namespace TWQuickTime::codec
