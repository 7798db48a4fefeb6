#include "Engines/codec/Private/SoundRecords.h"

#include <cmath>

#include "Engines/codec/Private/CodecHeaders.h"

namespace TWQuickTime::codec {

namespace {

void atomOf(ByteWriter& writer, std::uint32_t type, Bytes payload) {
    const std::size_t atom = writer.openAtom(type);
    writer.raw(payload).closeAtom(atom);
}

void esds(ByteWriter& writer, const SoundRecordFacts& facts) {
    const int objectType = facts.id == AV_CODEC_ID_MP3   ? 0x6B
                           : facts.id == AV_CODEC_ID_MP2 ? 0x69
                                                         : 0x40;
    const auto bits = static_cast<std::uint32_t>(facts.bitRate);
    atomOf(writer, fourCode("esds"),
           esdsPayload(objectType, true, 6144, bits, bits, facts.extraData));
}

/// A WAVEFORMATEX, little-endian, as Windows codecs want it.
void waveFormat(ByteWriter& writer, const SoundRecordFacts& facts) {
    const std::size_t atom = writer.openAtom(facts.settings.codec);
    const auto u16 = [&](std::uint32_t v) { writer.u8(v & 0xFF).u8((v >> 8) & 0xFF); };
    const auto u32 = [&](std::uint32_t v) {
        u16(v & 0xFFFF);
        u16(v >> 16);
    };
    u16(facts.settings.codec & 0xFFFF);
    u16(std::uint32_t(facts.settings.channels));
    u32(std::uint32_t(facts.settings.sampleRate));
    u32(facts.framesPerPacket > 0 ? std::uint32_t(std::int64_t(facts.settings.sampleRate) *
                                                  facts.blockAlign / facts.framesPerPacket)
                                  : 0);
    u16(std::uint32_t(facts.blockAlign));
    u16(4);
    u16(std::uint32_t(facts.extraData.size()));
    writer.raw(facts.extraData).closeAtom(atom);
}

/// What the codec itself needs, without a 'wave' around it.
void codecAtoms(ByteWriter& writer, const SoundRecordFacts& facts, bool isoStyle) {
    switch (facts.id) {
        case AV_CODEC_ID_AAC:
            esds(writer, facts);
            break;
        case AV_CODEC_ID_MP3:
        case AV_CODEC_ID_MP2:
            if (isoStyle) {
                esds(writer, facts);
            }
            break;
        case AV_CODEC_ID_ALAC:
            // The encoder's header is the whole atom.
            writer.raw(facts.extraData);
            break;
        case AV_CODEC_ID_AC3:
            atomOf(writer, fourCode("dac3"), ac3Record(facts.firstPacket));
            break;
        case AV_CODEC_ID_EAC3:
            atomOf(writer, fourCode("dec3"),
                   eac3Record(facts.firstPacket, int(facts.bitRate / 1000)));
            break;
        case AV_CODEC_ID_OPUS:
            atomOf(writer, fourCode("dOps"), opusRecord(facts.extraData));
            break;
        case AV_CODEC_ID_FLAC: {
            const std::size_t atom = writer.openAtom(fourCode("dfLa"));
            writer.u32(0).u8(0x80).u24(std::uint32_t(facts.extraData.size()));
            writer.raw(facts.extraData).closeAtom(atom);
            break;
        }
        default:
            if (!facts.extraData.empty() && facts.bytesPerPcmFrame == 0 &&
                (facts.settings.codec >> 16) != 0x6D73) {
                atomOf(writer, fourCode("glbl"), facts.extraData);
            }
            break;
    }
}

void channelAtom(ByteWriter& writer, int channels) {
    const std::size_t atom = writer.openAtom(fourCode("chan"));
    AVChannelLayout layout{};
    av_channel_layout_default(&layout, channels);
    writer.u32(0);
    if (channels == 1) {
        writer.u32(0x00640001).u32(0);
    } else if (channels == 2) {
        writer.u32(0x00650002).u32(0);
    } else {
        writer.u32(0x00010000).u32(static_cast<std::uint32_t>(layout.u.mask));
    }
    writer.u32(0).closeAtom(atom);
}

bool isPcm(const SoundRecordFacts& facts) {
    return facts.bytesPerPcmFrame > 0;
}

void waveAtom(ByteWriter& writer, const SoundRecordFacts& facts) {
    const std::uint32_t type = facts.settings.codec;
    const bool windows = (type >> 16) == 0x6D73;
    const bool wide = type == fourCode("in24") || type == fourCode("in32") ||
                      type == fourCode("fl32") || type == fourCode("fl64");
    const bool needed = windows || (wide && facts.littleEndian) || facts.id == AV_CODEC_ID_AAC ||
                        facts.id == AV_CODEC_ID_ALAC || facts.id == AV_CODEC_ID_AC3 ||
                        facts.id == AV_CODEC_ID_EAC3 || facts.id == AV_CODEC_ID_OPUS ||
                        facts.id == AV_CODEC_ID_FLAC || facts.id == AV_CODEC_ID_VORBIS;
    if (!needed) {
        return;
    }
    const std::size_t wave = writer.openAtom(fourCode("wave"));
    std::size_t atom = writer.openAtom(fourCode("frma"));
    writer.u32(type).closeAtom(atom);
    if (wide) {
        atom = writer.openAtom(fourCode("enda"));
        writer.u16(1).closeAtom(atom);
    } else if (windows) {
        waveFormat(writer, facts);
    } else {
        if (facts.id == AV_CODEC_ID_AAC) {
            atom = writer.openAtom(fourCode("mp4a"));
            writer.u32(0).closeAtom(atom);
        }
        codecAtoms(writer, facts, false);
    }
    writer.u32(8).u32(0);
    writer.closeAtom(wave);
}

void version2(ByteWriter& writer, const SoundRecordFacts& facts) {
    const SoundEncoderSettings& s = facts.settings;
    writer.u16(2).u16(0).u32(0).u16(3).u16(16).u16(0xFFFE).u16(0).u32(0x00010000).u32(72);
    writer.f64(s.sampleRate).u32(std::uint32_t(s.channels)).u32(0x7F000000);
    std::uint32_t flags = 0;
    if (isPcm(facts)) {
        flags = facts.floatingPoint ? 1 : 4;
        flags |= (facts.littleEndian ? 0 : 2) | 8;
        if (!facts.floatingPoint && s.bitsPerSample == 8) {
            flags = 8;
        }
    }
    writer.u32(isPcm(facts) ? std::uint32_t(s.bitsPerSample) : 0).u32(flags);
    writer.u32(std::uint32_t(facts.bytesPerPcmFrame));
    writer.u32(std::uint32_t(isPcm(facts) ? 1 : facts.framesPerPacket));
}

}  // namespace

std::vector<std::byte> soundRecord(const SoundRecordFacts& facts, bool isoStyle) {
    const SoundEncoderSettings& s = facts.settings;
    const bool fast = s.sampleRate > 65535;
    ByteWriter writer;
    std::uint32_t format = s.codec;
    if (isoStyle && (facts.id == AV_CODEC_ID_MP3 || facts.id == AV_CODEC_ID_MP2)) {
        format = fourCode("mp4a");
    }
    writer.u32(0).u32(format).zeros(6).u16(1);
    if (!isoStyle && (fast || s.codec == fourCode("lpcm"))) {
        version2(writer, facts);
    } else {
        const bool narrow = isPcm(facts) && s.bitsPerSample == 8;
        const bool wide = isPcm(facts) && s.bitsPerSample > 16;
        const bool version1 = !isoStyle && (!isPcm(facts) || wide);
        writer.u16(version1 ? 1 : 0).u16(0).u32(0).u16(std::uint32_t(s.channels));
        writer.u16(narrow ? 8 : 16);
        writer.u16(version1 && !isPcm(facts) ? 0xFFFE : 0).u16(0);
        writer.u32(fast ? 0 : std::uint32_t(s.sampleRate) << 16);
        if (version1) {
            const int bytes = isPcm(facts) ? s.bitsPerSample / 8 : 0;
            writer.u32(std::uint32_t(isPcm(facts) ? 1 : facts.framesPerPacket));
            writer.u32(std::uint32_t(bytes));
            writer.u32(std::uint32_t(facts.bytesPerPcmFrame)).u32(2);
        }
    }
    if (isoStyle) {
        codecAtoms(writer, facts, true);
    } else {
        waveAtom(writer, facts);
        if (isPcm(facts) || s.channels > 2) {
            channelAtom(writer, s.channels);
        }
    }
    writer.closeAtom(0);
    return writer.take();
}

}  // namespace TWQuickTime::codec
