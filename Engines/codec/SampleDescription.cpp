#include "Engines/codec/SampleDescription.h"

#include <algorithm>

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;

namespace {

constexpr std::size_t kVideoFixedSize = 86;
constexpr std::size_t kSoundFixedSize = 36;

Bytes childAtom(Bytes atoms, std::uint32_t type) {
    while (atoms.size() >= 8) {
        const std::size_t size = u32At(atoms, 0);
        if (size < 8 || size > atoms.size()) {
            return {};
        }
        if (u32At(atoms, 4) == type) {
            return atoms.subspan(8, size - 8);
        }
        atoms = atoms.subspan(size);
    }
    return {};
}

double ratioAt(Bytes bytes, std::size_t offset) {
    const auto numerator = static_cast<std::int32_t>(u32At(bytes, offset));
    const auto denominator = static_cast<std::int32_t>(u32At(bytes, offset + 4));
    return denominator != 0 ? double(numerator) / denominator : 0.0;
}

void readColor(Bytes colr, VideoDescription& into) {
    if (colr.size() < 10) {
        return;
    }
    const std::uint32_t kind = u32At(colr, 0);
    if (kind != fourCode("nclc") && kind != fourCode("nclx")) {
        return;
    }
    into.color.primaries = u16At(colr, 4);
    into.color.transfer = u16At(colr, 6);
    into.color.matrix = u16At(colr, 8);
    if (kind == fourCode("nclx") && colr.size() >= 11) {
        into.color.range =
            (std::to_integer<int>(colr[10]) & 0x80) ? ColorRange::full : ColorRange::video;
    }
}

void readPalette(Bytes description, VideoDescription& into) {
    const int depth = into.depth & 0x1F;
    const bool grey = into.depth > 32;
    if (depth != 1 && depth != 2 && depth != 4 && depth != 8) {
        return;
    }
    const std::uint16_t tableId = u16At(description, 84);
    if (tableId != 0 || grey) {
        into.palette = standardPalette(into.depth);
        return;
    }
    const std::size_t last = u16At(description, 92);
    const std::size_t entries = std::min<std::size_t>(last + 1, 256);
    if (description.size() < 94 + entries * 8) {
        into.palette = standardPalette(into.depth);
        return;
    }
    for (std::size_t i = 0; i < entries; ++i) {
        const std::size_t at = 94 + i * 8;
        into.palette.push_back(0xFF000000u | (u32At(description, at + 2) >> 24 << 16) |
                               (std::uint32_t(u16At(description, at + 4) >> 8) << 8) |
                               std::uint32_t(u16At(description, at + 6) >> 8));
    }
    into.extensionsOffset = 94 + (last + 1) * 8;
}

}  // namespace

Bytes descriptionExtension(Bytes description, std::size_t fixedSize, std::uint32_t type) {
    return description.size() > fixedSize ? childAtom(description.subspan(fixedSize), type)
                                          : Bytes{};
}

Expected<VideoDescription> readVideoDescription(Bytes bytes) {
    if (bytes.size() < kVideoFixedSize) {
        return Failure{FailureKind::truncated,
                       "video description of " + std::to_string(bytes.size()) + " bytes"};
    }
    VideoDescription description;
    description.format = u32At(bytes, 4);
    description.width = u16At(bytes, 32);
    description.height = u16At(bytes, 34);
    description.depth = u16At(bytes, 82);
    readPalette(bytes, description);
    const auto extension = [&](std::uint32_t type) {
        return descriptionExtension(bytes, description.extensionsOffset, type);
    };
    if (const Bytes pasp = extension(fourCode("pasp")); pasp.size() >= 8) {
        description.pixelAspect = {static_cast<std::int32_t>(u32At(pasp, 0)),
                                   static_cast<std::int32_t>(u32At(pasp, 4))};
    }
    if (const Bytes clap = extension(fourCode("clap")); clap.size() >= 32) {
        const CleanAperture aperture{ratioAt(clap, 0), ratioAt(clap, 8), ratioAt(clap, 16),
                                     ratioAt(clap, 24)};
        if (aperture.width > 0 && aperture.height > 0 && aperture.width <= description.width &&
            aperture.height <= description.height) {
            description.cleanAperture = aperture;
        }
    }
    if (const Bytes fiel = extension(fourCode("fiel")); fiel.size() >= 2) {
        const int detail = std::to_integer<int>(fiel[1]);
        description.interlaced = std::to_integer<int>(fiel[0]) == 2;
        description.topFieldFirst = detail == 1 || detail == 9;
    }
    readColor(extension(fourCode("colr")), description);
    return description;
}

