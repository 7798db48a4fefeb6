#include <algorithm>

#include "Media.h"
#include "Private/HandleBytes.h"
#include "Private/NewMediaData.h"
#include "Private/RecordCalls.h"
#include "Private/StatusOfFailure.h"

namespace TWQuickTime {
namespace {

/// The part of a handle that a call names; none when it is not all there.
std::optional<std::span<const std::byte>> partOfHandle(Handle handle, std::int32_t offset,
                                                       std::uint32_t size) {
    const std::span<const std::byte> bytes = handleBytes(handle);
    if (!IsHandleValid(handle) || offset < 0 || static_cast<std::size_t>(offset) > bytes.size() ||
        size > bytes.size() - static_cast<std::size_t>(offset))
        return std::nullopt;
    return bytes.subspan(static_cast<std::size_t>(offset), size);
}

/// Makes a track reach a time at which a media without extent was placed.
void placeNothingAt(timeline::Track& track, std::int64_t trackStart) {
    const std::int64_t end = track.duration();
    if (trackStart <= end)
        return;
    std::vector<timeline::Edit> edits(track.edits.edits().begin(), track.edits.edits().end());
    edits.push_back({.duration = trackStart - end,
                     .mediaTime = timeline::kEmptyMediaTime,
                     .rate = timeline::kFixedOne});
    track.edits = timeline::EditList(std::move(edits));
}

template <class Value>
void store(Value* place, Value value) {
    if (place)
        *place = value;
}

}  // namespace

OSErr BeginMediaEdits(Media media) {
    return workOnObject("BeginMediaEdits", media, [](MediaRecord& record) -> OSErr {
        if (!newMediaData(record))
            return dataNotOpenForWrite;
        record.editing = true;
        return noErr;
    });
}

OSErr EndMediaEdits(Media media) {
    return workOnObject("EndMediaEdits", media, [](MediaRecord& record) -> OSErr {
        if (!record.editing)
            return paramErr;
        record.editing = false;
        return noErr;
    });
}

OSErr AddMediaSample(Media media, Handle dataIn, std::int32_t inOffset, std::uint32_t size,
                     TimeValue durationPerSample, SampleDescriptionHandle description,
                     std::int32_t numberOfSamples, std::int16_t sampleFlags,
                     TimeValue* sampleTime) {
    store(sampleTime, TimeValue{0});
    return workOnObject("AddMediaSample", media, [&](MediaRecord& record) -> OSErr {
        if (!record.editing)
            return dataNotOpenForWrite;
        if (durationPerSample < 0)
            return invalidDuration;
        const auto data = partOfHandle(dataIn, inOffset, size);
        if (!data || numberOfSamples < 1 || size % static_cast<std::uint32_t>(numberOfSamples) != 0)
            return paramErr;
        auto described = sampleDescriptionOfHandle(description, record.media->type());
        if (!described)
            return invalidSampleDescription;
        const auto place = newMediaData(record);
        if (!place)
            return dataNotOpenForWrite;
        described->setDataReferenceIndex(place->referenceIndex);
        const auto offset = place->store->append(*data);
        if (!offset)
            return statusOfFailure(offset.failure());
        const std::int64_t start = record.media->samples.duration();
        const auto count = static_cast<std::uint32_t>(numberOfSamples);
        const OSErr status = statusOf(record.media->samples.append(
            {.offset = *offset,
             .sizeInBytes = size / count,
             .count = count,
             .duration = static_cast<std::uint32_t>(durationPerSample),
             .descriptionIndex = record.media->addDescription(*described),
             .sync = (sampleFlags & mediaSampleNotSync) == 0}));
        if (status == noErr)
            store(sampleTime, limitedTimeValue(start));
        return status;
    });
}

OSErr GetMediaSample(Media media, Handle dataOut, std::int32_t maxSizeToGrow, std::int32_t* size,
                     TimeValue time, TimeValue* sampleTime, TimeValue* durationPerSample,
                     SampleDescriptionHandle description, ToolboxIndex* descriptionIndex,
                     std::int32_t, std::int32_t* numberOfSamples, std::int16_t* sampleFlags) {
    return workOnObject("GetMediaSample", media, [&](MediaRecord& record) -> OSErr {
        const timeline::Media& part = *record.media;
        const auto index = part.samples.sampleAtDecodeTime(time);
        if (!index)
            return invalidTime;
        const auto sample = part.samples.sample(*index);
        if (!sample)
            return statusOfFailure(sample.failure());
        store(size, limitedTimeValue(sample->sizeInBytes));
        store(sampleTime, limitedTimeValue(sample->decodeTime));
        store(durationPerSample, limitedTimeValue(sample->duration));
        store(descriptionIndex, static_cast<ToolboxIndex>(sample->descriptionIndex));
        store(numberOfSamples, std::int32_t{1});
        store(sampleFlags, sample->sync ? std::int16_t{0} : mediaSampleNotSync);
        if (description) {
            const timeline::SampleDescription* found = part.description(sample->descriptionIndex);
            if (!found)
                return invalidSampleDescription;
            if (const OSErr status = copyIntoHandle(found->bytes(), description))
                return status;
        }
        if (!dataOut)
            return noErr;
        if (maxSizeToGrow > 0 && sample->sizeInBytes > static_cast<std::uint32_t>(maxSizeToGrow))
            return paramErr;
        const auto bytes = part.readSample(*sample);
        return bytes ? copyIntoHandle(*bytes, dataOut) : statusOfFailure(bytes.failure());
    });
}

OSErr InsertMediaIntoTrack(Track track, TimeValue trackStart, TimeValue mediaTime,
                           TimeValue mediaDuration, Fixed mediaRate) {
    return workOnObject("InsertMediaIntoTrack", track, [&](TrackRecord& record) -> OSErr {
        if (!record.track->media)
            return invalidMedia;
        const std::int64_t extent = record.track->media->duration();
        if (mediaRate <= 0 || trackStart < -1)
            return paramErr;
        if (mediaTime < 0 || mediaTime > extent)
            return invalidTime;
        if (mediaDuration < 0 || mediaDuration > extent - mediaTime)
            return invalidDuration;
        if (mediaDuration == 0) {
            placeNothingAt(*record.track, trackStart);
            return noErr;
        }
        return statusOf(timeline::insertMedia(*record.movie->movie, *record.track, trackStart,
                                              mediaTime, mediaDuration, mediaRate));
    });
}

}  // namespace TWQuickTime
