#include "Engines/codec/Private/DecoderConfiguration.h"

#include <algorithm>

#include "Engines/codec/Private/CodecMap.h"

namespace TWQuickTime::codec {

using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

std::vector<std::byte> copied(Bytes bytes) {
    return {bytes.begin(), bytes.end()};
}

/// The atom with its header, as some decoders want it.
std::vector<std::byte> wholeAtom(Bytes payload, std::uint32_t type) {
    ByteWriter writer;
    const std::size_t atom = writer.openAtom(type);
    writer.raw(payload).closeAtom(atom);
    return writer.take();
}

/// A descriptor of ISO/IEC 14496-1: tag, length of up to four bytes, contents.
struct Descriptor {
    int tag = 0;
    Bytes contents;
};

Descriptor takeDescriptor(Bytes& bytes) {
    if (bytes.size() < 2) {
        bytes = {};
        return {};
    }
    const int tag = std::to_integer<int>(bytes[0]);
    std::size_t length = 0;
    std::size_t used = 1;
    for (int i = 0; i < 4 && used < bytes.size(); ++i) {
        const int byte = std::to_integer<int>(bytes[used++]);
        length = (length << 7) | std::size_t(byte & 0x7F);
        if (!(byte & 0x80)) {
            break;
        }
    }
    length = std::min(length, bytes.size() - used);
    const Descriptor result{tag, bytes.subspan(used, length)};
    bytes = bytes.subspan(used + length);
    return result;
}

AVCodecID idOfObjectType(int objectType) {
    switch (objectType) {
        case 0x20:
            return AV_CODEC_ID_MPEG4;
        case 0x21:
            return AV_CODEC_ID_H264;
        case 0x40:
        case 0x66:
        case 0x67:
        case 0x68:
            return AV_CODEC_ID_AAC;
        case 0x60:
        case 0x61:
        case 0x62:
        case 0x63:
        case 0x64:
        case 0x65:
            return AV_CODEC_ID_MPEG2VIDEO;
        case 0x69:
        case 0x6B:
            return AV_CODEC_ID_MP3;
        case 0x6A:
            return AV_CODEC_ID_MPEG1VIDEO;
        case 0x6C:
            return AV_CODEC_ID_MJPEG;
        case 0x6D:
            return AV_CODEC_ID_PNG;
        case 0x6E:
            return AV_CODEC_ID_JPEG2000;
        case 0xA5:
            return AV_CODEC_ID_AC3;
        case 0xA6:
            return AV_CODEC_ID_EAC3;
        case 0xA9:
            return AV_CODEC_ID_DTS;
        case 0xDD:
            return AV_CODEC_ID_VORBIS;
        case 0xE1:
            return AV_CODEC_ID_QCELP;
        default:
            return AV_CODEC_ID_NONE;
    }
}

/// @param esds  payload of the atom: version and flags, then an ES descriptor
DecoderConfiguration configurationInEsds(Bytes esds) {
    DecoderConfiguration configuration;
    if (esds.size() < 4) {
        return configuration;
    }
    Bytes rest = esds.subspan(4);
    Descriptor descriptor = takeDescriptor(rest);
    if (descriptor.tag == 3 && descriptor.contents.size() >= 3) {
        const int flags = std::to_integer<int>(descriptor.contents[2]);
        std::size_t skip = 3;
        skip += (flags & 0x80) ? 2 : 0;
        if ((flags & 0x40) && descriptor.contents.size() > skip) {
            skip += 1 + std::to_integer<std::size_t>(descriptor.contents[skip]);
        }
        skip += (flags & 0x20) ? 2 : 0;
        if (skip > descriptor.contents.size()) {
            return configuration;
        }
        rest = descriptor.contents.subspan(skip);
        descriptor = takeDescriptor(rest);
    }
    if (descriptor.tag != 4 || descriptor.contents.size() < 13) {
        return configuration;
    }
    configuration.id = idOfObjectType(std::to_integer<int>(descriptor.contents[0]));
    rest = descriptor.contents.subspan(13);
    while (!rest.empty()) {
        const Descriptor inner = takeDescriptor(rest);
        if (inner.tag == 5) {
            configuration.extraData = copied(inner.contents);
            break;
        }
    }
    return configuration;
}

Bytes atomIn(Bytes atoms, std::uint32_t type) {
    return descriptionExtension(atoms, 0, type);
}

}  // namespace

