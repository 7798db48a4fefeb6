#include "Private/ContentSniffing.h"

#include <algorithm>

#include "Private/BigEndianBytes.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {
namespace {

using Bytes = std::span<const std::byte>;

bool hasText(Bytes bytes, std::size_t offset, std::string_view text) {
    return bytes.size() >= offset + text.size() &&
           std::equal(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                      [](char c, std::byte b) { return static_cast<std::byte>(c) == b; });
}

/// A file of atoms, by its major brand.
std::string_view typeOfBrand(OSType brand) {
    constexpr OSType kAnyLast = 0xFFFFFF00;
    switch (brand) {
        case fourCC("qt  "):
            return "com.apple.quicktime-movie";
        case fourCC("M4A "):
        case fourCC("M4B "):
        case fourCC("M4P "):
        case fourCC("F4A "):
            return "com.apple.m4a-audio";
        case fourCC("M4V "):
        case fourCC("M4VH"):
        case fourCC("M4VP"):
            return "com.apple.m4v-video";
        case fourCC("heic"):
        case fourCC("heix"):
        case fourCC("mif1"):
        case fourCC("avif"):
        case fourCC("crx "):
            return "public.image";
        default:
            break;
    }
    if ((brand & kAnyLast) == (fourCC("3gp ") & kAnyLast))
        return "public.3gpp";
    if ((brand & kAnyLast) == (fourCC("3g2 ") & kAnyLast))
        return "public.3gpp2";
    return "public.mpeg-4";
}

/// Files that begin with an atom of a movie file; those without a brand are the classic kind.
std::string_view typeOfAtoms(Bytes head) {
    if (head.size() < 12)
        return {};
    const std::uint32_t size = readBigEndian32(head, 0);
    const OSType type = readBigEndian32(head, 4);
    if (type == fourCC("ftyp"))
        return size >= 16 ? typeOfBrand(readBigEndian32(head, 8)) : "";
    const bool classic = type == fourCC("moov") || type == fourCC("mdat") ||
                         type == fourCC("wide") || type == fourCC("pnot");
    // Free space says nothing by itself: what follows it must be one of the others.
    const bool space = type == fourCC("free") || type == fourCC("skip");
    if (classic && (size >= 8 || size <= 1))
        return "com.apple.quicktime-movie";
    if (space && size >= 8 && size < head.size())
        return typeOfAtoms(head.subspan(size));
    return {};
}

std::string_view typeOfRiff(Bytes head) {
    if (!hasText(head, 0, "RIFF") && !hasText(head, 0, "RIFX") && !hasText(head, 0, "RF64"))
        return {};
    if (hasText(head, 8, "AVI "))
        return "public.avi";
    return hasText(head, 8, "WAVE") ? "com.microsoft.waveform-audio" : "";
}

std::string_view typeOfMatroska(Bytes head) {
    if (!hasText(head, 0, "\x1A\x45\xDF\xA3"))
        return {};
    // The document type stands in the first element, within the first few dozen bytes.
    constexpr std::string_view kWebm = "webm";
    const Bytes first = head.first(std::min<std::size_t>(head.size(), 64));
    for (std::size_t i = 0; i + kWebm.size() <= first.size(); ++i)
        if (hasText(first, i, kWebm))
            return "org.webmproject.webm";
    return "org.matroska.mkv";
}

/// Packets of 188 bytes (192 with a time in front), each beginning with the same byte.
bool isTransportStream(Bytes head) {
    constexpr std::byte kSync{0x47};
    constexpr std::size_t kPackets = 4;
    for (const auto& [start, length] : {std::pair{0u, 188u}, std::pair{4u, 192u}}) {
        bool all = head.size() > start + kPackets * length;
        for (std::size_t i = 0; all && i < kPackets; ++i)
            all = head[start + i * length] == kSync;
        if (all)
            return true;
    }
    return false;
}

/// Frames of 80-byte blocks; the first is a header block.
bool isDigitalVideo(Bytes head) {
    return head.size() >= 160 && head[0] == std::byte{0x1F} && head[1] == std::byte{0x07} &&
           head[2] == std::byte{0} && (head[80] & std::byte{0xE0}) == std::byte{0x20};
}

}  // namespace

std::string_view contentTypeBySignature(Bytes head) {
    for (const auto judge : {typeOfAtoms, typeOfRiff, typeOfMatroska}) {
        const std::string_view type = judge(head);
        if (!type.empty())
            return type;
    }
    if (hasText(head, 0, std::string_view("\0\0\1\xBA", 4)))
        return "public.mpeg";
    if (hasText(head, 0, "FORM") && hasText(head, 8, "AIFF"))
        return "public.aiff-audio";
    if (hasText(head, 0, "FORM") && hasText(head, 8, "AIFC"))
        return "public.aifc-audio";
    if (hasText(head, 0, "caff"))
        return "com.apple.coreaudio-format";
    if (isTransportStream(head))
        return "public.mpeg-2-transport-stream";
    if (isDigitalVideo(head))
        return "public.dv-movie";
    return {};
}

}  // namespace TWQuickTime
