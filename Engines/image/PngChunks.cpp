#include "Engines/image/PngChunks.h"

#include <isa-l/crc.h>
#include <zlib.h>

#include <cstring>
#include <string>

namespace TWQuickTime::image {
namespace {

using result::Failure;
using result::FailureKind;

constexpr std::uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::size_t kMaximumProfileBytes = 16 * 1024 * 1024;

std::uint32_t bigEndian32(const std::byte* p) {
    return std::to_integer<std::uint32_t>(p[0]) << 24 | std::to_integer<std::uint32_t>(p[1]) << 16 |
           std::to_integer<std::uint32_t>(p[2]) << 8 | std::to_integer<std::uint32_t>(p[3]);
}

std::uint16_t bigEndian16(const std::byte* p) {
    return static_cast<std::uint16_t>(std::to_integer<unsigned>(p[0]) << 8 |
                                      std::to_integer<unsigned>(p[1]));
}

constexpr std::uint32_t chunkType(const char (&name)[5]) {
    return std::uint32_t(std::uint8_t(name[0])) << 24 | std::uint32_t(std::uint8_t(name[1])) << 16 |
           std::uint32_t(std::uint8_t(name[2])) << 8 | std::uint32_t(std::uint8_t(name[3]));
}

Failure damagedAt(std::size_t offset, const std::string& what,
                  FailureKind kind = FailureKind::damaged) {
    return Failure{kind, "PNG @ " + std::to_string(offset) + ": " + what};
}

bool isAllowed(PngColor color, int depth) {
    switch (color) {
        case PngColor::grey:
            return depth == 1 || depth == 2 || depth == 4 || depth == 8 || depth == 16;
        case PngColor::palette:
            return depth == 1 || depth == 2 || depth == 4 || depth == 8;
        case PngColor::rgb:
        case PngColor::greyAlpha:
        case PngColor::rgbAlpha:
            return depth == 8 || depth == 16;
    }
    return false;
}

std::optional<PngHeader> readHeader(std::span<const std::byte> body) {
    if (body.size() != 13)
        return std::nullopt;
    const std::uint32_t width = bigEndian32(&body[0]);
    const std::uint32_t height = bigEndian32(&body[4]);
    const auto color = static_cast<PngColor>(body[9]);
    const int depth = std::to_integer<int>(body[8]);
    if (width == 0 || height == 0 || width > 0x3FFFFFFF || height > 0x7FFFFFFF ||
        !isAllowed(color, depth))
        return std::nullopt;
    if (body[10] != std::byte{0} || body[11] != std::byte{0} || std::to_integer<int>(body[12]) > 1)
        return std::nullopt;
    return PngHeader{static_cast<int>(width), static_cast<int>(height), depth, color,
                     body[12] == std::byte{1}};
}

std::vector<std::byte> inflateProfile(std::span<const std::byte> body) {
    const auto* end = static_cast<const std::byte*>(
        std::memchr(body.data(), 0, std::min<std::size_t>(body.size(), 80)));
    if (!end || end == body.data() || end + 2 > body.data() + body.size() || end[1] != std::byte{0})
        return {};
    const std::span<const std::byte> packed =
        body.subspan(static_cast<std::size_t>(end - body.data()) + 2);
    std::vector<std::byte> profile(std::min(kMaximumProfileBytes, packed.size() * 4 + 4096));
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK)
        return {};
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    int status = Z_OK;
    while (status == Z_OK) {
        if (stream.total_out == profile.size()) {
            if (profile.size() >= kMaximumProfileBytes)
                break;
            profile.resize(std::min(kMaximumProfileBytes, profile.size() * 2));
        }
        stream.next_out = reinterpret_cast<Bytef*>(profile.data() + stream.total_out);
        stream.avail_out = static_cast<uInt>(profile.size() - stream.total_out);
        status = inflate(&stream, Z_NO_FLUSH);
    }
    const std::size_t length = stream.total_out;
    inflateEnd(&stream);
    if (status != Z_STREAM_END)
        return {};
    profile.resize(length);
    return profile;
}

void readTransparency(std::span<const std::byte> body, PngFile& file) {
    switch (file.header.color) {
        case PngColor::palette:
            for (std::size_t i = 0; i < body.size() && i < 256; ++i)
                file.palette[i * 4] = std::to_integer<std::uint8_t>(body[i]);
            file.hasTransparency = true;
            break;
        case PngColor::grey:
            if (body.size() < 2)
                return;
            file.transparentColor = {bigEndian16(&body[0]), 0, 0};
            file.hasTransparency = true;
            break;
        case PngColor::rgb:
            if (body.size() < 6)
                return;
            file.transparentColor = {bigEndian16(&body[0]), bigEndian16(&body[2]),
                                     bigEndian16(&body[4])};
            file.hasTransparency = true;
            break;
        case PngColor::greyAlpha:
        case PngColor::rgbAlpha:
            break;
    }
}

bool readPalette(std::span<const std::byte> body, PngFile& file) {
    if (body.empty() || body.size() % 3 != 0 || body.size() > 256 * 3)
        return false;
    file.paletteSize = static_cast<int>(body.size() / 3);
    for (std::size_t i = 0; i < 256; ++i) {
        file.palette[i * 4] = 255;
        for (std::size_t c = 0; c < 3; ++c)
            file.palette[i * 4 + 1 + c] =
                i * 3 + c < body.size() ? std::to_integer<std::uint8_t>(body[i * 3 + c]) : 0;
    }
    return true;
}

void readPrimaries(std::span<const std::byte> body, PngFile& file) {
    if (body.size() != 32)
        return;
    double values[8];
    for (int i = 0; i < 8; ++i) {
        values[i] = bigEndian32(&body[static_cast<std::size_t>(i) * 4]) / 100000.0;
        if (values[i] > 1.0)
            return;
    }
    for (int i = 1; i < 8; i += 2)
        if (values[i] <= 0)
            return;
    file.primaries = {values[0], values[1], values[2], values[3],
                      values[4], values[5], values[6], values[7]};
}

}  // namespace

