// Any bytes as a picture of this kind.
#include "StillImageFuzzer.h"

using namespace TWQuickTime::image;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    drawAnything(
        openOther({reinterpret_cast<const std::byte*>(data), size}, size % 2 ? "a.tga" : "a.tif"));
    return 0;
}
