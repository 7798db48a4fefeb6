#include "Engines/codec/CodecTable.h"

#include <algorithm>
#include <array>

#include "Engines/codec/Private/CodecMap.h"
#include "Engines/codec/Private/ForeignDescriptions.h"

namespace TWQuickTime::codec {

namespace {

using Formats = std::span<const AVPixelFormat>;

constexpr AVPixelFormat k420[] = {AV_PIX_FMT_YUV420P};
constexpr AVPixelFormat kH264[] = {AV_PIX_FMT_YUV420P};
constexpr AVPixelFormat kJpeg[] = {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV444P,
                                   AV_PIX_FMT_GRAY8};
constexpr AVPixelFormat kMjpegA[] = {AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUVJ444P};
constexpr AVPixelFormat kAnimation[] = {AV_PIX_FMT_RGB24, AV_PIX_FMT_ARGB, AV_PIX_FMT_RGB555BE,
                                        AV_PIX_FMT_GRAY8};
constexpr AVPixelFormat kRaw[] = {AV_PIX_FMT_RGB24, AV_PIX_FMT_ARGB, AV_PIX_FMT_RGB555BE,
                                  AV_PIX_FMT_GRAY8};
constexpr AVPixelFormat kPng[] = {AV_PIX_FMT_RGB24, AV_PIX_FMT_RGBA, AV_PIX_FMT_GRAY8};
constexpr AVPixelFormat kRgb[] = {AV_PIX_FMT_RGB24};
constexpr AVPixelFormat kRgbAlpha[] = {AV_PIX_FMT_RGB24, AV_PIX_FMT_RGBA};
constexpr AVPixelFormat kTarga[] = {AV_PIX_FMT_BGR24, AV_PIX_FMT_BGRA, AV_PIX_FMT_GRAY8};
constexpr AVPixelFormat k555[] = {AV_PIX_FMT_RGB555LE};
constexpr AVPixelFormat kRpza[] = {AV_PIX_FMT_RGB555LE};
constexpr AVPixelFormat kPal8[] = {AV_PIX_FMT_PAL8};
constexpr AVPixelFormat k410[] = {AV_PIX_FMT_YUV410P};
constexpr AVPixelFormat kMpeg2[] = {AV_PIX_FMT_YUV420P};
constexpr AVPixelFormat k422[] = {AV_PIX_FMT_YUV422P};
constexpr AVPixelFormat k42210[] = {AV_PIX_FMT_YUV422P10};
constexpr AVPixelFormat k444410[] = {AV_PIX_FMT_YUV444P10, AV_PIX_FMT_YUVA444P10};
constexpr AVPixelFormat k411[] = {AV_PIX_FMT_YUV411P};
constexpr AVPixelFormat kDvPal[] = {AV_PIX_FMT_YUV420P};
constexpr AVPixelFormat kUyvy[] = {AV_PIX_FMT_UYVY422};
constexpr AVPixelFormat kYuyv[] = {AV_PIX_FMT_YUYV422};
constexpr AVPixelFormat kV308[] = {AV_PIX_FMT_YUV444P};
constexpr AVPixelFormat kV408[] = {AV_PIX_FMT_YUVA444P};
constexpr AVPixelFormat kV410[] = {AV_PIX_FMT_YUV444P10};
constexpr AVPixelFormat kGbr10[] = {AV_PIX_FMT_GBRP10};
constexpr AVPixelFormat kRgba64[] = {AV_PIX_FMT_RGBA64BE};
constexpr AVPixelFormat kRgb48[] = {AV_PIX_FMT_RGB48BE};
constexpr AVPixelFormat kGrey16[] = {AV_PIX_FMT_GRAY16BE};
constexpr AVPixelFormat kRgba[] = {AV_PIX_FMT_RGBA};
constexpr AVPixelFormat kFfv1[] = {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P,   AV_PIX_FMT_YUV444P,
                                   AV_PIX_FMT_BGRA,    AV_PIX_FMT_YUV422P10, AV_PIX_FMT_GRAY8};
constexpr AVPixelFormat kJ2k[] = {AV_PIX_FMT_RGB24};
constexpr AVPixelFormat kCineform[] = {AV_PIX_FMT_YUV422P10, AV_PIX_FMT_GBRAP12};

// Unless a row says otherwise, the quality range is (worst at 0, best at 1023).
constexpr auto kVideoCodecs = std::to_array<VideoCodecEntry>({
    {fourCode("avc1"), AV_CODEC_ID_H264, QualityScale::crf, 43, 12, kH264},
    {fourCode("hvc1"), AV_CODEC_ID_HEVC, QualityScale::crf, 46, 14, k420},
    {fourCode("mp4v"), AV_CODEC_ID_MPEG4, QualityScale::quantizer, 31, 2, k420},
    {fourCode("jpeg"), AV_CODEC_ID_MJPEG, QualityScale::jpeg, 5, 98, kJpeg},
    {fourCode("mjpa"), AV_CODEC_ID_MJPEG, QualityScale::quantizer, 31, 2, kMjpegA},
    {fourCode("rle "), AV_CODEC_ID_QTRLE, QualityScale::none, 0, 0, kAnimation},
    {fourCode("raw "), AV_CODEC_ID_RAWVIDEO, QualityScale::none, 0, 0, kRaw},
    {fourCode("cvid"), AV_CODEC_ID_CINEPAK, QualityScale::lavcGlobal, 31, 2, kRgb},
    {fourCode("rpza"), AV_CODEC_ID_RPZA, QualityScale::none, 0, 0, kRpza},
    {fourCode("smc "), AV_CODEC_ID_SMC, QualityScale::none, 0, 0, kPal8},
    {fourCode("SVQ1"), AV_CODEC_ID_SVQ1, QualityScale::quantizer, 31, 2, k410},
    {fourCode("h263"), AV_CODEC_ID_H263, QualityScale::quantizer, 31, 2, k420},
    {fourCode("h261"), AV_CODEC_ID_H261, QualityScale::quantizer, 31, 2, k420},
    {fourCode("dvc "), AV_CODEC_ID_DVVIDEO, QualityScale::none, 0, 0, k411},
    {fourCode("dvcp"), AV_CODEC_ID_DVVIDEO, QualityScale::none, 0, 0, kDvPal},
    {fourCode("dvpp"), AV_CODEC_ID_DVVIDEO, QualityScale::none, 0, 0, k411},
    {fourCode("dv5n"), AV_CODEC_ID_DVVIDEO, QualityScale::none, 0, 0, k422},
    {fourCode("dv5p"), AV_CODEC_ID_DVVIDEO, QualityScale::none, 0, 0, k422},
    {fourCode("m1v "), AV_CODEC_ID_MPEG1VIDEO, QualityScale::quantizer, 31, 2, k420},
    {fourCode("m2v1"), AV_CODEC_ID_MPEG2VIDEO, QualityScale::quantizer, 31, 2, kMpeg2},
    {fourCode("png "), AV_CODEC_ID_PNG, QualityScale::none, 0, 0, kPng},
    {fourCode("tiff"), AV_CODEC_ID_TIFF, QualityScale::none, 0, 0, kRgbAlpha},
    {fourCode("gif "), AV_CODEC_ID_GIF, QualityScale::none, 0, 0, kPal8},
    {fourCode("tga "), AV_CODEC_ID_TARGA, QualityScale::none, 0, 0, kTarga},
    {fourCode("sgi "), AV_CODEC_ID_SGI, QualityScale::none, 0, 0, kRgbAlpha},
    {fourCode("msvc"), AV_CODEC_ID_MSVIDEO1, QualityScale::none, 0, 0, k555},
    {fourCode("mjp2"), AV_CODEC_ID_JPEG2000, QualityScale::lavcGlobal, 80, 2, kJ2k},
    {fourCode("apco"), AV_CODEC_ID_PRORES, QualityScale::profileBits, 0, 0, k42210, 0},
    {fourCode("apcs"), AV_CODEC_ID_PRORES, QualityScale::profileBits, 0, 0, k42210, 1},
    {fourCode("apcn"), AV_CODEC_ID_PRORES, QualityScale::profileBits, 0, 0, k42210, 2},
    {fourCode("apch"), AV_CODEC_ID_PRORES, QualityScale::profileBits, 0, 0, k42210, 3},
    {fourCode("ap4h"), AV_CODEC_ID_PRORES, QualityScale::profileBits, 0, 0, k444410, 4},
    {fourCode("ap4x"), AV_CODEC_ID_PRORES, QualityScale::profileBits, 0, 0, k444410, 5},
    {fourCode("AVdn"), AV_CODEC_ID_DNXHD, QualityScale::profileBits, 0, 0, k422,
     FF_PROFILE_DNXHR_SQ},
    {fourCode("AVdh"), AV_CODEC_ID_DNXHD, QualityScale::profileBits, 0, 0, k422,
     FF_PROFILE_DNXHR_SQ},
    {fourCode("CFHD"), AV_CODEC_ID_CFHD, QualityScale::none, 0, 0, kCineform},
    {fourCode("Hap1"), AV_CODEC_ID_HAP, QualityScale::none, 0, 0, kRgba},
    {fourCode("Hap5"), AV_CODEC_ID_HAP, QualityScale::none, 0, 0, kRgba},
    {fourCode("HapY"), AV_CODEC_ID_HAP, QualityScale::none, 0, 0, kRgba},
    {fourCode("2vuy"), AV_CODEC_ID_RAWVIDEO, QualityScale::none, 0, 0, kUyvy},
    {fourCode("yuvs"), AV_CODEC_ID_RAWVIDEO, QualityScale::none, 0, 0, kYuyv},
    {fourCode("v210"), AV_CODEC_ID_V210, QualityScale::none, 0, 0, k42210},
    {fourCode("v308"), AV_CODEC_ID_V308, QualityScale::none, 0, 0, kV308},
    {fourCode("v408"), AV_CODEC_ID_V408, QualityScale::none, 0, 0, kV408},
    {fourCode("v410"), AV_CODEC_ID_V410, QualityScale::none, 0, 0, kV410},
    {fourCode("r210"), AV_CODEC_ID_R210, QualityScale::none, 0, 0, kGbr10},
    {fourCode("R10k"), AV_CODEC_ID_R10K, QualityScale::none, 0, 0, kGbr10},
    {fourCode("b64a"), AV_CODEC_ID_RAWVIDEO, QualityScale::none, 0, 0, kRgba64},
    {fourCode("b48r"), AV_CODEC_ID_RAWVIDEO, QualityScale::none, 0, 0, kRgb48},
    {fourCode("b16g"), AV_CODEC_ID_RAWVIDEO, QualityScale::none, 0, 0, kGrey16},
    {fourCode("FFV1"), AV_CODEC_ID_FFV1, QualityScale::none, 0, 0, kFfv1},
    {fourCode("vp08"), AV_CODEC_ID_VP8, QualityScale::crf, 56, 4, k420},
    {fourCode("vp09"), AV_CODEC_ID_VP9, QualityScale::crf, 58, 10, k420},
    {fourCode("av01"), AV_CODEC_ID_AV1, QualityScale::crf, 60, 12, k420},
});

constexpr auto kSoundCodecs = std::to_array<SoundCodecEntry>({
    {fourCode("raw "), AV_CODEC_ID_PCM_U8, 8, true},
    {fourCode("twos"), AV_CODEC_ID_PCM_S16BE, 16, true},
    {fourCode("sowt"), AV_CODEC_ID_PCM_S16LE, 16, true},
    {fourCode("in24"), AV_CODEC_ID_PCM_S24BE, 24, true},
    {fourCode("in32"), AV_CODEC_ID_PCM_S32BE, 32, true},
    {fourCode("fl32"), AV_CODEC_ID_PCM_F32BE, 32, true},
    {fourCode("fl64"), AV_CODEC_ID_PCM_F64BE, 64, true},
    {fourCode("lpcm"), AV_CODEC_ID_PCM_S16LE, 16, true},
    {fourCode("ulaw"), AV_CODEC_ID_PCM_MULAW, 8, true},
    {fourCode("alaw"), AV_CODEC_ID_PCM_ALAW, 8, true},
    {fourCode("ima4"), AV_CODEC_ID_ADPCM_IMA_QT, 16, false},
    {fourCode("mp4a"), AV_CODEC_ID_AAC, 16, false},
    {fourCode(".mp3"), AV_CODEC_ID_MP3, 16, false},
    {fourCode(".mp2"), AV_CODEC_ID_MP2, 16, false},
    {0x6D730002, AV_CODEC_ID_ADPCM_MS, 16, false},
    {0x6D730011, AV_CODEC_ID_ADPCM_IMA_WAV, 16, false},
    {fourCode("alac"), AV_CODEC_ID_ALAC, 16, false},
    {fourCode("ac-3"), AV_CODEC_ID_AC3, 16, false},
    {fourCode("ec-3"), AV_CODEC_ID_EAC3, 16, false},
    {fourCode("Opus"), AV_CODEC_ID_OPUS, 16, false},
    {fourCode("fLaC"), AV_CODEC_ID_FLAC, 16, false},
    {fourCode("vrbs"), AV_CODEC_ID_VORBIS, 16, false},
    {fourCode("agsm"), AV_CODEC_ID_GSM, 16, false},
    {fourCode("dtsc"), AV_CODEC_ID_DTS, 16, false},
});

template <class Entries>
auto find(const Entries& entries, std::uint32_t type) -> decltype(&*entries.begin()) {
    const auto found =
        std::ranges::find_if(entries, [type](const auto& entry) { return entry.type == type; });
    return found == entries.end() ? nullptr : &*found;
}

AVCodecID pcmId(const SoundDescription& d) {
    const bool little = d.littleEndian;
    if (d.format == fourCode("lpcm") && d.version == 2) {
        const bool isFloat = d.formatFlags & 1;
        switch (d.bitsPerSample) {
            case 8:
                return (d.formatFlags & 4) ? AV_CODEC_ID_PCM_S8 : AV_CODEC_ID_PCM_U8;
            case 16:
                return little ? AV_CODEC_ID_PCM_S16LE : AV_CODEC_ID_PCM_S16BE;
            case 24:
                return little ? AV_CODEC_ID_PCM_S24LE : AV_CODEC_ID_PCM_S24BE;
            case 32:
                return isFloat  ? (little ? AV_CODEC_ID_PCM_F32LE : AV_CODEC_ID_PCM_F32BE)
                       : little ? AV_CODEC_ID_PCM_S32LE
                                : AV_CODEC_ID_PCM_S32BE;
            case 64:
                return isFloat ? (little ? AV_CODEC_ID_PCM_F64LE : AV_CODEC_ID_PCM_F64BE)
                               : AV_CODEC_ID_NONE;
            default:
                return AV_CODEC_ID_NONE;
        }
    }
    switch (d.format) {
        case 0:
        case fourCode("NONE"):
        case fourCode("raw "):
            return d.bitsPerSample == 16 ? AV_CODEC_ID_PCM_S16BE : AV_CODEC_ID_PCM_U8;
        case fourCode("twos"):
            return d.bitsPerSample == 8 ? AV_CODEC_ID_PCM_S8 : AV_CODEC_ID_PCM_S16BE;
        case fourCode("sowt"):
        case fourCode("lpcm"):
            return d.bitsPerSample == 8 ? AV_CODEC_ID_PCM_S8 : AV_CODEC_ID_PCM_S16LE;
        case fourCode("in24"):
            return little ? AV_CODEC_ID_PCM_S24LE : AV_CODEC_ID_PCM_S24BE;
        case fourCode("in32"):
            return little ? AV_CODEC_ID_PCM_S32LE : AV_CODEC_ID_PCM_S32BE;
        case fourCode("fl32"):
            return little ? AV_CODEC_ID_PCM_F32LE : AV_CODEC_ID_PCM_F32BE;
        case fourCode("fl64"):
            return little ? AV_CODEC_ID_PCM_F64LE : AV_CODEC_ID_PCM_F64BE;
        default:
            return AV_CODEC_ID_NONE;
    }
}

AVCodecID idInTags(const AVCodecTag* tags, std::uint32_t type) {
    const AVCodecTag* const list[] = {tags, nullptr};
    return av_codec_get_id(list, nativeTag(type));
}

}  // namespace

const VideoCodecEntry* videoCodecEntry(std::uint32_t type) {
    return find(kVideoCodecs, type);
}
const SoundCodecEntry* soundCodecEntry(std::uint32_t type) {
    return find(kSoundCodecs, type);
}
std::span<const VideoCodecEntry> videoCodecEntries() {
    return kVideoCodecs;
}
std::span<const SoundCodecEntry> soundCodecEntries() {
    return kSoundCodecs;
}

AVCodecID videoDecoderId(std::uint32_t type) {
    if ((type & 0xFFFF0000) == kLibraryVideoType) {
        return static_cast<AVCodecID>(type & 0xFFFF);
    }
    switch (type) {  // codes that the library's tables read as something else, or not at all
        case fourCode("vp08"):
            return AV_CODEC_ID_VP8;
        case fourCode("h261"):
            return AV_CODEC_ID_H261;
        case fourCode("2Vuy"):
            return AV_CODEC_ID_RAWVIDEO;
        case fourCode("msvc"):
            return AV_CODEC_ID_MSVIDEO1;
        default:
            break;
    }
    if (const AVCodecID id = idInTags(avformat_get_mov_video_tags(), type);
        id != AV_CODEC_ID_NONE) {
        return id;
    }
    if (const AVCodecID id = idInTags(avformat_get_riff_video_tags(), type);
        id != AV_CODEC_ID_NONE) {
        return id;
    }
    const VideoCodecEntry* entry = videoCodecEntry(type);
    return entry ? entry->id : AV_CODEC_ID_NONE;
}

AVCodecID soundDecoderId(const SoundDescription& description) {
    if (const AVCodecID id = pcmId(description); id != AV_CODEC_ID_NONE) {
        return id;
    }
    if ((description.format & 0xFFFF0000) == kLibrarySoundType) {
        return static_cast<AVCodecID>((description.format & 0xFFFF) + 0x10000);
    }
    if ((description.format >> 16) == 0x6D73) {
        const AVCodecTag* const riff[] = {avformat_get_riff_audio_tags(), nullptr};
        return av_codec_get_id(riff, description.format & 0xFFFF);
    }
    if (const SoundCodecEntry* entry = soundCodecEntry(description.format)) {
        return entry->id;
    }
    return idInTags(avformat_get_mov_audio_tags(), description.format);
}

bool canEncodeVideo(std::uint32_t type) {
    return videoCodecEntry(type) && installedEncoder(findVideoCodecName(type));
}

bool canEncodeSound(std::uint32_t type) {
    return soundCodecEntry(type) && installedEncoder(findSoundCodecName(type));
}

std::vector<std::uint32_t> videoEncoderTypes() {
    std::vector<std::uint32_t> types;
    for (const VideoCodecEntry& entry : kVideoCodecs) {
        types.push_back(entry.type);
    }
    return types;
}

std::vector<std::uint32_t> soundEncoderTypes() {
    std::vector<std::uint32_t> types;
    for (const SoundCodecEntry& entry : kSoundCodecs) {
        types.push_back(entry.type);
    }
    return types;
}

}  // namespace TWQuickTime::codec
