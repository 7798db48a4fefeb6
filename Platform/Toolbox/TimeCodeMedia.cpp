#include "TimeCodeMedia.h"

#include <limits>

#include "Engines/timeline/TimeCode.h"
#include "Private/BigEndianBytes.h"
#include "Private/HandleBytes.h"
#include "Private/MediaHandlerStorage.h"
#include "Private/NewMediaData.h"
#include "Private/StatusOfFailure.h"
#include "Private/ToolboxCall.h"
#include "Private/UserDataList.h"

namespace TWQuickTime {
namespace {

constexpr std::size_t kSourceOffset = 34;
constexpr std::uint8_t kNegativeMinutes = 0x80;

/// Runs `work` on the timecode media of a handler.
template <class Work>
OSErr workOnTimeCode(const char* name, MediaHandler handler, Work work) {
    ToolboxCall call(name);
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    MediaRecord* media = mediaOfHandler(handler);
    if (!media || media->media->type() != TimeCodeMediaType)
        return call.fail(invalidHandler);
    return call.finish(work(*media));
}

timeline::TimeCodeFormat formatOf(const TimeCodeDef& def) {
    return {.flags = def.flags,
            .timeScale = static_cast<std::uint32_t>(def.fTimeScale),
            .frameDuration = static_cast<std::uint32_t>(def.frameDuration),
            .framesPerSecond = def.numFrames};
}

TimeCodeDef definitionOf(const timeline::TimeCodeFormat& format) {
    return {.flags = format.flags,
            .fTimeScale = static_cast<TimeScale>(format.timeScale),
            .frameDuration = static_cast<TimeValue>(format.frameDuration),
            .numFrames = static_cast<std::uint8_t>(format.framesPerSecond),
            .padding = 0};
}

std::int64_t frameOfRecord(const timeline::TimeCodeFormat& format, const TimeCodeRecord& record) {
    if (format.flags & timeline::kTimeCodeCounter)
        return std::int64_t{record.counter} * format.framesPerSecond;
    const bool signs = (format.flags & timeline::kTimeCodeNegativeTimesOK) != 0;
    const bool negative = signs && (record.t.minutes & kNegativeMinutes) != 0;
    const std::uint32_t minutes =
        negative ? record.t.minutes & ~std::uint32_t{kNegativeMinutes} : record.t.minutes;
    return timeline::frameOfLabel(format, {.negative = negative,
                                           .hours = record.t.hours,
                                           .minutes = minutes,
                                           .seconds = record.t.seconds,
                                           .frames = record.t.frames});
}

TimeCodeRecord recordOfFrame(const timeline::TimeCodeFormat& format, std::int64_t frame) {
    TimeCodeRecord record;
    if (format.flags & timeline::kTimeCodeCounter) {
        record.counter = static_cast<std::uint32_t>(frame / format.framesPerSecond);
        return record;
    }
    const timeline::TimeCodeLabel label = timeline::labelOfFrame(format, frame);
    record.t = {.hours = static_cast<std::uint8_t>(label.hours),
                .minutes = static_cast<std::uint8_t>(label.minutes |
                                                     (label.negative ? kNegativeMinutes : 0u)),
                .seconds = static_cast<std::uint8_t>(label.seconds),
                .frames = static_cast<std::uint8_t>(label.frames)};
    return record;
}

/// The list of the source in a description; null when there is none.
std::unique_ptr<UserDataRecord> sourceOf(std::span<const std::byte> description) {
    auto record = std::make_unique<UserDataRecord>();
    if (description.size() > kSourceOffset)
        readUserDataList(description.subspan(kSourceOffset), *record->list);
    return record;
}

/// What a timecode track shows at a media time.
struct ShownTimeCode {
    timeline::TimeCodeFormat format;
    std::int64_t frame = 0;
    const timeline::SampleDescription* description = nullptr;
};

OSErr timeCodeAtMediaTime(const timeline::Media& media, std::int64_t mediaTime,
                          ShownTimeCode& shown) {
    auto index = media.samples.sampleAtDecodeTime(mediaTime);
    // The sample of an empty movie has no extent and still says where the timecode begins.
    if (!index && mediaTime == 0 && media.samples.sampleCount() > 0)
        index = 0;
    if (!index)
        return invalidTime;
    const auto sample = media.samples.sample(*index);
    if (!sample)
        return statusOfFailure(sample.failure());
    shown.description = media.description(sample->descriptionIndex);
    const auto format = shown.description
                            ? timeline::timeCodeFormatOfDescription(shown.description->bytes())
                            : std::nullopt;
    if (!format || format->framesPerSecond == 0)
        return invalidSampleDescription;
    const auto data = media.readSample(*sample);
    if (!data)
        return statusOfFailure(data.failure());
    if (data->size() < 4)
        return invalidSampleTable;
    const std::uint32_t start = readBigEndian32(*data, 0);
    const bool isUnsigned = (format->flags & timeline::kTimeCodeCounter) != 0;
    shown.format = *format;
    shown.frame =
        (isUnsigned ? std::int64_t{start} : static_cast<std::int32_t>(start)) +
        timeline::framesInMediaTime(*format, mediaTime - sample->decodeTime, media.timeScale);
    return noErr;
}

/// Gives what the caller has places for.
OSErr giveTimeCode(const timeline::Media& media, std::int64_t mediaTime, std::int32_t* frameNumber,
                   TimeCodeDef* def, TimeCodeRecord* timeCode, UserData* source) {
    ShownTimeCode shown;
    if (const OSErr status = timeCodeAtMediaTime(media, mediaTime, shown))
        return status;
    if (frameNumber)
        *frameNumber = limitedTimeValue(shown.frame);
    if (def)
        *def = definitionOf(shown.format);
    if (timeCode)
        *timeCode = recordOfFrame(shown.format, shown.frame);
    if (source)
        *source = sourceOf(shown.description->bytes()).release();
    return noErr;
}

}  // namespace

OSErr TCSetTimeCodeFlags(MediaHandler handler, std::int32_t flags, std::int32_t mask) {
    return workOnTimeCode("TCSetTimeCodeFlags", handler, [&](MediaRecord& media) -> OSErr {
        media.timeCodeFlags = (media.timeCodeFlags & ~mask) | (flags & mask);
        return noErr;
    });
}

OSErr TCGetTimeCodeFlags(MediaHandler handler, std::int32_t* flags) {
    return workOnTimeCode("TCGetTimeCodeFlags", handler, [&](const MediaRecord& media) -> OSErr {
        if (!flags)
            return paramErr;
        *flags = media.timeCodeFlags;
        return noErr;
    });
}

OSErr TCSetSourceRef(MediaHandler handler, SampleDescriptionHandle description, UserData source) {
    return workOnTimeCode("TCSetSourceRef", handler, [&](const MediaRecord&) -> OSErr {
        const std::span<const std::byte> present = handleBytes(description);
        const UserDataRecord* list = liveUserData(source);
        if (!list)
            return paramErr;
        if (!timeline::timeCodeFormatOfDescription(present))
            return invalidSampleDescription;
        std::vector<std::byte> bytes(present.begin(), present.begin() + kSourceOffset);
        const std::vector<std::byte> items = writeUserDataList(*list->list);
        bytes.insert(bytes.end(), items.begin(), items.end());
        writeBigEndian32(bytes, 0, static_cast<std::uint32_t>(bytes.size()));
        return copyIntoHandle(bytes, description);
    });
}

OSErr TCGetSourceRef(MediaHandler handler, SampleDescriptionHandle description, UserData* source) {
    if (source)
        *source = nullptr;
    return workOnTimeCode("TCGetSourceRef", handler, [&](const MediaRecord&) -> OSErr {
        if (!source)
            return paramErr;
        const std::span<const std::byte> bytes = handleBytes(description);
        if (!timeline::timeCodeFormatOfDescription(bytes))
            return invalidSampleDescription;
        *source = sourceOf(bytes).release();
        return noErr;
    });
}

OSErr GetTimeCodeDefinition(SampleDescriptionHandle description, TimeCodeDef* def) {
    ToolboxCall call("GetTimeCodeDefinition");
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!def)
        return call.fail(paramErr);
    const auto format = timeline::timeCodeFormatOfDescription(handleBytes(description));
    if (!format)
        return call.fail(invalidSampleDescription);
    *def = definitionOf(*format);
    return call.succeed();
}

