#include "Engines/codec/VideoEncoder.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "Engines/codec/Private/EncoderFactories.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;

namespace {

/// The name that the description's 32-byte field carries.
std::string_view displayName(std::uint32_t type) {
    switch (type) {
        case fourCode("avc1"):
            return "H.264";
        case fourCode("hvc1"):
            return "HEVC";
        case fourCode("jpeg"):
            return "Photo - JPEG";
        case fourCode("mjpa"):
            return "Motion JPEG A";
        case fourCode("rle "):
            return "Animation";
        case fourCode("mp4v"):
            return "MPEG-4 Video";
        case fourCode("apco"):
            return "Apple ProRes 422 Proxy";
        case fourCode("apcs"):
            return "Apple ProRes 422 LT";
        case fourCode("apcn"):
            return "Apple ProRes 422";
        case fourCode("apch"):
            return "Apple ProRes 422 HQ";
        case fourCode("ap4h"):
            return "Apple ProRes 4444";
        case fourCode("ap4x"):
            return "Apple ProRes 4444 XQ";
        case fourCode("png "):
            return "PNG";
        case fourCode("dvc "):
            return "DV/DVCPRO - NTSC";
        case fourCode("dvcp"):
            return "DV - PAL";
        case fourCode("dvpp"):
            return "DVCPRO - PAL";
        default:
            return "";
    }
}

int storedDepth(const VideoEncoderSettings& settings, PixelFormat format) {
    const bool raw = settings.codec == fourCode("raw ") || settings.codec == fourCode("rle ");
    if (settings.codec == fourCode("smc ") || settings.codec == fourCode("gif ")) {
        return 8;
    }
    if (raw && format.number() == AV_PIX_FMT_RGB555BE) {
        return 16;
    }
    if (format.isGrey() && format.bitsPerComponent() <= 8) {
        return settings.codec == fourCode("jpeg") || raw ? 40 : 24;
    }
    if (settings.codec == fourCode("b64a")) {
        return 64;
    }
    if (settings.codec == fourCode("b48r")) {
        return 48;
    }
    if (settings.codec == fourCode("b16g")) {
        return 16;
    }
    return format.hasAlpha() && settings.codec != fourCode("Hap1") ? 32 : 24;
}

bool isUncompressed(std::uint32_t type) {
    static constexpr std::uint32_t kRaw[] = {fourCode("raw "), fourCode("2vuy"), fourCode("yuvs"),
                                             fourCode("v210"), fourCode("v308"), fourCode("v408"),
                                             fourCode("v410"), fourCode("r210"), fourCode("R10k"),
                                             fourCode("b64a"), fourCode("b48r"), fourCode("b16g")};
    return std::ranges::find(kRaw, type) != std::end(kRaw);
}

}  // namespace

AVPixelFormat choosePixelFormat(const VideoEncoderSettings& settings,
                                const VideoCodecEntry& entry) {
    std::vector<AVPixelFormat> allowed;
    const bool wantsAlpha = settings.depth == 32;
    const bool wantsGrey = settings.depth >= 33 && settings.depth <= 40;
    const auto accept = [&](auto test) {
        for (const AVPixelFormat format : entry.formats) {
            if (test(PixelFormat(format))) {
                allowed.push_back(format);
            }
        }
    };
    if (wantsAlpha) {
        accept([](PixelFormat f) { return f.hasAlpha(); });
    } else if (wantsGrey) {
        accept([](PixelFormat f) { return f.isGrey(); });
    } else if (settings.depth == 16) {
        accept([](PixelFormat f) { return f.number() == AV_PIX_FMT_RGB555BE; });
    } else {
        accept([](PixelFormat f) {
            return !f.hasAlpha() && !f.isGrey() && f.number() != AV_PIX_FMT_RGB555BE;
        });
    }
    if (allowed.empty()) {
        allowed.assign(entry.formats.begin(), entry.formats.end());
    }
    if (allowed.size() == 1 || !settings.sourceFormat.valid()) {
        return allowed.front();
    }
    allowed.push_back(AV_PIX_FMT_NONE);
    return avcodec_find_best_pix_fmt_of_list(
        allowed.data(), static_cast<AVPixelFormat>(settings.sourceFormat.number()), wantsAlpha,
        nullptr);
}

ColorTags encodedColor(const VideoEncoderSettings& settings, PixelFormat format) {
    ColorTags color = settings.color;
    if (format.isRgb() || format.isGrey()) {
        color.matrix = 2;
        color.range = ColorRange::full;
        return color;
    }
    if (color.matrix == 0) {
        color.matrix = 2;
    }
    color.range = ColorRange::video;
    return color;
}

