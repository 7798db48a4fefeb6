#include "QTTrack.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Media.h"
#include "QTMovie.h"
#include "Tracks.h"

namespace TWQuickTime {
namespace {

constexpr float kVolumeUnits = kFullVolume;

NSString textOfCode(OSType code) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text.push_back(static_cast<char>(code >> shift));
    return text;
}

ShortFixed shortFixedOf(float volume) {
    return static_cast<ShortFixed>(std::clamp(std::round(volume * kVolumeUnits),
                                              float{std::numeric_limits<ShortFixed>::min()},
                                              float{std::numeric_limits<ShortFixed>::max()}));
}

}  // namespace

QTTrack::QTTrack(std::weak_ptr<QTMovie> movie, Track track)
    : movie_(std::move(movie)), track_(track) {}

std::shared_ptr<QTTrack> QTTrack::trackWithQuickTimeTrack(const std::shared_ptr<QTMovie>& movie,
                                                          Track track) {
    if (!movie || GetTrackMovie(track) != movie->quickTimeMovie())
        return nullptr;
    return std::make_shared<QTTrack>(movie, track);
}

Track QTTrack::quickTimeTrack() const {
    return movie_.expired() ? nullptr : track_;
}

bool QTTrack::isEnabled() const {
    return GetTrackEnabled(quickTimeTrack());
}

void QTTrack::setEnabled(bool enabled) {
    SetTrackEnabled(quickTimeTrack(), enabled);
}

float QTTrack::volume() const {
    return GetTrackVolume(quickTimeTrack()) / kVolumeUnits;
}

void QTTrack::setVolume(float volume) {
    SetTrackVolume(quickTimeTrack(), shortFixedOf(volume));
}

QTAttributeValue QTTrack::attributeForKey(const NSString& attributeKey) const {
    const Track track = quickTimeTrack();
    if (!track)
        return {};
    if (attributeKey == QTTrackIDAttribute)
        return GetTrackID(track);
    if (attributeKey == QTTrackEnabledAttribute)
        return isEnabled();
    if (attributeKey == QTTrackLayerAttribute)
        return std::int32_t{GetTrackLayer(track)};
    if (attributeKey == QTTrackVolumeAttribute)
        return double{volume()};
    if (attributeKey == QTTrackTimeScaleAttribute)
        return GetMediaTimeScale(GetTrackMedia(track));
    if (attributeKey == QTTrackMediaTypeAttribute) {
        OSType type = 0;
        GetMediaHandlerDescription(GetTrackMedia(track), &type, nullptr, nullptr);
        return textOfCode(type);
    }
    return {};
}

void QTTrack::setAttribute(const QTAttributeValue& value, const NSString& forKey) {
    const Track track = quickTimeTrack();
    if (forKey == QTTrackEnabledAttribute)
        SetTrackEnabled(track, value.boolValue());
    else if (forKey == QTTrackLayerAttribute)
        SetTrackLayer(track, static_cast<std::int16_t>(value.intValue()));
    else if (forKey == QTTrackVolumeAttribute)
        setVolume(static_cast<float>(value.doubleValue()));
}

}  // namespace TWQuickTime