int PngHeader::channels() const {
    switch (color) {
        case PngColor::grey:
        case PngColor::palette:
            return 1;
        case PngColor::greyAlpha:
            return 2;
        case PngColor::rgb:
            return 3;
        case PngColor::rgbAlpha:
            return 4;
    }
    return 1;
}

SourceColors PngFile::colors() const {
    const bool grey = header.color == PngColor::grey || header.color == PngColor::greyAlpha;
    SourceColors colors;
    colors.channels = grey ? 1 : 3;
    if (!profile.empty()) {
        colors.profile = profile;
    } else if (!isSRGB) {
        colors.gamma = gamma;
        colors.primaries = primaries;
    }
    return colors;
}

result::Expected<PngFile> readPngChunks(std::span<const std::byte> bytes) {
    if (bytes.size() < 8 || std::memcmp(bytes.data(), kSignature, 8) != 0)
        return damagedAt(0, "no signature");
    PngFile file;
    bool hasHeader = false;
    bool dataEnded = false;
    std::size_t offset = 8;
    for (;;) {
        if (bytes.size() - offset < 12)
            return damagedAt(offset, "ends before IEND", FailureKind::truncated);
        const std::size_t length = bigEndian32(&bytes[offset]);
        const std::uint32_t type = bigEndian32(&bytes[offset + 4]);
        if (length > 0x7FFFFFFF || length > bytes.size() - offset - 12)
            return damagedAt(offset, "chunk longer than the file", FailureKind::truncated);
        const std::span<const std::byte> body = bytes.subspan(offset + 8, length);
        const bool isAncillary = (type & 0x20000000) != 0;
        const std::uint32_t checksum = crc32_gzip_refl(
            0, reinterpret_cast<const unsigned char*>(&bytes[offset + 4]), length + 4);
        const bool intact = checksum == bigEndian32(&bytes[offset + 8 + length]);
        if (!intact && !isAncillary)
            return damagedAt(offset, "checksum does not match");
        if (!hasHeader && type != chunkType("IHDR"))
            return damagedAt(offset, "does not begin with IHDR");

        switch (intact ? type : 0) {
            case chunkType("IHDR"): {
                const std::optional<PngHeader> header = readHeader(body);
                if (!header || hasHeader)
                    return damagedAt(offset, "IHDR makes no sense");
                file.header = *header;
                file.hasTransparency =
                    header->color == PngColor::greyAlpha || header->color == PngColor::rgbAlpha;
                hasHeader = true;
                break;
            }
            case chunkType("PLTE"):
                if (!readPalette(body, file) && file.header.color == PngColor::palette)
                    return damagedAt(offset, "PLTE makes no sense");
                break;
            case chunkType("tRNS"):
                readTransparency(body, file);
                break;
            case chunkType("gAMA"):
                if (length == 4)
                    file.gamma = bigEndian32(&body[0]) / 100000.0;
                break;
            case chunkType("cHRM"):
                readPrimaries(body, file);
                break;
            case chunkType("sRGB"):
                file.isSRGB = true;
                break;
            case chunkType("iCCP"):
                file.profile = inflateProfile(body);
                break;
            case chunkType("IDAT"):
                if (dataEnded)
                    return damagedAt(offset, "IDAT chunks are not together");
                file.data.push_back(body);
                break;
            case chunkType("IEND"):
                if (file.data.empty())
                    return damagedAt(offset, "no IDAT");
                if (file.header.color == PngColor::palette && file.paletteSize == 0)
                    return damagedAt(offset, "no PLTE");
                return file;
            default:
                if (!isAncillary)
                    return damagedAt(offset, "unknown critical chunk");
                break;
        }
        dataEnded = !file.data.empty() && type != chunkType("IDAT");
        offset += length + 12;
    }
}

}  // namespace TWQuickTime::image