double mappedQuality(const VideoCodecEntry& entry, int quality) {
    const double part = std::clamp(quality, kQualityMinimum, kQualityMaximum) / 1023.0;
    return entry.worst + (entry.best - entry.worst) * part;
}

Packet sharedPacket(AVPacket& native) {
    std::shared_ptr<AVPacket> kept(av_packet_alloc(),
                                   [](AVPacket* packet) { av_packet_free(&packet); });
    av_packet_move_ref(kept.get(), &native);
    Packet packet;
    packet.bytes = {reinterpret_cast<const std::byte*>(kept->data), std::size_t(kept->size)};
    packet.sync = (kept->flags & AV_PKT_FLAG_KEY) != 0;
    packet.owner = std::move(kept);
    return packet;
}

Expected<std::unique_ptr<VideoEncoder>> VideoEncoder::open(const VideoEncoderSettings& settings) {
    const VideoCodecEntry* entry = videoCodecEntry(settings.codec);
    if (!entry) {
        return Failure{FailureKind::notAvailable, "no encoder for this video codec type"};
    }
    if (settings.width < 1 || settings.height < 1 || settings.width > 32766 ||
        settings.height > 32766 || settings.timeScale < 1 || !settings.frameRate.known()) {
        return Failure{FailureKind::badArgument, "video of " + std::to_string(settings.width) +
                                                     "x" + std::to_string(settings.height) +
                                                     " cannot be encoded"};
    }
    if (entry->type == fourCode("jpeg")) {
        return openJpegEncoder(settings, *entry);
    }
    if (entry->id == AV_CODEC_ID_PRORES) {
        return openProResEncoder(settings, *entry);
    }
    return openNativeEncoder(settings, *entry);
}

std::vector<std::byte> VideoEncoder::sampleDescription(bool isoStyle) const {
    ByteWriter writer;
    writer.u32(0).u32(settings_.codec).zeros(6).u16(1);
    const bool raw = isUncompressed(settings_.codec);
    // Version 2 marks the uncompressed YUV layouts.
    const bool version2 = raw && !input_.format.isRgb() && !input_.format.isGrey();
    writer.u16(version2 && !isoStyle ? 2 : 0).u16(0).u32(isoStyle ? 0 : fourCode("TWQT"));
    if (isoStyle) {
        writer.u32(0).u32(0);
    } else {
        writer.u32(std::uint32_t(std::clamp(settings_.temporalQuality, 0, 1024)));
        writer.u32(
            std::uint32_t(raw ? kQualityLossless : std::clamp(settings_.spatialQuality, 0, 1024)));
    }
    writer.u16(std::uint32_t(settings_.width)).u16(std::uint32_t(settings_.height));
    writer.u32(0x00480000).u32(0x00480000).u32(0).u16(1);
    const std::string_view name = displayName(settings_.codec);
    writer.u8(std::uint32_t(name.size())).raw(std::as_bytes(std::span(name)));
    writer.zeros(31 - name.size());
    const int depth = storedDepth(settings_, input_.format);
    writer.u16(std::uint32_t(depth)).u16(0xFFFF);
    writer.raw(codecExtensions());
    if (!isoStyle && (settings_.interlaced || raw || settings_.codec >> 16 == 0x6170)) {
        const std::size_t atom = writer.openAtom(fourCode("fiel"));
        writer.u8(settings_.interlaced ? 2 : 1);
        writer.u8(!settings_.interlaced ? 0 : settings_.topFieldFirst ? 9 : 14).closeAtom(atom);
    }
    const ColorTags color = codedColor();
    if (settings_.color.known() && !input_.format.isRgb()) {
        const std::size_t atom = writer.openAtom(fourCode("colr"));
        writer.u32(isoStyle ? fourCode("nclx") : fourCode("nclc"));
        writer.u16(std::uint32_t(color.primaries)).u16(std::uint32_t(color.transfer));
        writer.u16(std::uint32_t(color.matrix));
        if (isoStyle) {
            writer.u8(color.range == ColorRange::full ? 0x80 : 0);
        }
        writer.closeAtom(atom);
    }
    const Rational& aspect = settings_.pixelAspect;
    if (aspect.known() && aspect.numerator != aspect.denominator) {
        const std::size_t atom = writer.openAtom(fourCode("pasp"));
        writer.u32(std::uint32_t(aspect.numerator)).u32(std::uint32_t(aspect.denominator));
        writer.closeAtom(atom);
    }
    writer.closeAtom(0);
    return writer.take();
}

}  // namespace TWQuickTime::codec
