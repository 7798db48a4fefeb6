#include "Apertures.h"

#include <optional>

#include "Engines/timeline/ApertureMode.h"
#include "MovieTypes.h"
#include "Private/RecordCalls.h"

namespace TWQuickTime {
namespace {

std::optional<timeline::ApertureMode> modeOf(OSType code) {
    switch (code) {
        case kQTApertureMode_Classic:
            return timeline::ApertureMode::classic;
        case kQTApertureMode_CleanAperture:
            return timeline::ApertureMode::clean;
        case kQTApertureMode_ProductionAperture:
            return timeline::ApertureMode::production;
        case kQTApertureMode_EncodedPixels:
            return timeline::ApertureMode::encoded;
        default:
            return std::nullopt;
    }
}

OSType codeOf(timeline::ApertureMode mode) {
    switch (mode) {
        case timeline::ApertureMode::clean:
            return kQTApertureMode_CleanAperture;
        case timeline::ApertureMode::production:
            return kQTApertureMode_ProductionAperture;
        case timeline::ApertureMode::encoded:
            return kQTApertureMode_EncodedPixels;
        case timeline::ApertureMode::classic:
            break;
    }
    return kQTApertureMode_Classic;
}

/// False for a track without a video sample description.
bool generateDimensions(timeline::Track& track) {
    if (!track.media || track.media->type() != VideoMediaType || track.media->descriptions.empty())
        return false;
    const auto dimensions =
        timeline::apertureDimensionsOf(track.media->descriptions.front().bytes());
    if (dimensions)
        track.aperture = *dimensions;
    return dimensions.has_value();
}

}  // namespace

Boolean MovieHasApertureModeDimensions(Movie movie) {
    return readObject("MovieHasApertureModeDimensions", movie, false,
                      [](const MovieRecord& record) {
                          for (const auto& track : record.movie->tracks)
                              if (!track->aperture.empty())
                                  return true;
                          return false;
                      });
}

OSErr GenerateMovieApertureModeDimensions(Movie movie) {
    return workOnObject("GenerateMovieApertureModeDimensions", movie,
                        [](MovieRecord& record) -> OSErr {
                            for (const auto& track : record.movie->tracks)
                                generateDimensions(*track);
                            return noErr;
                        });
}

OSErr GenerateTrackApertureModeDimensions(Track track) {
    return workOnObject(
        "GenerateTrackApertureModeDimensions", track, [](TrackRecord& record) -> OSErr {
            return generateDimensions(*record.track) ? noErr : invalidSampleDescription;
        });
}

OSErr SetMovieApertureMode(Movie movie, OSType mode) {
    return workOnObject("SetMovieApertureMode", movie, [&](MovieRecord& record) -> OSErr {
        const auto wanted = modeOf(mode);
        if (!wanted)
            return paramErr;
        record.apertureMode = *wanted;
        return noErr;
    });
}

OSType GetMovieApertureMode(Movie movie) {
    return readObject("GetMovieApertureMode", movie, OSType{0},
                      [](const MovieRecord& record) { return codeOf(record.apertureMode); });
}

OSErr GetTrackApertureModeDimensions(Track track, OSType mode, Fixed* width, Fixed* height) {
    return workOnObject("GetTrackApertureModeDimensions", track,
                        [&](const TrackRecord& record) -> OSErr {
                            const auto wanted = modeOf(mode);
                            if (!wanted)
                                return paramErr;
                            const timeline::Dimensions dimensions =
                                timeline::dimensionsInMode(*record.track, *wanted);
                            if (width)
                                *width = dimensions.width;
                            if (height)
                                *height = dimensions.height;
                            return noErr;
                        });
}

}  // namespace TWQuickTime