DecoderConfiguration videoConfiguration(const VideoDescription& description, Bytes record) {
    DecoderConfiguration configuration;
    configuration.id = videoDecoderId(description.format);
    const auto extension = [&](std::uint32_t type) {
        return descriptionExtension(record, description.extensionsOffset, type);
    };
    for (const std::uint32_t type : {fourCode("avcC"), fourCode("hvcC"), fourCode("av1C")}) {
        if (const Bytes found = extension(type); !found.empty()) {
            configuration.extraData = copied(found);
            return configuration;
        }
    }
    if (const Bytes esds = extension(fourCode("esds")); !esds.empty()) {
        DecoderConfiguration inEsds = configurationInEsds(esds);
        if (inEsds.id != AV_CODEC_ID_NONE && description.format == fourCode("mp4v")) {
            configuration.id = inEsds.id;
        }
        configuration.extraData = std::move(inEsds.extraData);
        return configuration;
    }
    if (const Bytes smi = extension(fourCode("SMI ")); !smi.empty()) {
        configuration.extraData = wholeAtom(smi, fourCode("SMI "));
        return configuration;
    }
    if (const Bytes header = extension(fourCode("glbl")); !header.empty()) {
        configuration.extraData = copied(header);
        return configuration;
    }
    if (configuration.id == AV_CODEC_ID_JPEG2000) {
        if (const Bytes jp2h = extension(fourCode("jp2h")); !jp2h.empty()) {
            configuration.extraData = wholeAtom(jp2h, fourCode("jp2h"));
        }
    } else if (configuration.id == AV_CODEC_ID_DNXHD || configuration.id == AV_CODEC_ID_AVUI) {
        for (const std::uint32_t type : {fourCode("ACLR"), fourCode("APRG"), fourCode("ARES")}) {
            if (const Bytes avid = extension(type); !avid.empty()) {
                const std::vector<std::byte> atom = wholeAtom(avid, type);
                configuration.extraData.insert(configuration.extraData.end(), atom.begin(),
                                               atom.end());
            }
        }
    }
    return configuration;
}

DecoderConfiguration soundConfiguration(const SoundDescription& description, Bytes record) {
    DecoderConfiguration configuration;
    configuration.id = soundDecoderId(description);
    const auto extension = [&](std::uint32_t type) {
        const Bytes inWave = atomIn(description.wave, type);
        return inWave.empty() ? descriptionExtension(record, description.extensionsOffset, type)
                              : inWave;
    };
    if (const Bytes esds = extension(fourCode("esds")); !esds.empty()) {
        DecoderConfiguration inEsds = configurationInEsds(esds);
        if (inEsds.id != AV_CODEC_ID_NONE && description.format == fourCode("mp4a")) {
            configuration.id = inEsds.id;
        }
        configuration.extraData = std::move(inEsds.extraData);
        return configuration;
    }
    switch (configuration.id) {
        case AV_CODEC_ID_ALAC:
            if (const Bytes alac = extension(fourCode("alac")); !alac.empty()) {
                configuration.extraData = wholeAtom(alac, fourCode("alac"));
            }
            break;
        case AV_CODEC_ID_QDM2:
        case AV_CODEC_ID_QDMC:
        case AV_CODEC_ID_SPEEX:
            configuration.extraData = copied(description.wave);
            break;
        case AV_CODEC_ID_FLAC:
            if (const Bytes dfLa = extension(fourCode("dfLa")); dfLa.size() > 8) {
                configuration.extraData = copied(dfLa.subspan(8));
            }
            break;
        case AV_CODEC_ID_OPUS:
            if (const Bytes dOps = extension(fourCode("dOps")); dOps.size() >= 11) {
                // The Ogg header has the same fields in little-endian order.
                ByteWriter head;
                head.raw(std::as_bytes(std::span("OpusHead", 8))).u8(1).raw(dOps.subspan(1, 1));
                head.raw(dOps.subspan(3, 1)).raw(dOps.subspan(2, 1));
                for (const std::size_t at : {7u, 6u, 5u, 4u}) {
                    head.raw(dOps.subspan(at, 1));
                }
                head.raw(dOps.subspan(9, 1)).raw(dOps.subspan(8, 1)).raw(dOps.subspan(10));
                configuration.extraData = head.take();
            }
            break;
        default:
            break;
    }
    if (configuration.extraData.empty()) {
        if (const Bytes header = extension(fourCode("glbl")); !header.empty()) {
            configuration.extraData = copied(header);
        } else if ((description.format >> 16) == 0x6D73) {
            // A little-endian WAVEFORMATEX: what follows its 18 bytes is the codec's own.
            if (const Bytes format = extension(description.format); format.size() >= 16) {
                configuration.blockAlign =
                    std::to_integer<int>(format[12]) | std::to_integer<int>(format[13]) << 8;
                configuration.bitsPerCodedSample = std::to_integer<int>(format[14]);
                configuration.extraData =
                    copied(format.subspan(std::min<std::size_t>(18, format.size())));
            }
        }
    }
    return configuration;
}

Status setExtraData(AVCodecContext& context, Bytes bytes) {
    if (bytes.empty()) {
        return {};
    }
    if (bytes.size() > (1u << 26)) {
        return Failure{FailureKind::limit,
                       "a codec header of " + std::to_string(bytes.size()) + " bytes"};
    }
    context.extradata =
        static_cast<std::uint8_t*>(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!context.extradata) {
        return Failure{FailureKind::limit, "no memory for a codec header"};
    }
    std::memcpy(context.extradata, bytes.data(), bytes.size());
    context.extradata_size = static_cast<int>(bytes.size());
    return {};
}

}  // namespace TWQuickTime::codec