Expected<SoundDescription> readSoundDescription(Bytes bytes) {
    if (bytes.size() < kSoundFixedSize) {
        return Failure{FailureKind::truncated,
                       "sound description of " + std::to_string(bytes.size()) + " bytes"};
    }
    SoundDescription description;
    description.format = u32At(bytes, 4);
    description.version = u16At(bytes, 16);
    description.channels = u16At(bytes, 24);
    description.bitsPerSample = u16At(bytes, 26);
    description.sampleRate = u32At(bytes, 32) / 65536.0;
    if (description.version == 1 && bytes.size() >= 52) {
        description.framesPerPacket = u32At(bytes, 36);
        description.bytesPerPacket = u32At(bytes, 44);
        description.extensionsOffset = 52;
    } else if (description.version == 2) {
        if (bytes.size() < 72) {
            return Failure{FailureKind::truncated, "sound description of version 2 with " +
                                                       std::to_string(bytes.size()) + " bytes"};
        }
        const std::uint64_t rateBits = bigEndianAt<8>(bytes, 40);
        std::memcpy(&description.sampleRate, &rateBits, sizeof rateBits);
        description.channels = static_cast<int>(std::min<std::uint32_t>(u32At(bytes, 48), 65535));
        description.bitsPerSample =
            static_cast<int>(std::min<std::uint32_t>(u32At(bytes, 56), 65535));
        description.formatFlags = u32At(bytes, 60);
        description.bytesPerPacket = u32At(bytes, 64);
        description.framesPerPacket = u32At(bytes, 68);
        description.extensionsOffset = std::clamp<std::size_t>(u32At(bytes, 36), 72, bytes.size());
        description.littleEndian = (description.formatFlags & 2) == 0;
    }
    if (!(description.sampleRate >= 1 && description.sampleRate <= 1e7)) {
        description.sampleRate = 0;
    }
    const std::size_t fixed = description.extensionsOffset;
    description.wave = descriptionExtension(bytes, fixed, fourCode("wave"));
    Bytes enda = childAtom(description.wave, fourCode("enda"));
    if (enda.size() < 2) {
        enda = descriptionExtension(bytes, fixed, fourCode("enda"));
    }
    if (enda.size() >= 2) {
        description.littleEndian = u16At(enda, 0) != 0;
    }
    return description;
}

SoundPacking soundPacking(const SoundDescription& d) {
    const auto channels = static_cast<std::uint32_t>(std::clamp(d.channels, 1, 255));
    const auto pcm = [channels](std::uint32_t bytes) { return SoundPacking{1, bytes * channels}; };
    if (d.version == 2) {
        return d.framesPerPacket > 0 && d.bytesPerPacket > 0
                   ? SoundPacking{d.framesPerPacket, d.bytesPerPacket}
                   : SoundPacking{};
    }
    switch (d.format) {
        case 0:
        case fourCode("NONE"):
        case fourCode("raw "):
        case fourCode("twos"):
        case fourCode("sowt"):
            return pcm(d.bitsPerSample <= 8 ? 1 : 2);
        case fourCode("in24"):
            return pcm(3);
        case fourCode("in32"):
        case fourCode("fl32"):
            return pcm(4);
        case fourCode("fl64"):
            return pcm(8);
        case fourCode("ulaw"):
        case fourCode("alaw"):
            return pcm(1);
        case fourCode("ima4"):
            return {64, 34 * channels};
        case fourCode("MAC3"):
            return {6, 2 * channels};
        case fourCode("MAC6"):
            return {6, channels};
        default:
            break;
    }
    if (d.version == 1 && d.framesPerPacket > 0 && d.bytesPerPacket > 0) {
        return {d.framesPerPacket, d.bytesPerPacket};
    }
    return {};
}

std::vector<std::uint32_t> standardPalette(int depth) {
    const bool grey = depth > 32;
    const int bits = depth & 0x1F;
    const std::uint32_t count = 1u << std::clamp(bits, 1, 8);
    std::vector<std::uint32_t> colors;
    const auto add = [&](std::uint32_t r, std::uint32_t g, std::uint32_t b) {
        colors.push_back(0xFF000000u | (r << 16) | (g << 8) | b);
    };
    if (grey || bits <= 2) {
        static constexpr std::array<std::uint32_t, 4> kTwoBits = {0xFF, 0xAC, 0x55, 0x00};
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t level =
                bits == 2 && !grey ? kTwoBits[i] : 255 - i * 255 / (count - 1);
            add(level, level, level);
        }
        return colors;
    }
    if (bits == 4) {
        return {0xFFFFFBFF, 0xFFEFD90B, 0xFFE1670C, 0xFFC50108, 0xFFD8046B, 0xFF4E0386,
                0xFF0000A5, 0xFF0195C7, 0xFF0C9F0F, 0xFF006204, 0xFF502D0B, 0xFF865D2F,
                0xFFB6B1B6, 0xFF7A777A, 0xFF3F3E3F, 0xFF000000};
    }
    for (std::uint32_t i = 0; i < 215; ++i) {  // the cube, white first, without its black
        add(255 - i / 36 * 51, 255 - i / 6 % 6 * 51, 255 - i % 6 * 51);
    }
    static constexpr std::array<std::uint32_t, 10> kRamp = {0xEE, 0xDD, 0xBB, 0xAA, 0x88,
                                                            0x77, 0x55, 0x44, 0x22, 0x11};
    for (int channel = 0; channel < 4; ++channel) {
        for (const std::uint32_t level : kRamp) {
            const bool all = channel == 3;
            add(all || channel == 0 ? level : 0, all || channel == 1 ? level : 0,
                all || channel == 2 ? level : 0);
        }
    }
    add(0, 0, 0);
    return colors;
}

}  // namespace TWQuickTime::codec
