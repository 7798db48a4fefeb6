// The pieces of an audio volume tween that both of its builders put together: samples, their
// description, the input map of the audio media.
//
// Every toolbox call is followed by its TWLogError under the builder's own source file.
#pragma once

#include <cstdint>

#include "ToolboxTypes.h"

namespace TWQuickTime {

class VolumeTween {
  public:
    /// @param sourceFile  as in "Sources/UQuickTimeMovie"
    explicit VolumeTween(const char* sourceFile) : sourceFile_(sourceFile) {}

    /// A new container with one ramp; the caller disposes of it, also after a failure.
    OSErr newSample(std::int16_t startVolume, std::int16_t endVolume,
                    QTAtomContainer* container) const;
    /// A new description of 16 bytes, all zero but its size; the caller disposes of it.
    OSErr newDescription(Handle* description) const;
    /// Makes the input of a track reference the volume of an audio track.
    /// @param referenceIndex  of the reference to the tween track
    OSErr setInputMap(Track audioTrack, std::int32_t referenceIndex) const;
    /// Places all of the tween's media at a movie time and refers to it from the audio track.
    OSErr placeAndRefer(Track audioTrack, Track tweenTrack, Media tweenMedia,
                        TimeValue trackStart) const;

  private:
    OSErr insertNumber(QTAtomContainer container, QTAtom parent, OSType type,
                       std::uint32_t number) const;

    const char* sourceFile_;
};

}  // namespace TWQuickTime
