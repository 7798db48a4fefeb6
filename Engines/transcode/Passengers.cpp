#include "Engines/transcode/Passengers.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "Engines/codec/ByteOrder.h"
#include "Engines/timeline/TimeCode.h"
#include "Engines/transcode/EditMap.h"

namespace TWQuickTime::transcode {

using codec::fourCode;

namespace {

/// Seconds from 1904 to 1970.
constexpr std::uint64_t kEpochOffset = 2082844800;

std::string labelText(const timeline::TimeCodeFormat& format, std::int64_t frame) {
    const timeline::TimeCodeLabel label = timeline::labelOfFrame(format, frame);
    char text[48];
    std::snprintf(text, sizeof text, "%02u:%02u:%02u%c%02u", label.hours, label.minutes,
                  label.seconds, timeline::countsDropFrame(format) ? ';' : ':', label.frames);
    return text;
}

void takeTimeCode(const timeline::Movie& movie, const timeline::Track& mainTrack,
                  std::int64_t start, Passengers& passengers) {
    const timeline::TrackReferences* references = mainTrack.referencesOfType(fourCode("tmcd"));
    const timeline::Track* track = references && !references->trackIDs.empty()
                                       ? movie.trackWithID(references->trackIDs.front())
                                       : movie.trackOfType(fourCode("tmcd"));
    if (!track || !track->media || track->media->descriptions.empty()) {
        return;
    }
    const timeline::Media& media = *track->media;
    const auto shown = EditMap(*track, movie.timeScale).at({start, movie.timeScale});
    if (!shown) {
        return;
    }
    const auto index = media.samples.sampleAtDecodeTime(shown->mediaTime);
    const auto sample = media.samples.sample(index.value_or(0));
    if (!sample) {
        return;
    }
    const auto bytes = media.readSample(*sample);
    const timeline::SampleDescription* description = media.description(sample->descriptionIndex);
    if (!bytes || bytes->size() < 4 || !description) {
        return;
    }
    const auto format = timeline::timeCodeFormatOfDescription(description->bytes().span());
    if (!format || format->timeScale == 0) {
        return;
    }
    const std::int64_t past = timeline::framesInMediaTime(
        *format, shown->mediaTime - sample->decodeTime, media.timeScale);
    const auto record = description->bytes().span();
    passengers.timeCodeDescription.assign(record.begin(), record.end());
    passengers.timeCodeScale = format->timeScale;
    passengers.firstTimeCodeFrame =
        static_cast<std::int32_t>(static_cast<std::int32_t>(codec::u32At(*bytes, 0)) + past);
    if ((format->flags & timeline::kTimeCodeCounter) == 0) {
        passengers.timeCodeLabel = labelText(*format, passengers.firstTimeCodeFrame);
    }
}

}  // namespace

Passengers passengersOf(const timeline::Movie& movie, const timeline::Track* mainTrack,
                        std::int64_t start, std::int64_t duration) {
    Passengers passengers;
    passengers.titles = titlesOf(movie);
    for (const timeline::UserDataItem& item : movie.userData.items) {
        if (isTitle(item.type) || item.type == fourCode("name")) {
            passengers.userData.items.push_back(item);
        }
    }
    for (const Title& title : passengers.titles) {
        if (!passengers.userData.find(title.type)) {
            passengers.userData.add(title.type, titleItem(title.text));
        }
    }
    // Chapters of other formats count in 31 bits.
    if (movie.timeScale >= 1 && movie.timeScale <= INT32_MAX) {
        passengers.chapters = chaptersOf(movie, start, duration);
        passengers.chapterScale = movie.timeScale;
    }
    const std::uint64_t now = std::uint64_t(std::time(nullptr)) + kEpochOffset;
    passengers.creationTime = movie.creationTime > 0 ? movie.creationTime : now;
    if (mainTrack) {
        passengers.videoLanguage = mainTrack->media->language;
        takeTimeCode(movie, *mainTrack, start, passengers);
    }
    if (const timeline::Track* sound = movie.trackOfType(fourCode("soun")); sound && sound->media) {
        passengers.soundLanguage = sound->media->language;
    }
    return passengers;
}

}  // namespace TWQuickTime::transcode
