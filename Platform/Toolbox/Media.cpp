#include "Media.h"

#include <algorithm>

#include "Private/HandleBytes.h"
#include "Private/MediaHandlerStorage.h"
#include "Private/NewMediaData.h"
#include "Private/RecordCalls.h"
#include "Private/StatusOfFailure.h"

namespace TWQuickTime {
namespace {

constexpr std::uint16_t kDitherCopy = 0x40;
constexpr std::size_t kLongestPascalString = 255;

}  // namespace

Media NewTrackMedia(Track track, OSType mediaType, TimeScale timeScale, Handle dataRef,
                    OSType dataRefType) {
    Media media = nullptr;
    workOnObject("NewTrackMedia", track, [&](TrackRecord& record) -> OSErr {
        if (record.track->media || timeScale < 0)
            return paramErr;
        if (!hasMediaHandler(mediaType))
            return noMediaHandler;
        // A scale of 0 takes the movie's own; the platform let callers leave it out.
        const std::uint32_t scale =
            timeScale > 0 ? static_cast<std::uint32_t>(timeScale) : record.movie->movie->timeScale;
        std::unique_ptr<timeline::Media> part = timeline::makeMedia(mediaType, scale);
        part->handler.manufacturer = kAppleManufacturer;
        part->creationTime = part->modificationTime = currentMovieFileTime();
        if (mediaType != SoundMediaType) {
            part->graphicsMode = kDitherCopy;
            part->opColor = {0x8000, 0x8000, 0x8000};
        }
        if (dataRef)
            if (const OSErr status = addFileReference(*part, dataRef, dataRefType))
                return status;
        record.track->media = std::move(part);
        media = record.mediaRecord();
        return noErr;
    });
    return media;
}

Media GetTrackMedia(Track track) {
    return readObject("GetTrackMedia", track, Media{nullptr},
                      [](TrackRecord& record) -> Media { return record.mediaRecord(); });
}

Track GetMediaTrack(Media media) {
    return readObject("GetMediaTrack", media, Track{nullptr},
                      [](const MediaRecord& record) -> Track { return record.track; });
}

void GetMediaHandlerDescription(Media media, OSType* mediaType, unsigned char* creatorName,
                                OSType* creatorManufacturer) {
    changeObject("GetMediaHandlerDescription", media, [&](const MediaRecord& record) {
        const timeline::Handler& handler = record.media->handler;
        if (mediaType)
            *mediaType = handler.subtype;
        if (creatorName) {
            const std::size_t length = std::min(handler.name.size(), kLongestPascalString);
            creatorName[0] = static_cast<unsigned char>(length);
            std::copy_n(handler.name.begin(), length, creatorName + 1);
        }
        if (creatorManufacturer)
            *creatorManufacturer = handler.manufacturer;
    });
}

MediaHandler GetMediaHandler(Media media) {
    MediaHandler handler = nullptr;
    workOnObject("GetMediaHandler", media, [&](MediaRecord& record) -> OSErr {
        handler = handlerOfMedia(record);
        return handler ? noErr : noMediaHandler;
    });
    return handler;
}

TimeScale GetMediaTimeScale(Media media) {
    return readObject("GetMediaTimeScale", media, TimeScale{0}, [](const MediaRecord& record) {
        return limitedTimeValue(record.media->timeScale);
    });
}

TimeValue GetMediaDuration(Media media) {
    return readObject("GetMediaDuration", media, TimeValue{0}, [](const MediaRecord& record) {
        return limitedTimeValue(record.media->duration());
    });
}

std::int16_t GetMediaLanguage(Media media) {
    return readObject("GetMediaLanguage", media, std::int16_t{0}, [](const MediaRecord& record) {
        return static_cast<std::int16_t>(record.media->language);
    });
}

void SetMediaLanguage(Media media, std::int16_t language) {
    changeObject("SetMediaLanguage", media, [&](MediaRecord& record) {
        record.media->language = static_cast<std::uint16_t>(language);
    });
}

std::int32_t GetMediaSampleDescriptionCount(Media media) {
    return readObject("GetMediaSampleDescriptionCount", media, 0, [](const MediaRecord& record) {
        return static_cast<std::int32_t>(record.media->descriptions.size());
    });
}

void GetMediaSampleDescription(Media media, ToolboxIndex index,
                               SampleDescriptionHandle description) {
    workOnObject("GetMediaSampleDescription", media, [&](const MediaRecord& record) -> OSErr {
        const timeline::SampleDescription* found =
            index >= 1 ? record.media->description(static_cast<std::uint32_t>(index)) : nullptr;
        if (!found)
            return invalidSampleDescription;
        return copyIntoHandle(found->bytes(), description);
    });
}

OSErr SetMediaSampleDescription(Media media, ToolboxIndex index,
                                SampleDescriptionHandle description) {
    return workOnObject("SetMediaSampleDescription", media, [&](MediaRecord& record) -> OSErr {
        const timeline::SampleDescription* present =
            index >= 1 ? record.media->description(static_cast<std::uint32_t>(index)) : nullptr;
        auto replacement = sampleDescriptionOfHandle(description, record.media->type());
        if (!present || !replacement)
            return invalidSampleDescription;
        replacement->setDataReferenceIndex(present->dataReferenceIndex());
        record.media->descriptions[static_cast<std::size_t>(index) - 1] = *replacement;
        return noErr;
    });
}

std::int32_t GetMediaSampleCount(Media media) {
    return readObject("GetMediaSampleCount", media, 0, [](const MediaRecord& record) {
        return limitedTimeValue(record.media->samples.sampleCount());
    });
}

}  // namespace TWQuickTime
