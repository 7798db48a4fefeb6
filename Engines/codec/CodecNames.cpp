#include "Engines/codec/CodecNames.h"

#include <algorithm>
#include <string>

#include "Engines/codec/Private/CodecMap.h"

namespace TWQuickTime::codec {
namespace {

constexpr std::uint32_t code(const char (&text)[5]) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | static_cast<unsigned char>(text[i]);
    return value;
}

constexpr std::uint32_t kAvc1Aliases[] = {code("avc3"), code("H264"), code("ai5q"), code("ai12"),
                                          code("AVin")};
constexpr std::uint32_t kHvc1Aliases[] = {code("hev1")};
constexpr std::uint32_t kMp4vAliases[] = {code("XVID"), code("DIVX"), code("DX50"), code("3IV2"),
                                          code("MP4S")};
constexpr std::uint32_t kJpegAliases[] = {code("AVDJ"), code("AVRn")};
constexpr std::uint32_t kSvq1Aliases[] = {code("svq1"), code("svqi")};
constexpr std::uint32_t kH261Aliases[] = {code("H261")};
constexpr std::uint32_t kH263Aliases[] = {code("s263")};
constexpr std::uint32_t kDvh5Aliases[] = {code("dvh6"), code("dvh3"), code("dvhp"), code("dvhq")};
constexpr std::uint32_t kM1vAliases[] = {code("mpeg"), code("mp1v")};
constexpr std::uint32_t kM2v1Aliases[] = {code("mp2v")};
constexpr std::uint32_t kHdv1Aliases[] = {code("hdv2"), code("hdv3"), code("hdv4"), code("hdv5"),
                                          code("hdv6")};
constexpr std::uint32_t kXdv2Aliases[] = {code("xd55"), code("xd5b"), code("xdhd")};
constexpr std::uint32_t kMsvcAliases[] = {code("MSVC")};
constexpr std::uint32_t k2vuyAliases[] = {code("2Vuy")};
constexpr std::uint32_t kMp3Aliases[] = {0x6D730055};
constexpr std::uint32_t kDvcaAliases[] = {code("vdva")};
constexpr std::uint32_t kQclpAliases[] = {code("Qclq"), code("sqcp")};

constexpr CodecName kVideoCodecs[] = {
    {code("avc1"), kAvc1Aliases, "H.264", CodecKind::video, "h264", "libx264"},
    {code("hvc1"), kHvc1Aliases, "HEVC", CodecKind::video, "hevc", "libx265"},
    {code("mp4v"), kMp4vAliases, "MPEG-4 Video", CodecKind::video, "mpeg4", "mpeg4 libxvid"},
    {code("jpeg"), kJpegAliases, "Photo - JPEG", CodecKind::video, "mjpeg", "mjpeg"},
    {code("mjpa"), {}, "Motion JPEG A", CodecKind::video, "mjpeg", "mjpeg"},
    {code("mjpb"), {}, "Motion JPEG B", CodecKind::video, "mjpegb", ""},
    {code("rle "), {}, "Animation", CodecKind::video, "qtrle", "qtrle"},
    {code("raw "), {}, "None (uncompressed)", CodecKind::video, "rawvideo", "rawvideo"},
    {code("cvid"), {}, "Cinepak", CodecKind::video, "cinepak", "cinepak"},
    {code("rpza"), {}, "Video", CodecKind::video, "rpza", "rpza"},
    {code("smc "), {}, "Graphics", CodecKind::video, "smc", "smc"},
    {code("SVQ1"), kSvq1Aliases, "Sorenson Video", CodecKind::video, "svq1", "svq1"},
    {code("SVQ3"), {}, "Sorenson Video 3", CodecKind::video, "svq3", ""},
    {code("h261"), kH261Aliases, "H.261", CodecKind::video, "h261", "h261"},
    {code("h263"), kH263Aliases, "H.263", CodecKind::video, "h263", "h263"},
    {code("dvc "), {}, "DV/DVCPRO - NTSC", CodecKind::video, "dvvideo", "dvvideo"},
    {code("dvcp"), {}, "DV - PAL", CodecKind::video, "dvvideo", "dvvideo"},
    {code("dvpp"), {}, "DVCPRO - PAL", CodecKind::video, "dvvideo", "dvvideo"},
    {code("dv5n"), {}, "DVCPRO50 - NTSC", CodecKind::video, "dvvideo", "dvvideo"},
    {code("dv5p"), {}, "DVCPRO50 - PAL", CodecKind::video, "dvvideo", "dvvideo"},
    {code("dvh5"), kDvh5Aliases, "DVCPRO HD", CodecKind::video, "dvvideo", ""},
    {code("m1v "), kM1vAliases, "MPEG-1 Video", CodecKind::video, "mpeg1video", "mpeg1video"},
    {code("m2v1"), kM2v1Aliases, "MPEG-2 Video", CodecKind::video, "mpeg2video", "mpeg2video"},
    {code("hdv1"), kHdv1Aliases, "HDV", CodecKind::video, "mpeg2video", ""},
    {code("mx5p"), {}, "IMX", CodecKind::video, "mpeg2video", ""},
    {code("xdv2"), kXdv2Aliases, "XDCAM", CodecKind::video, "mpeg2video", ""},
    {code("png "), {}, "PNG", CodecKind::video, "png", "png"},
    {code("tiff"), {}, "TIFF", CodecKind::video, "tiff", "tiff"},
    {code("gif "), {}, "GIF", CodecKind::video, "gif", "gif"},
    {code("tga "), {}, "TGA", CodecKind::video, "targa", "targa"},
    {code("sgi "), {}, "SGI", CodecKind::video, "sgi", "sgi"},
    {code("WRLE"), {}, "BMP", CodecKind::video, "msrle", ""},
    {code("msvc"), kMsvcAliases, "Microsoft Video 1", CodecKind::video, "msvideo1", "msvideo1"},
    {code("8BPS"), {}, "Planar RGB", CodecKind::video, "8bps", ""},
    {code("qdrw"), {}, "Pictures", CodecKind::video, "qdraw", ""},
    {code("mjp2"), {}, "JPEG 2000", CodecKind::video, "jpeg2000", "jpeg2000 libopenjpeg"},
    {code("icod"), {}, "Apple Intermediate Codec", CodecKind::video, "aic", ""},
    {code("pxlt"), {}, "Apple Pixlet Video", CodecKind::video, "pixlet", ""},
    {code("apco"), {}, "Apple ProRes 422 (Proxy)", CodecKind::video, "prores", "prores_ks"},
    {code("apcs"), {}, "Apple ProRes 422 (LT)", CodecKind::video, "prores", "prores_ks"},
    {code("apcn"), {}, "Apple ProRes 422", CodecKind::video, "prores", "prores_ks"},
    {code("apch"), {}, "Apple ProRes 422 (HQ)", CodecKind::video, "prores", "prores_ks"},
    {code("ap4h"), {}, "Apple ProRes 4444", CodecKind::video, "prores", "prores_ks"},
    {code("ap4x"), {}, "Apple ProRes 4444 XQ", CodecKind::video, "prores", "prores_ks"},
    {code("AVdn"), {}, "Avid DNxHD", CodecKind::video, "dnxhd", "dnxhd"},
    {code("AVdh"), {}, "Avid DNxHR", CodecKind::video, "dnxhd", "dnxhd"},
    {code("CFHD"), {}, "CineForm HD", CodecKind::video, "cfhd", "cfhd"},
    {code("Hap1"), {}, "Hap", CodecKind::video, "hap", "hap"},
    {code("Hap5"), {}, "Hap Alpha", CodecKind::video, "hap", "hap"},
    {code("HapY"), {}, "Hap Q", CodecKind::video, "hap", "hap"},
    {code("2vuy"), k2vuyAliases, "Uncompressed 8-bit 4:2:2", CodecKind::video, "rawvideo",
     "rawvideo"},
    {code("yuvs"), {}, "Component Video (unsigned)", CodecKind::video, "rawvideo", "rawvideo"},
    {code("yuv2"), {}, "Component Video (signed)", CodecKind::video, "rawvideo", ""},
    {code("v210"), {}, "Uncompressed 10-bit 4:2:2", CodecKind::video, "v210", "v210"},
    {code("v308"), {}, "Uncompressed 4:4:4", CodecKind::video, "v308", "v308"},
    {code("v408"), {}, "Uncompressed 4:4:4:4", CodecKind::video, "v408", "v408"},
    {code("v410"), {}, "Uncompressed 10-bit 4:4:4", CodecKind::video, "v410", "v410"},
    {code("r210"), {}, "10-bit RGB", CodecKind::video, "r210", "r210"},
    {code("R10k"), {}, "10-bit RGB", CodecKind::video, "r10k", "r10k"},
    {code("b64a"), {}, "16-bit ARGB", CodecKind::video, "rawvideo", "rawvideo"},
    {code("b48r"), {}, "16-bit RGB", CodecKind::video, "rawvideo", "rawvideo"},
    {code("b16g"), {}, "16-bit grey", CodecKind::video, "rawvideo", "rawvideo"},
    {code("flic"), {}, "FLC", CodecKind::video, "flic", ""},
    {code("cyuv"), {}, "Creative YUV", CodecKind::video, "cyuv", ""},
    {code("IV32"), {}, "Indeo Video 3", CodecKind::video, "indeo3", ""},
    {code("IV41"), {}, "Indeo Video 4", CodecKind::video, "indeo4", ""},
    {code("FFV1"), {}, "FFV1", CodecKind::video, "ffv1", "ffv1"},
    {code("VP31"), {}, "VP3", CodecKind::video, "vp3", ""},
    {code("av01"), {}, "AV1", CodecKind::video, "libdav1d av1", "libsvtav1 libaom-av1 librav1e"},
    {code("vp08"), {}, "VP8", CodecKind::video, "vp8", "libvpx"},
    {code("vp09"), {}, "VP9", CodecKind::video, "vp9", "libvpx-vp9"},
    {code("kpcd"), {}, "Photo CD", CodecKind::video, "", ""},
    {code("v216"), {}, "Uncompressed 16-bit 4:2:2", CodecKind::video, "", ""},
    {code("b32a"), {}, "16-bit grey with alpha", CodecKind::video, "", ""},
    {code("aprn"), {}, "Apple ProRes RAW", CodecKind::video, "", ""},
    {code("path"), {}, "Curves", CodecKind::video, "", ""},
    {code("base"), {}, "Base", CodecKind::video, "", ""},
};

constexpr CodecName kSoundCodecs[] = {
    {code("NONE"), {}, "none", CodecKind::sound, "pcm_s16be pcm_u8", ""},
    {code("raw "), {}, "8-bit Unsigned", CodecKind::sound, "pcm_u8", "pcm_u8"},
    {code("twos"), {}, "16-bit Big Endian", CodecKind::sound, "pcm_s16be", "pcm_s16be"},
    {code("sowt"), {}, "16-bit Little Endian", CodecKind::sound, "pcm_s16le", "pcm_s16le"},
    {code("in24"), {}, "24-bit Integer", CodecKind::sound, "pcm_s24be", "pcm_s24be"},
    {code("in32"), {}, "32-bit Integer", CodecKind::sound, "pcm_s32be", "pcm_s32be"},
    {code("fl32"), {}, "32-bit Floating Point", CodecKind::sound, "pcm_f32be", "pcm_f32be"},
    {code("fl64"), {}, "64-bit Floating Point", CodecKind::sound, "pcm_f64be", "pcm_f64be"},
    {code("lpcm"), {}, "Linear PCM", CodecKind::sound, "pcm_s16le", "pcm_s16le"},
    {code("ulaw"), {}, "µLaw 2:1", CodecKind::sound, "pcm_mulaw", "pcm_mulaw"},
    {code("alaw"), {}, "ALaw 2:1", CodecKind::sound, "pcm_alaw", "pcm_alaw"},
    {code("ima4"), {}, "IMA 4:1", CodecKind::sound, "adpcm_ima_qt", "adpcm_ima_qt"},
    {code("MAC3"), {}, "MACE 3:1", CodecKind::sound, "mace3", ""},
    {code("MAC6"), {}, "MACE 6:1", CodecKind::sound, "mace6", ""},
    {code("mp4a"), {}, "AAC (MPEG-4 Audio)", CodecKind::sound, "aac", "aac"},
    {code(".mp3"), kMp3Aliases, "MPEG Layer-3", CodecKind::sound, "mp3float mp3", "libmp3lame"},
    {code(".mp2"), {}, "MPEG Layer 2", CodecKind::sound, "mp2float mp2", "mp2"},
    {code(".mp1"), {}, "MPEG Layer 1", CodecKind::sound, "mp1float mp1", ""},
    {0x6D730002, {}, "MS ADPCM", CodecKind::sound, "adpcm_ms", "adpcm_ms"},
    {0x6D730011, {}, "DVI ADPCM", CodecKind::sound, "adpcm_ima_wav", "adpcm_ima_wav"},
    {0x6D730031, {}, "GSM", CodecKind::sound, "gsm_ms", ""},
    {code("alac"), {}, "Apple Lossless", CodecKind::sound, "alac", "alac"},
    {code("ac-3"), {}, "AC-3", CodecKind::sound, "ac3", "ac3"},
    {code("ec-3"), {}, "Enhanced AC-3", CodecKind::sound, "eac3", "eac3"},
    {code("dvca"), kDvcaAliases, "DV Audio", CodecKind::sound, "pcm_s16le", ""},
    {code("QDM2"), {}, "QDesign Music 2", CodecKind::sound, "qdm2", ""},
    {code("QDMC"), {}, "QDesign Music 1", CodecKind::sound, "qdmc", ""},
    {code("Qclp"), kQclpAliases, "QUALCOMM PureVoice", CodecKind::sound, "qcelp", ""},
    {code("samr"), {}, "AMR Narrowband", CodecKind::sound, "amrnb libopencore_amrnb", ""},
    {code("sawb"), {}, "AMR Wideband", CodecKind::sound, "amrwb libopencore_amrwb", ""},
    {code("agsm"), {}, "GSM 6.10", CodecKind::sound, "gsm libgsm", "libgsm"},
    {code("ilbc"), {}, "iLBC", CodecKind::sound, "ilbc libilbc", ""},
    {code("spex"), {}, "Speex", CodecKind::sound, "speex libspeex", ""},
    {code("dtsc"), {}, "DTS", CodecKind::sound, "dca", "dca"},
    {code("Opus"), {}, "Opus", CodecKind::sound, "opus libopus", "libopus opus"},
    {code("fLaC"), {}, "FLAC", CodecKind::sound, "flac", "flac"},
    {code("vrbs"), {}, "Vorbis", CodecKind::sound, "vorbis libvorbis", "libvorbis"},
};

const CodecName* find(std::span<const CodecName> rows, std::uint32_t wanted) {
    const auto row = std::find_if(rows.begin(), rows.end(), [wanted](const CodecName& codec) {
        return codec.code == wanted ||
               std::find(codec.aliases.begin(), codec.aliases.end(), wanted) != codec.aliases.end();
    });
    return row == rows.end() ? nullptr : &*row;
}

/// The library's own codecs come with it wherever it is packaged; those of others bear their names.
bool isOwnOfTheLibrary(std::string_view name) {
    return !name.starts_with("lib");
}

/// The first of a list of names that `accept` takes; empty for none.
template <class Accept>
std::string firstOf(std::string_view names, Accept accept) {
    while (!names.empty()) {
        const std::size_t end = std::min(names.find(' '), names.size());
        if (std::string name(names.substr(0, end)); accept(name))
            return name;
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return {};
}

/// @param find  by name; a null pointer when the library does not have it
template <class Find>
bool anyExists(std::string_view names, Find find) {
    return !firstOf(names, [find](const std::string& name) {
                return isOwnOfTheLibrary(name) || find(name.c_str());
            }).empty();
}

}  // namespace

std::span<const CodecName> videoCodecNames() {
    return kVideoCodecs;
}

std::span<const CodecName> soundCodecNames() {
    return kSoundCodecs;
}

const CodecName* findVideoCodecName(std::uint32_t wanted) {
    return find(kVideoCodecs, wanted);
}

const CodecName* findSoundCodecName(std::uint32_t wanted) {
    return find(kSoundCodecs, wanted);
}

bool decoderExists(const CodecName& codec) {
    return anyExists(codec.decoders, avcodec_find_decoder_by_name);
}

bool encoderExists(const CodecName& codec) {
    return anyExists(codec.encoders, avcodec_find_encoder_by_name);
}

const AVCodec* installedEncoder(const CodecName* codec) {
    const AVCodec* encoder = nullptr;
    if (codec) {
        firstOf(codec->encoders, [&encoder](const std::string& name) {
            encoder = avcodec_find_encoder_by_name(name.c_str());
            return encoder != nullptr;
        });
    }
    return encoder;
}

}  // namespace TWQuickTime::codec
