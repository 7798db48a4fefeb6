// What is to be told of a track, read through the toolbox.
#pragma once

#include <ToolboxTypes.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace twqt {

struct EditReport {
    double trackTime = 0;             ///< seconds
    std::optional<double> mediaTime;  ///< seconds; none: nothing is shown
    double duration = 0;              ///< seconds
    double rate = 1;
};

struct ReferenceReport {
    TWQuickTime::OSType type = 0;
    std::vector<std::int32_t> trackIDs;  ///< 0: a slot that is not in use
};

struct TrackReport {
    std::int32_t id = 0;
    TWQuickTime::OSType mediaType = 0;  ///< 0: the track has no media
    bool enabled = false;
    int layer = 0;
    double volume = 0;    ///< 1 is full
    double width = 0;     ///< pixels
    double height = 0;    ///< pixels
    double start = 0;     ///< seconds
    double duration = 0;  ///< seconds, from the movie's start
    std::int32_t timeScale = 0;
    TWQuickTime::OSType codec = 0;  ///< 0: there is no sample description
    std::string codecName;          ///< empty when nobody knows it
    std::int32_t sampleCount = 0;
    double pixelAspectRatio = 1;
    std::vector<EditReport> edits;
    std::vector<ReferenceReport> references;
};

std::vector<TrackReport> reportTracks(TWQuickTime::Movie movie);

}  // namespace twqt
