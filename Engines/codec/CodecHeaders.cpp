#include "Engines/codec/Private/CodecHeaders.h"

#include <algorithm>

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;

namespace {

int byteAt(Bytes bytes, std::size_t at) {
    return at < bytes.size() ? std::to_integer<int>(bytes[at]) : 0;
}

std::size_t nextStartCode(Bytes bytes, std::size_t from) {
    for (std::size_t i = from; i + 3 <= bytes.size(); ++i) {
        if (bytes[i] == std::byte{0} && bytes[i + 1] == std::byte{0} &&
            bytes[i + 2] == std::byte{1}) {
            return i;
        }
    }
    return bytes.size();
}

/// Bytes with the emulation prevention (00 00 03) taken out.
std::vector<std::byte> unescaped(Bytes unit) {
    std::vector<std::byte> plain;
    for (std::size_t i = 0; i < unit.size(); ++i) {
        if (i >= 2 && byteAt(unit, i) == 3 && byteAt(unit, i - 1) == 0 &&
            byteAt(unit, i - 2) == 0) {
            continue;
        }
        plain.push_back(unit[i]);
    }
    return plain;
}

class BitReader {
  public:
    explicit BitReader(Bytes bytes) : bytes_(bytes) {}
    std::uint32_t take(int count) {
        std::uint32_t value = 0;
        for (int i = 0; i < count; ++i, ++position_) {
            value = (value << 1) |
                    std::uint32_t(byteAt(bytes_, position_ / 8) >> (7 - position_ % 8) & 1);
        }
        return value;
    }

  private:
    Bytes bytes_;
    std::size_t position_ = 0;
};

void descriptor(ByteWriter& writer, std::uint32_t tag, std::size_t length) {
    writer.u8(tag);
    for (int shift = 21; shift > 0; shift -= 7) {
        writer.u8(std::uint32_t((length >> shift) & 0x7F) | 0x80);
    }
    writer.u8(std::uint32_t(length & 0x7F));
}

}  // namespace

std::vector<Bytes> nalUnitsOf(Bytes annexB) {
    std::vector<Bytes> units;
    std::size_t start = nextStartCode(annexB, 0);
    while (start < annexB.size()) {
        const std::size_t begin = start + 3;
        const std::size_t next = nextStartCode(annexB, begin);
        std::size_t end = next;
        while (end > begin && annexB[end - 1] == std::byte{0}) {
            --end;
        }
        if (end > begin) {
            units.push_back(annexB.subspan(begin, end - begin));
        }
        start = next;
    }
    return units;
}

std::vector<std::byte> lengthPrefixed(Bytes annexB) {
    ByteWriter writer;
    for (const Bytes unit : nalUnitsOf(annexB)) {
        writer.u32(static_cast<std::uint32_t>(unit.size())).raw(unit);
    }
    return writer.take();
}

Expected<std::vector<std::byte>> avcRecord(Bytes parameterSets) {
    std::vector<Bytes> sequence, picture;
    for (const Bytes unit : nalUnitsOf(parameterSets)) {
        const int type = byteAt(unit, 0) & 0x1F;
        if (type == 7 && unit.size() >= 4) {
            sequence.push_back(unit);
        } else if (type == 8) {
            picture.push_back(unit);
        }
    }
    if (sequence.empty() || picture.empty()) {
        return Failure{FailureKind::damaged, "no parameter sets from the H.264 encoder"};
    }
    const Bytes first = sequence.front();
    ByteWriter writer;
    writer.u8(1).raw(first.subspan(1, 3)).u8(0xFF);
    writer.u8(std::uint32_t(0xE0 | sequence.size()));
    for (const Bytes unit : sequence) {
        writer.u16(std::uint32_t(unit.size())).raw(unit);
    }
    writer.u8(std::uint32_t(picture.size()));
    for (const Bytes unit : picture) {
        writer.u16(std::uint32_t(unit.size())).raw(unit);
    }
    const int profile = byteAt(first, 1);
    if (profile == 100 || profile == 110 || profile == 122 || profile == 244) {
        // High profiles: only 4:2:0 with 8 bits is ever asked of the encoder.
        writer.u8(0xFC | 1).u8(0xF8).u8(0xF8).u8(0);
    }
    return writer.take();
}

