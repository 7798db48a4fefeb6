#include "Engines/codec/PcmLayout.h"

#include "Engines/codec/Private/CodecMap.h"

namespace TWQuickTime::codec {

namespace {

struct Layout {
    AVCodecID little, big;
    int width;
};

constexpr Layout kLayouts[] = {
    {AV_CODEC_ID_PCM_S16LE, AV_CODEC_ID_PCM_S16BE, 2},
    {AV_CODEC_ID_PCM_S24LE, AV_CODEC_ID_PCM_S24BE, 3},
    {AV_CODEC_ID_PCM_S32LE, AV_CODEC_ID_PCM_S32BE, 4},
    {AV_CODEC_ID_PCM_F32LE, AV_CODEC_ID_PCM_F32BE, 4},
    {AV_CODEC_ID_PCM_F64LE, AV_CODEC_ID_PCM_F64BE, 8},
};

}  // namespace

std::optional<int> pcmByteSwap(Bytes fromDescription, Bytes toDescription) {
    const auto from = readSoundDescription(fromDescription);
    const auto to = readSoundDescription(toDescription);
    if (!from || !to) {
        return std::nullopt;
    }
    const AVCodecID fromId = soundDecoderId(*from), toId = soundDecoderId(*to);
    for (const Layout& layout : kLayouts) {
        const bool fromLittle = fromId == layout.little, toLittle = toId == layout.little;
        if ((fromLittle || fromId == layout.big) && (toLittle || toId == layout.big)) {
            return fromLittle == toLittle ? 0 : layout.width;
        }
    }
    return std::nullopt;
}

}  // namespace TWQuickTime::codec
