#include "Engines/moviefile/SoundPackets.h"

#include "Engines/moviefile/AtomFields.h"

namespace TWQuickTime::moviefile {

using timeline::SampleDescription;

namespace {

constexpr std::size_t kLeastSoundDescriptionInBytes = 36;
constexpr std::size_t kSoundDescriptionVersion1InBytes = 52;

/// Formats with packets of a fixed size for each channel.
struct PacketFormat {
    FourCharCode format;
    std::uint32_t frames;
    std::uint32_t bytesPerChannel;  ///< 0: as the bits of a sample say
};
constexpr PacketFormat kPacketFormats[] = {
    {fourCharCode("ima4"), 64, 34}, {fourCharCode("MAC3"), 6, 2}, {fourCharCode("MAC6"), 6, 1},
    {fourCharCode("ulaw"), 1, 1},   {fourCharCode("alaw"), 1, 1}, {fourCharCode("in24"), 1, 3},
    {fourCharCode("in32"), 1, 4},   {fourCharCode("fl32"), 1, 4}, {fourCharCode("fl64"), 1, 8},
    {fourCharCode("raw "), 1, 0},   {fourCharCode("twos"), 1, 0}, {fourCharCode("sowt"), 1, 0},
    {fourCharCode("NONE"), 1, 0},
};

}  // namespace

std::optional<SoundPacket> fixedSoundPacket(const SampleDescription& description) {
    const SharedBytes& bytes = description.bytes();
    if (bytes.size() < kLeastSoundDescriptionInBytes)
        return std::nullopt;
    const auto u16 = [&](std::size_t offset) {
        return loadBigEndian<std::uint16_t>(bytes.data() + offset);
    };
    const auto u32 = [&](std::size_t offset) {
        return loadBigEndian<std::uint32_t>(bytes.data() + offset);
    };
    const std::uint16_t version = u16(16);
    const std::uint32_t channels = u16(24);
    const std::uint32_t bitsPerSample = u16(26);
    if (version > 1)
        return std::nullopt;
    for (const PacketFormat& known : kPacketFormats) {
        if (known.format != description.format())
            continue;
        const std::uint32_t each =
            known.bytesPerChannel != 0 ? known.bytesPerChannel : (bitsPerSample + 7) / 8;
        return SoundPacket{known.frames, each * channels};
    }
    if (version == 1 && bytes.size() >= kSoundDescriptionVersion1InBytes) {
        const std::uint32_t framesPerPacket = u32(36);
        const std::uint32_t bytesPerFrame = u32(44);
        if (framesPerPacket != 0 && bytesPerFrame != 0)
            return SoundPacket{framesPerPacket, bytesPerFrame};
    }
    return std::nullopt;
}

void useSoundPackets(timeline::Media& media) {
    timeline::SampleColumns columns = media.samples.columns();
    if (media.type() != fourCharCode("soun") || columns.sizes.commonSize() != 1 ||
        media.descriptions.empty())
        return;
    const auto packet = fixedSoundPacket(media.descriptions.front());
    if (!packet || packet->bytes == 0 || (packet->frames == 1 && packet->bytes == 1))
        return;
    if (packet->frames == 1)
        columns.sizes = timeline::SizeColumn::common(packet->bytes, columns.sizes.count());
    else
        columns.sizes.setPackets(packet->frames, packet->bytes);
    media.samples = timeline::SampleTable(std::move(columns));
}

}  // namespace TWQuickTime::moviefile
