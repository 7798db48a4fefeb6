// Small movies put together through the toolbox, and the handles that go into them.
//
//     test::ScopedMovie movie;                                   // 600 units a second
//     Track sound = test::addSoundTrack(movie, 8000, 16000);     // two seconds of silence
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "Handles.h"
#include "Media.h"
#include "Movies.h"
#include "Tracks.h"

namespace TWQuickTime::test {

/// A handle with these bytes, disposed of with the object.
class ScopedHandle {
  public:
    explicit ScopedHandle(const std::vector<std::uint8_t>& bytes = {}) {
        PtrToHand(bytes.data(), &handle_, static_cast<Size>(bytes.size()));
    }
    ~ScopedHandle() { DisposeHandle(handle_); }
    ScopedHandle(const ScopedHandle&) = delete;
    ScopedHandle& operator=(const ScopedHandle&) = delete;

    operator Handle() const { return handle_; }
    std::vector<std::uint8_t> bytes() const {
        const auto* first = reinterpret_cast<const std::uint8_t*>(*handle_);
        return {first, first + GetHandleSize(handle_)};
    }

  private:
    Handle handle_ = nullptr;
};

/// A movie without storage, disposed of with the object.
class ScopedMovie {
  public:
    ScopedMovie() : movie_(NewMovie(newMovieActive)) {}
    explicit ScopedMovie(Movie movie) : movie_(movie) {}
    ~ScopedMovie() {
        if (movie_)
            DisposeMovie(movie_);
    }
    ScopedMovie(const ScopedMovie&) = delete;
    ScopedMovie& operator=(const ScopedMovie&) = delete;

    operator Movie() const { return movie_; }

  private:
    Movie movie_;
};

inline std::vector<std::uint8_t> joined(const std::vector<std::vector<std::uint8_t>>& parts);

inline std::vector<std::uint8_t> bigEndian16(std::uint16_t value) {
    return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

inline std::vector<std::uint8_t> bigEndian32(std::uint32_t value) {
    return joined({bigEndian16(static_cast<std::uint16_t>(value >> 16)),
                   bigEndian16(static_cast<std::uint16_t>(value))});
}

inline std::vector<std::uint8_t> joined(const std::vector<std::vector<std::uint8_t>>& parts) {
    std::vector<std::uint8_t> all;
    for (const auto& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

/// A sample description of 36 bytes for big-endian 16-bit sound of one channel.
inline std::vector<std::uint8_t> soundDescription(std::uint32_t rate) {
    return joined({bigEndian32(36),
                   bigEndian32(fourCC("twos")),
                   {0, 0, 0, 0, 0, 0},
                   bigEndian16(1),  // data reference
                   bigEndian16(0),
                   bigEndian16(0),
                   bigEndian32(0),  // version, revision, vendor
                   bigEndian16(1),
                   bigEndian16(16),  // channels, bits
                   bigEndian16(0),
                   bigEndian16(0),  // compression, packet size
                   bigEndian32(rate << 16)});
}

/// A sample description of 86 bytes for uncompressed 24-bit pictures, and extensions.
inline std::vector<std::uint8_t> rawVideoDescription(
    std::uint16_t width, std::uint16_t height, const std::vector<std::uint8_t>& extensions = {}) {
    return joined({bigEndian32(static_cast<std::uint32_t>(86 + extensions.size())),
                   bigEndian32(fourCC("raw ")),
                   {0, 0, 0, 0, 0, 0},
                   bigEndian16(1),  // data reference
                   bigEndian16(0),
                   bigEndian16(0),
                   bigEndian32(0),  // version, revision, vendor
                   bigEndian32(0),
                   bigEndian32(1024),  // temporal, spatial quality
                   bigEndian16(width),
                   bigEndian16(height),
                   bigEndian32(72 << 16),
                   bigEndian32(72 << 16),  // dots per inch
                   bigEndian32(0),
                   bigEndian16(1),                 // data size, frames
                   std::vector<std::uint8_t>(32),  // name
                   bigEndian16(24),
                   bigEndian16(0xFFFF),  // depth, colour table
                   extensions});
}

inline void require(OSErr status, const char* what) {
    if (status != noErr)
        throw std::runtime_error(std::string(what) + ": " + std::to_string(status));
}

inline void fillMedia(Track track, Media media, const std::vector<std::uint8_t>& data,
                      const std::vector<std::uint8_t>& description, std::uint32_t sampleCount) {
    const ScopedHandle dataHandle(data);
    const ScopedHandle descriptionHandle(description);
    require(BeginMediaEdits(media), "BeginMediaEdits");
    require(AddMediaSample(media, dataHandle, 0, static_cast<std::uint32_t>(data.size()), 1,
                           descriptionHandle, static_cast<std::int32_t>(sampleCount), 0, nullptr),
            "AddMediaSample");
    require(EndMediaEdits(media), "EndMediaEdits");
    require(InsertMediaIntoTrack(track, 0, 0, GetMediaDuration(media), kFixedOne),
            "InsertMediaIntoTrack");
}

/// A track of silence: 16-bit samples, one channel, the media's time scale is the rate.
inline Track addSoundTrack(Movie movie, std::uint32_t rate, std::uint32_t frameCount) {
    const Track track = NewMovieTrack(movie, 0, 0, kFullVolume);
    const Media media =
        NewTrackMedia(track, SoundMediaType, static_cast<TimeScale>(rate), nullptr, 0);
    fillMedia(track, media, std::vector<std::uint8_t>(frameCount * 2), soundDescription(rate),
              frameCount);
    return track;
}

/// A track of grey 16x16 pictures.
/// @param timeScale  of the media; every picture lasts one unit
inline Track addVideoTrack(Movie movie, TimeScale timeScale, std::uint32_t frameCount) {
    constexpr std::uint16_t kSide = 16;
    const Track track = NewMovieTrack(movie, kSide << 16, kSide << 16, 0);
    const Media media = NewTrackMedia(track, VideoMediaType, timeScale, nullptr, 0);
    fillMedia(track, media, std::vector<std::uint8_t>(frameCount * kSide * kSide * 3, 0x80),
              rawVideoDescription(kSide, kSide), frameCount);
    return track;
}

}  // namespace TWQuickTime::test
