// Any bytes as a picture of this kind.
#include "StillImageFuzzer.h"

using namespace TWQuickTime::image;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    drawAnything(openJPEG({reinterpret_cast<const std::byte*>(data), size}));
    return 0;
}
