// Where an export puts its samples: a file that is being written.
//
// First the streams are opened, then samples come in decode order for each stream, then finish()
// makes the file complete. An object that goes without finish() leaves nothing behind.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Engines/codec/SoundEncoder.h"
#include "Engines/codec/VideoEncoder.h"
#include "Engines/timeline/Movie.h"
#include "Engines/transcode/Chapters.h"
#include "Engines/transcode/Titles.h"

namespace TWQuickTime::transcode {

struct VideoStream {
    /// Outlives the sink's use; asked for its description once samples have come.
    const codec::VideoEncoder* encoder = nullptr;
    std::int32_t timeScale = 600;
    std::optional<codec::CleanAperture> cleanAperture;
};

struct SoundStream {
    const codec::SoundEncoder* encoder = nullptr;
    /// Frames of sound that are to be heard, without priming and filling; looked at by finish().
    const std::int64_t* frames = nullptr;
};

/// What goes along with the samples from the exported movie.
struct Passengers {
    /// Name, author, copyright …
    std::vector<Title> titles;
    /// User data of movies that other formats have no place for: titles in all their languages.
    timeline::UserData userData;
    std::vector<Chapter> chapters;
    std::uint32_t chapterScale = 600;  ///< units of the chapters' times per second
    /// One timecode track over the whole file: its description and the number of its first frame.
    std::vector<std::byte> timeCodeDescription;
    std::uint32_t timeCodeScale = 0;
    std::int32_t firstTimeCodeFrame = 0;
    std::string timeCodeLabel;  ///< of the first frame, "01:00:00:10"; empty: none
    std::uint16_t videoLanguage = 0, soundLanguage = 0;
    std::uint64_t creationTime = 0;  ///< seconds since 1904-01-01 00:00 UTC
};

class MediaSink {
  public:
    virtual ~MediaSink() = default;

    virtual result::Status addVideo(const VideoStream& stream) = 0;
    virtual result::Status addSound(const SoundStream& stream) = 0;
    virtual result::Status begin(Passengers passengers) = 0;
    virtual result::Status writeVideo(const codec::Packet& packet) = 0;
    virtual result::Status writeSound(const codec::Packet& packet) = 0;
    virtual result::Status finish() = 0;
};

}  // namespace TWQuickTime::transcode
