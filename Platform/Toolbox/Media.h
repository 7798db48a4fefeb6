// The media of a track: its kind, its time line, its sample descriptions and samples.
//
// A null, foreign or disposed media gives -2008. Samples are added between BeginMediaEdits and
// EndMediaEdits; they show in the track once InsertMediaIntoTrack has placed them.
//
//     BeginMediaEdits(media);
//     AddMediaSample(media, data, 0, GetHandleSize(data), 1, description, 1, 0, nullptr);
//     EndMediaEdits(media);
//     InsertMediaIntoTrack(track, 0, 0, GetMediaDuration(media), kFixedOne);
#pragma once

#include "MovieTypes.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

/// A handle to one sample description: a 32-bit size, a data format and what the format adds, all
/// big-endian as in the file.
using SampleDescriptionHandle = Handle;

// Flags of samples and of GetMovieNextInterestingTime.
inline constexpr std::int16_t mediaSampleNotSync = 1;

/// Gives a track its media; a track has one.
/// @param timeScale  units per second; 0 takes the movie's (a kept leniency of the platform)
/// @param dataRef  null: the storage that the movie was created in, or memory without one
/// @return null with -2009 for a bad track, -50 for one that has a media or for a scale below 0
TWQT_EXPORT Media NewTrackMedia(Track track, OSType mediaType, TimeScale timeScale, Handle dataRef,
                                OSType dataRefType);
/// Null without an error when the track has none.
TWQT_EXPORT Media GetTrackMedia(Track track);
TWQT_EXPORT Track GetMediaTrack(Media media);

/// @param mediaType  may be null
/// @param creatorName  may be null; 256 bytes for a Pascal string
/// @param creatorManufacturer  may be null
TWQT_EXPORT void GetMediaHandlerDescription(Media media, OSType* mediaType,
                                            unsigned char* creatorName,
                                            OSType* creatorManufacturer);
/// The handler that interprets the media; it lives as long as the media.
TWQT_EXPORT MediaHandler GetMediaHandler(Media media);

TWQT_EXPORT TimeScale GetMediaTimeScale(Media media);
/// Sum of the samples' durations, in media units; limited to 32 bits.
TWQT_EXPORT TimeValue GetMediaDuration(Media media);
TWQT_EXPORT std::int16_t GetMediaLanguage(Media media);
TWQT_EXPORT void SetMediaLanguage(Media media, std::int16_t language);

TWQT_EXPORT std::int32_t GetMediaSampleDescriptionCount(Media media);
/// Copies a description into the handle, which is sized for it.
/// @param index  from 1; otherwise -2041
TWQT_EXPORT void GetMediaSampleDescription(Media media, ToolboxIndex index,
                                           SampleDescriptionHandle description);
/// Replaces a description; the data reference index of the old one stays.
TWQT_EXPORT OSErr SetMediaSampleDescription(Media media, ToolboxIndex index,
                                            SampleDescriptionHandle description);

TWQT_EXPORT std::int32_t GetMediaSampleCount(Media media);

/// @return -2043 when the media's storage may not be written
TWQT_EXPORT OSErr BeginMediaEdits(Media media);
/// @return -50 when no edits were begun
TWQT_EXPORT OSErr EndMediaEdits(Media media);

/// Adds samples at the end of the media.
/// @param dataIn  holds the data from byte `inOffset` on, `size` bytes
/// @param durationPerSample  media units, 0 or more
/// @param description  one that the media has is used again, another is added
/// @param numberOfSamples  they share the data's bytes evenly
/// @param sampleFlags  0 or mediaSampleNotSync
/// @param sampleTime  may be null; where the first sample begins, in media units
TWQT_EXPORT OSErr AddMediaSample(Media media, Handle dataIn, std::int32_t inOffset,
                                 std::uint32_t size, TimeValue durationPerSample,
                                 SampleDescriptionHandle description, std::int32_t numberOfSamples,
                                 std::int16_t sampleFlags, TimeValue* sampleTime);

/// Reads the sample that covers a media time.
/// @param dataOut  sized for the sample; may be null
/// @param maxSizeToGrow  0: no limit; a larger sample gives -50 and its size
/// @param size, sampleTime, durationPerSample, descriptionIndex, numberOfSamples, sampleFlags
///     each may be null
/// @param description  may be null
/// @param maxNumberOfSamples  0 lets the call choose; one sample is returned
TWQT_EXPORT OSErr GetMediaSample(Media media, Handle dataOut, std::int32_t maxSizeToGrow,
                                 std::int32_t* size, TimeValue time, TimeValue* sampleTime,
                                 TimeValue* durationPerSample, SampleDescriptionHandle description,
                                 ToolboxIndex* descriptionIndex, std::int32_t maxNumberOfSamples,
                                 std::int32_t* numberOfSamples, std::int16_t* sampleFlags);

/// Shows a stretch of the media at a place of its track; what stood there moves behind it.
/// @param trackStart  movie units; -1 appends; beyond the end a gap is left
/// @param mediaTime, mediaDuration  media units, inside the media (else -2015, -2014)
/// @param mediaRate  16.16 fixed point; 2.0 plays the stretch in half of its time
TWQT_EXPORT OSErr InsertMediaIntoTrack(Track track, TimeValue trackStart, TimeValue mediaTime,
                                       TimeValue mediaDuration, Fixed mediaRate);

}  // namespace TWQuickTime
