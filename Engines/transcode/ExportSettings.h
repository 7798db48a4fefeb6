// What an export shall produce.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Engines/codec/SoundEncoder.h"
#include "Engines/codec/VideoEncoder.h"

namespace TWQuickTime::transcode {

/// The kinds of files that are written.
enum class FileKind {
    quickTime,
    mpeg4,
    m4v,
    threeGpp,
    avi,
    dv,
    matroska,
    webm,
    imageSequence,
    gif,
    wave,
    aiff,
    m4a,
    flac,
    mp3,
};

struct VideoSettings {
    std::uint32_t codec = 0;
    int depth = 24;
    int spatialQuality = codec::kQualityNormal;
    int temporalQuality = codec::kQualityNormal;
    /// Frames a second, 16.16 fixed point; 0: the movie's own frames with their own durations.
    std::int32_t frameRate = 0;
    int keyFrameEvery = 0;
    std::int64_t bytesPerSecond = 0;
    /// 0: the movie's.
    int width = 0;
    int height = 0;
};

struct SoundSettings {
    std::uint32_t codec = 0;
    /// Hertz; 0: the movie's.
    double sampleRate = 0;
    /// 0: the movie's.
    int channels = 0;
    int bitsPerSample = 16;
    std::int64_t bytesPerSecond = 0;
};

struct ExportSettings {
    FileKind kind = FileKind::quickTime;
    /// None: no pictures (sound) are written, whatever the movie has.
    std::optional<VideoSettings> video;
    std::optional<SoundSettings> sound;
    /// Of files that are written as movies: the movie atom stands in front of the media data, so
    /// that playing over a network can begin before all of it is there.
    bool movieInFront = false;
};

/// Whether files of that kind are movies in our own writer's sense, with a movie atom.
bool isMovieFile(FileKind kind);

/// A rate as a ratio; the NTSC rates as the thousands over 1001 that are meant by 29.97 and the
/// like, also where they are stored times 100 (2997).
codec::Rational exactFrameRate(std::int32_t fixedRate);

}  // namespace TWQuickTime::transcode
