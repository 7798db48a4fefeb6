#include "Engines/codec/Private/ForeignDescriptions.h"

#include <algorithm>

#include "Engines/codec/Private/CodecHeaders.h"
#include "Engines/codec/Private/CodecMap.h"

namespace TWQuickTime::codec {

namespace {

Bytes headerOf(const AVCodecParameters& p) {
    return {reinterpret_cast<const std::byte*>(p.extradata), std::size_t(p.extradata_size)};
}

void atomOf(ByteWriter& writer, std::uint32_t type, Bytes payload) {
    const std::size_t atom = writer.openAtom(type);
    writer.raw(payload).closeAtom(atom);
}

/// The type by which movies know the codec, or one of our own.
std::uint32_t videoType(const AVCodecParameters& p) {
    // Raw pictures of AVI lie bottom up and in other layouts; their own code says which.
    if (p.codec_id == AV_CODEC_ID_RAWVIDEO && p.codec_tag != 0 &&
        videoDecoderId(nativeTag(p.codec_tag)) == AV_CODEC_ID_RAWVIDEO) {
        return nativeTag(p.codec_tag);
    }
    for (const VideoCodecEntry& entry : videoCodecEntries()) {
        if (entry.id == p.codec_id && entry.id != AV_CODEC_ID_RAWVIDEO) {
            return entry.type;
        }
    }
    return kLibraryVideoType | std::uint32_t(p.codec_id);
}

std::uint32_t pcmType(AVCodecID id) {
    switch (id) {
        case AV_CODEC_ID_PCM_U8:
            return fourCode("raw ");
        case AV_CODEC_ID_PCM_S16LE:
        case AV_CODEC_ID_PCM_S8:
            return fourCode("sowt");
        case AV_CODEC_ID_PCM_S16BE:
            return fourCode("twos");
        case AV_CODEC_ID_PCM_MULAW:
            return fourCode("ulaw");
        case AV_CODEC_ID_PCM_ALAW:
            return fourCode("alaw");
        default:
            return 0;
    }
}

struct LinearFormat {
    AVCodecID id;
    int bits;
    std::uint32_t flags;
};

constexpr LinearFormat kLinear[] = {
    {AV_CODEC_ID_PCM_S24LE, 24, 12}, {AV_CODEC_ID_PCM_S24BE, 24, 14},
    {AV_CODEC_ID_PCM_S32LE, 32, 12}, {AV_CODEC_ID_PCM_S32BE, 32, 14},
    {AV_CODEC_ID_PCM_F32LE, 32, 9},  {AV_CODEC_ID_PCM_F32BE, 32, 11},
    {AV_CODEC_ID_PCM_F64LE, 64, 9},  {AV_CODEC_ID_PCM_F64BE, 64, 11},
    {AV_CODEC_ID_PCM_S16LE, 16, 12}, {AV_CODEC_ID_PCM_S16BE, 16, 14},
};

std::uint32_t soundType(const AVCodecParameters& p) {
    for (const SoundCodecEntry& entry : soundCodecEntries()) {
        if (entry.id == p.codec_id && !entry.pcm) {
            return entry.type;
        }
    }
    return kLibrarySoundType | (std::uint32_t(p.codec_id) - 0x10000);
}

void soundHead(ByteWriter& writer, std::uint32_t type) {
    writer.u32(0).u32(type).zeros(6).u16(1);
}

/// Version 2 names any uncompressed format, rate and number of channels.
std::vector<std::byte> linearDescription(const AVCodecParameters& p, const LinearFormat& format) {
    ByteWriter writer;
    soundHead(writer, fourCode("lpcm"));
    writer.u16(2).u16(0).u32(0).u16(3).u16(16).u16(0xFFFE).u16(0).u32(0x00010000).u32(72);
    writer.f64(p.sample_rate).u32(std::uint32_t(p.ch_layout.nb_channels)).u32(0x7F000000);
    writer.u32(std::uint32_t(format.bits)).u32(format.flags);
    writer.u32(std::uint32_t(format.bits / 8 * p.ch_layout.nb_channels)).u32(1);
    writer.closeAtom(0);
    return writer.take();
}

void version1(ByteWriter& writer, const AVCodecParameters& p, int bits) {
    writer.u16(1).u16(0).u32(0).u16(std::uint32_t(p.ch_layout.nb_channels));
    writer.u16(std::uint32_t(bits)).u16(0xFFFE).u16(0);
    writer.u32(p.sample_rate > 65535 ? 0 : std::uint32_t(p.sample_rate) << 16);
    writer.u32(std::uint32_t(std::max(p.frame_size, 0))).u32(0).u32(0).u32(2);
}

/// What WAVEFORMATEX would say, for the codecs that come from Windows.
void windowsAtom(ByteWriter& writer, const AVCodecParameters& p, std::uint32_t type) {
    const std::size_t atom = writer.openAtom(type);
    const auto u16 = [&](std::uint32_t v) { writer.u8(v & 0xFF).u8((v >> 8) & 0xFF); };
    u16(type & 0xFFFF);
    u16(std::uint32_t(p.ch_layout.nb_channels));
    u16(std::uint32_t(p.sample_rate) & 0xFFFF);
    u16(std::uint32_t(p.sample_rate) >> 16);
    u16(std::uint32_t(p.bit_rate / 8) & 0xFFFF);
    u16(std::uint32_t(p.bit_rate / 8) >> 16);
    u16(std::uint32_t(p.block_align));
    u16(std::uint32_t(p.bits_per_coded_sample));
    u16(std::uint32_t(p.extradata_size));
    writer.raw(headerOf(p)).closeAtom(atom);
}

}  // namespace

std::vector<std::byte> foreignVideoDescription(const AVCodecParameters& p, Rational pixelAspect) {
    ByteWriter writer;
    writer.u32(0).u32(videoType(p)).zeros(6).u16(1);
    writer.u16(0).u16(0).u32(0).u32(512).u32(512);
    writer.u16(std::uint32_t(std::min(p.width, 65535)));
    writer.u16(std::uint32_t(std::min(p.height, 65535)));
    writer.u32(0x00480000).u32(0x00480000).u32(0).u16(1).zeros(32);
    const int depth = p.bits_per_coded_sample > 0 ? p.bits_per_coded_sample : 24;
    writer.u16(std::uint32_t(depth)).u16(0xFFFF);
    const Bytes header = headerOf(p);
    const bool isRecord = !header.empty() && header[0] == std::byte{1};
    if (p.codec_id == AV_CODEC_ID_H264 && isRecord) {
        atomOf(writer, fourCode("avcC"), header);
    } else if (p.codec_id == AV_CODEC_ID_HEVC && isRecord) {
        atomOf(writer, fourCode("hvcC"), header);
    } else if (p.codec_id == AV_CODEC_ID_MPEG4 && !header.empty()) {
        atomOf(writer, fourCode("esds"), esdsPayload(0x20, false, 0, 0, 0, header));
    } else if (!header.empty()) {
        atomOf(writer, fourCode("glbl"), header);
    }
    if (pixelAspect.known() && pixelAspect.numerator != pixelAspect.denominator) {
        const std::size_t atom = writer.openAtom(fourCode("pasp"));
        writer.u32(std::uint32_t(pixelAspect.numerator));
        writer.u32(std::uint32_t(pixelAspect.denominator)).closeAtom(atom);
    }
    writer.closeAtom(0);
    return writer.take();
}

std::vector<std::byte> foreignSoundDescription(const AVCodecParameters& p, int bytesPerPcmFrame) {
    if (bytesPerPcmFrame > 0) {
        const std::uint32_t simple = p.sample_rate <= 65535 ? pcmType(p.codec_id) : 0;
        const auto* linear = std::ranges::find(kLinear, p.codec_id, &LinearFormat::id);
        if (simple != 0) {
            ByteWriter writer;
            soundHead(writer, simple);
            const int bits = bytesPerPcmFrame / p.ch_layout.nb_channels * 8;
            writer.u16(0).u16(0).u32(0).u16(std::uint32_t(p.ch_layout.nb_channels));
            writer.u16(bits == 8 && simple != fourCode("ulaw") && simple != fourCode("alaw") ? 8
                                                                                             : 16);
            writer.u16(0).u16(0).u32(std::uint32_t(p.sample_rate) << 16);
            writer.closeAtom(0);
            return writer.take();
        }
        if (linear != std::end(kLinear)) {
            return linearDescription(p, *linear);
        }
    }
    ByteWriter writer;
    const std::uint32_t type = soundType(p);
    const Bytes header = headerOf(p);
    soundHead(writer, type);
    version1(writer, p, 16);
    if (!header.empty() || type >> 16 == 0x6D73) {
        const std::size_t wave = writer.openAtom(fourCode("wave"));
        const std::size_t frma = writer.openAtom(fourCode("frma"));
        writer.u32(type).closeAtom(frma);
        if (p.codec_id == AV_CODEC_ID_AAC) {
            atomOf(writer, fourCode("esds"), esdsPayload(0x40, true, 0, 0, 0, header));
        } else if (type >> 16 == 0x6D73) {
            windowsAtom(writer, p, type);
        } else {
            atomOf(writer, fourCode("glbl"), header);
        }
        writer.u32(8).u32(0).closeAtom(wave);
    }
    writer.closeAtom(0);
    return writer.take();
}

}  // namespace TWQuickTime::codec