Expected<std::vector<std::byte>> hevcRecord(Bytes parameterSets, int chromaFormat, int bitDepth) {
    std::vector<Bytes> kinds[3];
    for (const Bytes unit : nalUnitsOf(parameterSets)) {
        const int type = (byteAt(unit, 0) >> 1) & 0x3F;
        if (type >= 32 && type <= 34) {
            kinds[type - 32].push_back(unit);
        }
    }
    if (kinds[0].empty() || kinds[1].empty() || kinds[2].empty()) {
        return Failure{FailureKind::damaged, "no parameter sets from the HEVC encoder"};
    }
    const std::vector<std::byte> sps = unescaped(kinds[1].front());
    if (sps.size() < 15) {
        return Failure{FailureKind::damaged, "a short sequence parameter set"};
    }
    ByteWriter writer;
    // Two bytes of header and one of counts stand in front of the profile, tier and level.
    writer.u8(1).raw(Bytes(sps).subspan(3, 12)).u16(0xF000).u8(0xFC);
    writer.u8(std::uint32_t(0xFC | chromaFormat));
    writer.u8(std::uint32_t(0xF8 | (bitDepth - 8))).u8(std::uint32_t(0xF8 | (bitDepth - 8)));
    writer.u16(0).u8((1 << 3) | (1 << 2) | 3);  // one temporal layer, nested, 4-byte lengths
    writer.u8(3);
    for (int kind = 0; kind < 3; ++kind) {
        writer.u8(std::uint32_t(0x80 | (32 + kind)));  // complete: not repeated in the samples
        writer.u16(std::uint32_t(kinds[kind].size()));
        for (const Bytes unit : kinds[kind]) {
            writer.u16(std::uint32_t(unit.size())).raw(unit);
        }
    }
    return writer.take();
}

std::vector<std::byte> esdsPayload(int objectType, bool sound, std::uint32_t bufferBytes,
                                   std::uint32_t maximumBits, std::uint32_t averageBits,
                                   Bytes specificInfo) {
    const std::size_t infoSize = specificInfo.empty() ? 0 : 5 + specificInfo.size();
    ByteWriter writer;
    writer.u32(0);
    descriptor(writer, 3, 3 + 5 + 13 + infoSize + 5 + 1);
    writer.u16(0).u8(0);
    descriptor(writer, 4, 13 + infoSize);
    writer.u8(std::uint32_t(objectType)).u8(sound ? 0x15 : 0x11);
    writer.u24(bufferBytes).u32(maximumBits).u32(averageBits);
    if (!specificInfo.empty()) {
        descriptor(writer, 5, specificInfo.size());
        writer.raw(specificInfo);
    }
    descriptor(writer, 6, 1);
    writer.u8(2);
    return writer.take();
}

std::vector<std::byte> ac3Record(Bytes frame) {
    BitReader bits(frame.subspan(std::min<std::size_t>(4, frame.size())));
    const std::uint32_t rate = bits.take(2);
    const std::uint32_t sizeCode = bits.take(6);
    const std::uint32_t stream = bits.take(5);
    const std::uint32_t mode = bits.take(3);
    const std::uint32_t channels = bits.take(3);
    if ((channels & 1) && channels != 1) {
        bits.take(2);
    }
    if (channels & 4) {
        bits.take(2);
    }
    if (channels == 2) {
        bits.take(2);
    }
    const std::uint32_t lfe = bits.take(1);
    // take() above read past fields in the frame's order; the record packs them anew.
    const std::uint32_t record = (rate << 22) | (stream << 17) | (mode << 14) | (channels << 11) |
                                 (lfe << 10) | ((sizeCode >> 1) << 5);
    ByteWriter writer;
    writer.u24(record);
    return writer.take();
}

std::vector<std::byte> eac3Record(Bytes frame, int kilobitsPerSecond) {
    BitReader bits(frame.subspan(std::min<std::size_t>(2, frame.size())));
    bits.take(2 + 3 + 11);
    const std::uint32_t rate = bits.take(2);
    bits.take(2);
    const std::uint32_t channels = bits.take(3);
    const std::uint32_t lfe = bits.take(1);
    const std::uint32_t stream = bits.take(5);
    ByteWriter writer;
    writer.u16(std::uint32_t(kilobitsPerSecond) << 3);
    writer.u24((rate << 22) | (stream << 17) | (channels << 9) | (lfe << 8));
    return writer.take();
}

std::vector<std::byte> opusRecord(Bytes head) {
    ByteWriter writer;
    if (head.size() < 19) {
        return writer.take();
    }
    writer.u8(0).raw(head.subspan(9, 1));
    for (const std::size_t at : {11u, 10u, 15u, 14u, 13u, 12u, 17u, 16u}) {
        writer.raw(head.subspan(at, 1));
    }
    writer.raw(head.subspan(18));
    return writer.take();
}

}  // namespace TWQuickTime::codec