OSErr TCTimeCodeToFrameNumber(MediaHandler handler, const TimeCodeDef* def,
                              const TimeCodeRecord* timeCode, std::int32_t* frameNumber) {
    return workOnTimeCode("TCTimeCodeToFrameNumber", handler, [&](const MediaRecord&) -> OSErr {
        if (!def || !timeCode || !frameNumber || def->numFrames == 0)
            return paramErr;
        *frameNumber = limitedTimeValue(frameOfRecord(formatOf(*def), *timeCode));
        return noErr;
    });
}

OSErr TCFrameNumberToTimeCode(MediaHandler handler, std::int32_t frameNumber,
                              const TimeCodeDef* def, TimeCodeRecord* timeCode) {
    return workOnTimeCode("TCFrameNumberToTimeCode", handler, [&](const MediaRecord&) -> OSErr {
        if (!def || !timeCode || def->numFrames == 0)
            return paramErr;
        const timeline::TimeCodeFormat format = formatOf(*def);
        const bool counter = (format.flags & timeline::kTimeCodeCounter) != 0;
        *timeCode = recordOfFrame(
            format, counter ? std::int64_t{static_cast<std::uint32_t>(frameNumber)} : frameNumber);
        return noErr;
    });
}

OSErr TCGetTimeCodeAtTime(MediaHandler handler, TimeValue mediaTime, std::int32_t* frameNumber,
                          TimeCodeDef* def, TimeCodeRecord* timeCode, UserData* source) {
    if (source)
        *source = nullptr;
    return workOnTimeCode("TCGetTimeCodeAtTime", handler, [&](const MediaRecord& media) -> OSErr {
        return giveTimeCode(*media.media, mediaTime, frameNumber, def, timeCode, source);
    });
}

OSErr TCGetCurrentTimeCode(MediaHandler handler, std::int32_t* frameNumber, TimeCodeDef* def,
                           TimeCodeRecord* timeCode, UserData* source) {
    if (source)
        *source = nullptr;
    return workOnTimeCode("TCGetCurrentTimeCode", handler, [&](const MediaRecord& media) -> OSErr {
        const timeline::Movie& movie = *media.track->movie->movie;
        const auto mediaTime = media.track->track->edits.mediaTimeAt(
            movie.currentTime, movie.timeScale, media.media->timeScale);
        if (!mediaTime)
            return invalidTime;
        return giveTimeCode(*media.media, *mediaTime, frameNumber, def, timeCode, source);
    });
}

}  // namespace TWQuickTime
