// Whether uncompressed sound needs computing to become uncompressed sound of another form.
#pragma once

#include <optional>

#include "Engines/codec/SampleDescription.h"

namespace TWQuickTime::codec {

/// What makes samples of one description samples of another: 0 when nothing does, else the width
/// in bytes of the samples whose bytes are to be turned around. None when they must be computed,
/// when either is compressed, and for widths below 16 bits, whose silence is not always zero.
/// Rates and channels are not looked at.
std::optional<int> pcmByteSwap(Bytes fromDescription, Bytes toDescription);

}  // namespace TWQuickTime::codec
