// A track of a QTMovie as an object.
//
//     for (const std::shared_ptr<QTTrack>& track : movie->tracksOfMediaType(fourCC("soun")))
//         track->setVolume(0.5F);
#pragma once

#include <memory>

#include "NSString.h"
#include "QTAttributeValue.h"
#include "TWQTExport.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class QTMovie;

// Attributes. Those marked with * are read only.
/// * (number)
inline constexpr const char* QTTrackIDAttribute = "QTTrackIDAttribute";
/// * Four characters (text).
inline constexpr const char* QTTrackMediaTypeAttribute = "QTTrackMediaTypeAttribute";
/// (bool)
inline constexpr const char* QTTrackEnabledAttribute = "QTTrackEnabledAttribute";
/// Lower lies nearer to the front (number).
inline constexpr const char* QTTrackLayerAttribute = "QTTrackLayerAttribute";
/// 1.0 is full (number).
inline constexpr const char* QTTrackVolumeAttribute = "QTTrackVolumeAttribute";
/// * Units per second of the media (number).
inline constexpr const char* QTTrackTimeScaleAttribute = "QTTrackTimeScaleAttribute";

class TWQT_EXPORT QTTrack {
  public:
    /// The track stays its movie's.
    QTTrack(std::weak_ptr<QTMovie> movie, Track track);

    /// (trackWithQuickTimeTrack:error:) Null for what is no track of the movie.
    static std::shared_ptr<QTTrack> trackWithQuickTimeTrack(const std::shared_ptr<QTMovie>& movie,
                                                            Track track);

    /// Null once the movie is gone.
    std::shared_ptr<QTMovie> movie() const { return movie_.lock(); }
    /// Null once the movie is gone.
    Track quickTimeTrack() const;

    bool isEnabled() const;
    void setEnabled(bool enabled);
    /// 1.0 is full.
    float volume() const;
    void setVolume(float volume);

    /// None for an attribute that a track does not have.       (attributeForKey:)
    QTAttributeValue attributeForKey(const NSString& attributeKey) const;
    /// Other and read-only attributes are left alone.       (setAttribute:forKey:)
    void setAttribute(const QTAttributeValue& value, const NSString& forKey);

  private:
    std::weak_ptr<QTMovie> movie_;
    Track track_;
};

}  // namespace TWQuickTime
