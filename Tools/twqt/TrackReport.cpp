#include "TrackReport.h"

#include <Components.h>
#include <Handles.h>
#include <Media.h>
#include <Movies.h>
#include <TrackReferences.h>
#include <Tracks.h>

#include <algorithm>

#include "ComponentName.h"

namespace twqt {

using namespace TWQuickTime;

namespace {

/// A handle that goes with the object.
class HandleOwner {
  public:
    HandleOwner() : handle_(NewHandle(0)) {}
    ~HandleOwner() { DisposeHandle(handle_); }
    HandleOwner(const HandleOwner&) = delete;
    HandleOwner& operator=(const HandleOwner&) = delete;
    operator Handle() const { return handle_; }

    std::string bytes() const {
        return {*handle_, static_cast<std::size_t>(GetHandleSize(handle_))};
    }

  private:
    Handle handle_;
};

std::uint32_t bigEndian32(const std::string& bytes, std::size_t offset) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8 | static_cast<unsigned char>(bytes[offset + i]);
    return value;
}

/// The name that the components of this machine give a codec.
std::string decompressorName(OSType decompressorType, OSType codec) {
    const ComponentDescription wanted{.componentType = decompressorType, .componentSubType = codec};
    const Component component = FindNextComponent(nullptr, &wanted);
    return component ? componentName(component) : std::string();
}

std::string codecName(OSType mediaType, OSType codec) {
    if (mediaType == VideoMediaType)
        return decompressorName(decompressorComponentType, codec);
    return mediaType == SoundMediaType ? decompressorName(kSoundDecompressor, codec)
                                       : std::string();
}

constexpr std::size_t kVideoExtensionsOffset = 86;
constexpr std::size_t kAtomHeaderInBytes = 8;

/// The shape of pixels that a video sample description states.
double pixelAspectRatio(const std::string& description) {
    std::size_t offset = kVideoExtensionsOffset;
    while (offset + kAtomHeaderInBytes <= description.size()) {
        const std::size_t size = bigEndian32(description, offset);
        if (size < kAtomHeaderInBytes || size > description.size() - offset)
            break;
        if (bigEndian32(description, offset + 4) == fourCC("pasp") && size >= 16) {
            const double horizontal = bigEndian32(description, offset + 8);
            const double vertical = bigEndian32(description, offset + 12);
            return horizontal > 0 && vertical > 0 ? horizontal / vertical : 1;
        }
        offset += size;
    }
    return 1;
}

void reportMedia(Media media, TrackReport& report) {
    GetMediaHandlerDescription(media, &report.mediaType, nullptr, nullptr);
    report.timeScale = GetMediaTimeScale(media);
    report.sampleCount = GetMediaSampleCount(media);
    const HandleOwner handle;
    GetMediaSampleDescription(media, 1, handle);
    const std::string description = handle.bytes();
    if (description.size() < 16)
        return;
    report.codec = bigEndian32(description, 4);
    report.codecName = codecName(report.mediaType, report.codec);
    if (report.mediaType == VideoMediaType)
        report.pixelAspectRatio = pixelAspectRatio(description);
}

std::vector<EditReport> reportEdits(Track track, double movieScale, double mediaScale) {
    std::vector<EditReport> edits;
    const std::int32_t count = GetTrackEditCount(track);
    for (std::int32_t i = 1; i <= count; ++i) {
        TrackEdit edit;
        if (GetTrackIndEdit(track, i, &edit) != noErr)
            break;
        EditReport report{.trackTime = edit.trackTime / movieScale,
                          .mediaTime = std::nullopt,
                          .duration = edit.trackDuration / movieScale,
                          .rate = edit.mediaRate / 65536.0};
        if (edit.mediaTime >= 0 && mediaScale > 0)
            report.mediaTime = edit.mediaTime / mediaScale;
        edits.push_back(report);
    }
    return edits;
}

std::vector<ReferenceReport> reportReferences(Track track) {
    std::vector<ReferenceReport> references;
    for (OSType type = GetNextTrackReferenceType(track, 0); type != 0;
         type = GetNextTrackReferenceType(track, type)) {
        ReferenceReport report{.type = type, .trackIDs = {}};
        const std::int32_t count = GetTrackReferenceCount(track, type);
        for (std::int32_t i = 1; i <= count; ++i) {
            const Track target = GetTrackReference(track, type, i);
            report.trackIDs.push_back(target ? GetTrackID(target) : 0);
        }
        references.push_back(std::move(report));
    }
    return references;
}

TrackReport reportTrack(Track track, double movieScale) {
    TrackReport report;
    report.id = GetTrackID(track);
    report.enabled = GetTrackEnabled(track);
    report.layer = GetTrackLayer(track);
    report.volume = GetTrackVolume(track) / 256.0;
    Fixed width = 0, height = 0;
    GetTrackDimensions(track, &width, &height);
    report.width = width / 65536.0;
    report.height = height / 65536.0;
    report.start = GetTrackOffset(track) / movieScale;
    report.duration = GetTrackDuration(track) / movieScale;
    if (const Media media = GetTrackMedia(track))
        reportMedia(media, report);
    report.edits = reportEdits(track, movieScale, report.timeScale);
    report.references = reportReferences(track);
    return report;
}

}  // namespace

std::vector<TrackReport> reportTracks(Movie movie) {
    std::vector<TrackReport> reports;
    const double movieScale = GetMovieTimeScale(movie);
    const std::int32_t count = GetMovieTrackCount(movie);
    for (std::int32_t i = 1; i <= count; ++i)
        reports.push_back(reportTrack(GetMovieIndTrack(movie, i), movieScale));
    return reports;
}

}  // namespace twqt
