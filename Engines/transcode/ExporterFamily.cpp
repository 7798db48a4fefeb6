#include "Engines/transcode/ExporterFamily.h"

#include <algorithm>

#include "Engines/codec/ByteOrder.h"

namespace TWQuickTime::transcode {

using codec::fourCode;

namespace {

using Codecs = std::span<const std::uint32_t>;

constexpr std::uint32_t kVideo = fourCode("vide");
constexpr std::uint32_t kSound = fourCode("soun");
/// Microsoft's sound formats go by their numbers.
constexpr std::uint32_t kMsAdpcm = 0x6D730002, kDviAdpcm = 0x6D730011;

constexpr std::uint32_t kMpeg4Video[] = {fourCode("avc1"), fourCode("hvc1"), fourCode("mp4v"),
                                         fourCode("vp09")};
constexpr std::uint32_t kMpeg4Sound[] = {fourCode("mp4a"), fourCode(".mp3"), fourCode("ac-3"),
                                         fourCode("ec-3"), fourCode("alac"), fourCode("Opus"),
                                         fourCode("fLaC")};
constexpr std::uint32_t k3gppVideo[] = {fourCode("avc1"), fourCode("mp4v"), fourCode("h263")};
constexpr std::uint32_t k3gppSound[] = {fourCode("mp4a")};
constexpr std::uint32_t kAviVideo[] = {fourCode("jpeg"), fourCode("avc1"), fourCode("mp4v"),
                                       fourCode("cvid"), fourCode("png "), fourCode("FFV1"),
                                       fourCode("msvc")};
constexpr std::uint32_t kAviSound[] = {fourCode("sowt"), fourCode(".mp3"), fourCode("ac-3"),
                                       fourCode("ulaw"), fourCode("alaw"), kMsAdpcm,
                                       kDviAdpcm};
constexpr std::uint32_t kDvVideo[] = {fourCode("dvcp"), fourCode("dvc ")};
constexpr std::uint32_t kDvSound[] = {fourCode("sowt")};
constexpr std::uint32_t kMatroskaVideo[] = {fourCode("avc1"), fourCode("hvc1"), fourCode("mp4v"),
                                            fourCode("vp08"), fourCode("vp09"), fourCode("av01"),
                                            fourCode("jpeg"), fourCode("FFV1"), fourCode("m2v1"),
                                            fourCode("apcn"), fourCode("apch")};
constexpr std::uint32_t kMatroskaSound[] = {fourCode("mp4a"), fourCode("fLaC"), fourCode("Opus"),
                                            fourCode("vrbs"), fourCode(".mp3"), fourCode("ac-3"),
                                            fourCode("sowt"), fourCode("alac")};
constexpr std::uint32_t kWebmVideo[] = {fourCode("vp09"), fourCode("vp08"), fourCode("av01")};
constexpr std::uint32_t kWebmSound[] = {fourCode("Opus"), fourCode("vrbs")};
constexpr std::uint32_t kSequenceVideo[] = {fourCode("png "), fourCode("jpeg"), fourCode("tiff"),
                                            fourCode("tga ")};
constexpr std::uint32_t kGifVideo[] = {fourCode("gif ")};
constexpr std::uint32_t kWaveSound[] = {fourCode("sowt"), fourCode("ulaw"), fourCode("alaw"),
                                        kMsAdpcm, kDviAdpcm};
constexpr std::uint32_t kAiffSound[] = {fourCode("twos"), fourCode("ulaw"), fourCode("alaw"),
                                        fourCode("sowt")};
constexpr std::uint32_t kM4aSound[] = {fourCode("mp4a"), fourCode("alac")};
constexpr std::uint32_t kFlacSound[] = {fourCode("fLaC")};
constexpr std::uint32_t kMp3Sound[] = {fourCode(".mp3")};

constexpr ExporterFamily kFamilies[] = {
    {fourCode("MooV"),
     FileKind::quickTime,
     "QuickTime Movie",
     "Exports movies with any of the installed codecs.",
     fourCode("mov "),
     0,
     fourCode("avc1"),
     fourCode("mp4a"),
     {},
     {}},
    {fourCode("mpg4"), FileKind::mpeg4, "MPEG-4", "Exports MPEG-4 files.", fourCode("mp4 "), 0,
     fourCode("avc1"), fourCode("mp4a"), kMpeg4Video, kMpeg4Sound},
    {fourCode("M4V "), FileKind::m4v, "M4V", "Exports MPEG-4 video for small players.",
     fourCode("m4v "), 0, fourCode("avc1"), fourCode("mp4a"), kMpeg4Video, kMpeg4Sound},
    {fourCode("3gpp"), FileKind::threeGpp, "3GPP", "Exports 3GPP files for telephones.",
     fourCode("3gp "), 0, fourCode("mp4v"), fourCode("mp4a"), k3gppVideo, k3gppSound},
    {fourCode("VfW "), FileKind::avi, "AVI", "Exports AVI files.", fourCode("avi "), 0,
     fourCode("jpeg"), fourCode("sowt"), kAviVideo, kAviSound},
    {fourCode("dvc!"), FileKind::dv, "DV Stream", "Exports DV streams, PAL or NTSC.",
     fourCode("dv  "), 0, fourCode("dvcp"), fourCode("sowt"), kDvVideo, kDvSound},
    {fourCode("MKV "), FileKind::matroska, "Matroska", "Exports Matroska files.", fourCode("mkv "),
     0, fourCode("avc1"), fourCode("fLaC"), kMatroskaVideo, kMatroskaSound},
    {fourCode("WEBM"), FileKind::webm, "WebM", "Exports WebM files.", fourCode("webm"), 0,
     fourCode("vp09"), fourCode("Opus"), kWebmVideo, kWebmSound},
    {fourCode("grex"),
     FileKind::imageSequence,
     "Image Sequence",
     "Exports each picture as a file of its own.",
     fourCode("png "),
     kVideo,
     fourCode("png "),
     0,
     kSequenceVideo,
     {}},
    {fourCode("GIFf"),
     FileKind::gif,
     "Animated GIF",
     "Exports animated GIF files.",
     fourCode("gif "),
     kVideo,
     fourCode("gif "),
     0,
     kGifVideo,
     {}},
    {fourCode("WAVE"),
     FileKind::wave,
     "WAVE",
     "Exports sound as WAVE files.",
     fourCode("wav "),
     kSound,
     0,
     fourCode("sowt"),
     {},
     kWaveSound},
    {fourCode("AIFF"),
     FileKind::aiff,
     "AIFF",
     "Exports sound as AIFF files.",
     fourCode("aif "),
     kSound,
     0,
     fourCode("twos"),
     {},
     kAiffSound},
    {fourCode("M4A "),
     FileKind::m4a,
     "AAC",
     "Exports sound as AAC in MPEG-4 files.",
     fourCode("m4a "),
     kSound,
     0,
     fourCode("mp4a"),
     {},
     kM4aSound},
    {fourCode("FLAC"),
     FileKind::flac,
     "FLAC",
     "Exports sound as FLAC files.",
     fourCode("flac"),
     kSound,
     0,
     fourCode("fLaC"),
     {},
     kFlacSound},
    {fourCode("MP3 "),
     FileKind::mp3,
     "MP3",
     "Exports sound as MP3 files.",
     fourCode("mp3 "),
     kSound,
     0,
     fourCode(".mp3"),
     {},
     kMp3Sound},
};

bool contains(Codecs codecs, std::uint32_t codec) {
    return codecs.empty() || std::ranges::find(codecs, codec) != codecs.end();
}

}  // namespace

bool ExporterFamily::takesVideo(std::uint32_t codec) const {
    return videoCodec != 0 && contains(videoCodecs, codec);
}

bool ExporterFamily::takesSound(std::uint32_t codec) const {
    return soundCodec != 0 && contains(soundCodecs, codec);
}

std::span<const ExporterFamily> exporterFamilies() {
    return kFamilies;
}

const ExporterFamily* exporterFamily(std::uint32_t subtype) {
    const auto found = std::ranges::find(kFamilies, subtype, &ExporterFamily::subtype);
    return found == std::end(kFamilies) ? nullptr : found;
}

std::uint32_t extensionFor(const ExporterFamily& family, const ExportSettings& settings) {
    if (family.kind != FileKind::imageSequence || !settings.video) {
        return family.extension;
    }
    switch (settings.video->codec) {
        case fourCode("jpeg"):
            return fourCode("jpg ");
        case fourCode("tiff"):
            return fourCode("tif ");
        case fourCode("tga "):
            return fourCode("tga ");
        default:
            return family.extension;
    }
}

ExportSettings defaultSettings(const ExporterFamily& family) {
    ExportSettings settings;
    settings.kind = family.kind;
    if (family.videoCodec != 0) {
        settings.video = VideoSettings{};
        settings.video->codec = family.videoCodec;
    }
    if (family.soundCodec != 0) {
        settings.sound = SoundSettings{};
        settings.sound->codec = family.soundCodec;
        if (family.kind == FileKind::dv) {
            settings.sound->sampleRate = 48000;
            settings.sound->channels = 2;
        }
    }
    return settings;
}

}  // namespace TWQuickTime::transcode
