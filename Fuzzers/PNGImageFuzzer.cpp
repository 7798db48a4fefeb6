// Any bytes as a PNG file. The checksums of its chunks are made right first, or hardly any input
// would get past them.
#include <isa-l/crc.h>

#include <vector>

#include "StillImageFuzzer.h"

using namespace TWQuickTime::image;

namespace {

std::uint32_t bigEndian32(const std::uint8_t* p) {
    return std::uint32_t{p[0]} << 24 | std::uint32_t{p[1]} << 16 | std::uint32_t{p[2]} << 8 | p[3];
}

void mendChecksums(std::vector<std::uint8_t>& bytes) {
    for (std::size_t offset = 8; bytes.size() - offset >= 12 && offset < bytes.size();) {
        const std::size_t length = bigEndian32(&bytes[offset]);
        if (length > bytes.size() - offset - 12)
            return;
        const std::uint32_t checksum = crc32_gzip_refl(0, &bytes[offset + 4], length + 4);
        for (std::size_t i = 0; i < 4; ++i)
            bytes[offset + 8 + length + i] = static_cast<std::uint8_t>(checksum >> (24 - 8 * i));
        offset += length + 12;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::uint8_t> bytes(data, data + size);
    if (size > 8)
        mendChecksums(bytes);
    drawAnything(openPNG({reinterpret_cast<const std::byte*>(bytes.data()), bytes.size()}));
    return 0;
}
