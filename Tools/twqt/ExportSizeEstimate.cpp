#include "ExportSizeEstimate.h"

#include <array>
#include <cmath>
#include <utility>

#include "TrackReport.h"

namespace twqt {

using namespace TWQuickTime;

namespace {

/// The qualities of settings go to 1023; at this one the table below holds.
constexpr double kNormalQuality = 512;
/// So much more quality takes twice the bits.
constexpr double kQualityForTwiceTheBits = 220;
constexpr double kUsualSampleRate = 48000;
constexpr double kUsualChannels = 2;

struct VideoNeed {
    OSType codec;
    double bitsPerPixel;  ///< at normal quality
    bool dependsOnQuality;
};

constexpr auto videoNeeds = std::to_array<VideoNeed>({
    {fourCC("avc1"), 0.09, true},  {fourCC("hvc1"), 0.06, true},  {fourCC("vp08"), 0.10, true},
    {fourCC("vp09"), 0.06, true},  {fourCC("av01"), 0.05, true},  {fourCC("mp4v"), 0.15, true},
    {fourCC("m2v1"), 0.20, true},  {fourCC("jpeg"), 1.00, true},  {fourCC("mjpa"), 1.00, true},
    {fourCC("apco"), 0.70, false}, {fourCC("apcs"), 1.60, false}, {fourCC("apcn"), 2.35, false},
    {fourCC("apch"), 3.50, false}, {fourCC("ap4h"), 5.20, false}, {fourCC("ap4x"), 7.80, false},
    {fourCC("dvcp"), 2.78, false}, {fourCC("dvc "), 2.78, false}, {fourCC("png "), 10.0, false},
    {fourCC("FFV1"), 8.00, false}, {fourCC("raw "), 24.0, false}, {fourCC("gif "), 4.00, false},
    {fourCC("rle "), 8.00, false}, {fourCC("tiff"), 24.0, false},
});
constexpr VideoNeed kOtherVideo{0, 2.0, false};

/// Bits of a sample, where the codec does not say; 0: as the settings say.
constexpr auto soundNeeds = std::to_array<std::pair<OSType, double>>({
    {fourCC("sowt"), 0},
    {fourCC("twos"), 0},
    {fourCC("in24"), 24},
    {fourCC("in32"), 32},
    {fourCC("fl32"), 32},
    {fourCC("fl64"), 64},
    {fourCC("raw "), 8},
    {fourCC("ulaw"), 8},
    {fourCC("alaw"), 8},
    {fourCC("ima4"), 4.25},
    {fourCC("alac"), 9},
    {fourCC("fLaC"), 9},
});
/// AAC, MP3, Opus and their like.
constexpr double kBitsOfOtherSound = 1.5;

VideoNeed needOf(OSType codec) {
    for (const VideoNeed& need : videoNeeds)
        if (need.codec == codec)
            return need;
    return kOtherVideo;
}

double bitsPerSample(OSType codec, const ExporterFields& settings) {
    for (const auto& [type, bits] : soundNeeds)
        if (type == codec)
            return bits > 0 ? bits : settings.number("sampleSize");
    return kBitsOfOtherSound;
}

/// 0 in settings means: as the source has it.
double setOr(double value, double otherwise) {
    return value > 0 ? value : otherwise;
}

double videoBytesPerSecond(OSType codec, const ExporterFields& settings, const MediaShape& shape) {
    if (const double rate = settings.number("dataRate"); rate > 0)
        return rate;
    const VideoNeed need = needOf(codec);
    const double quality = need.dependsOnQuality
                               ? std::exp2((settings.number("spatialQuality") - kNormalQuality) /
                                           kQualityForTwiceTheBits)
                               : 1.0;
    return shape.widthInPixels * shape.heightInPixels * shape.framesPerSecond * need.bitsPerPixel *
           quality / 8;
}

}  // namespace

MediaShape MediaShape::ofMovie(Movie movie) {
    MediaShape shape;
    for (const TrackReport& track : reportTracks(movie)) {
        if (track.mediaType == fourCC("soun"))
            shape.hasSound = true;
        if (track.mediaType != fourCC("vide") || shape.widthInPixels > 0)
            continue;
        shape.widthInPixels = track.width;
        shape.heightInPixels = track.height;
        const double seconds = track.duration - track.start;
        shape.framesPerSecond = seconds > 0 ? track.sampleCount / seconds : 0;
    }
    return shape;
}

double estimatedBytesPerSecond(const ExporterFields& settings, MediaShape& shape) {
    double bytes = 0;
    const std::optional<OSType> video = settings.videoCodec();
    if (!video)
        shape.widthInPixels = 0;
    if (video && shape.widthInPixels > 0) {
        shape.widthInPixels = setOr(settings.number("width"), shape.widthInPixels);
        shape.heightInPixels = setOr(settings.number("height"), shape.heightInPixels);
        shape.framesPerSecond = setOr(settings.number("frameRate"), shape.framesPerSecond);
        bytes += videoBytesPerSecond(*video, settings, shape);
    }
    const std::optional<OSType> sound = settings.soundCodec();
    shape.hasSound = shape.hasSound && sound;
    if (shape.hasSound)
        bytes += setOr(settings.number("sampleRate"), kUsualSampleRate) *
                 setOr(settings.number("channels"), kUsualChannels) *
                 bitsPerSample(*sound, settings) / 8;
    return bytes;
}

}  // namespace twqt
