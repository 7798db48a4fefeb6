// Volume envelopes as tween tracks of a movie: the movie then fades its sound by itself, and the
// fade is stored with it.
//
// An envelope is an ordered array of points, each a dictionary of a time in seconds from the
// movie's start and a volume (1.0 is full); between two points the volume changes evenly.
//
//     NSArray envelope = NSArray::array();
//     envelope.addObject(NSDictionary{{QTAudioVolumeTweenEnvelopeTimeKey, 0.0},
//                                     {QTAudioVolumeTweenEnvelopeVolumeKey, 0.0}});
//     …
//     QTMovie_AudioVolumeTweenTrack::addTweenForAudioTrack(movie, track, envelope, &error);
#pragma once

#include <memory>

#include "NSError.h"
#include "PropertyListValue.h"
#include "QTMovie.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class QTTrack;

/// Seconds from the movie's start (number).
TWQT_EXPORT extern const NSString QTAudioVolumeTweenEnvelopeTimeKey;
/// Linear volume, 1.0 is full (number).
TWQT_EXPORT extern const NSString QTAudioVolumeTweenEnvelopeVolumeKey;

class TWQT_EXPORT QTMovie_AudioVolumeTweenTrack {
  public:
    /// Adds a tween track with one ramp between each pair of neighbours; pairs without time between
    /// them are passed over, and one point makes an empty track.
    /// (addTweenForAudioTrack:volumeEnvelope:error:)
    /// An envelope without points raises NSRangeException.
    /// @param inAudioTrack  a track of the receiver; nil fails with the code -50
    /// @param volumeEnvelope  points in order of time; else the code is -50
    /// @param error  may be null; nil on success. A track that was made before a failure stays.
    static bool addTweenForAudioTrack(const std::shared_ptr<QTMovie>& receiver,
                                      const std::shared_ptr<QTTrack>& inAudioTrack,
                                      const NSArray& volumeEnvelope, NSError* error);
};

}  // namespace TWQuickTime
