// References from one track to others of its movie, and the input maps that say what they are for.
//
//     std::int32_t index = 0;
//     AddTrackReference(sound, tween, fourCC("ssrc"), &index);
//     SetMediaInputMap(GetTrackMedia(sound), map);   // an entry '\0\0in' with that index as its ID
#pragma once

#include "MovieTypes.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

inline constexpr OSType kTrackModifierReference = fourCC("ssrc");
inline constexpr OSType kTrackReferenceTimeCode = fourCC("tmcd");
inline constexpr OSType kTrackReferenceChapterList = fourCC("chap");

/// Adds a reference of a type; both tracks must be of one movie.
/// @param addedIndex  may be null; index of the new reference among those of its type, from 1
TWQT_EXPORT OSErr AddTrackReference(Track track, Track refTrack, OSType refType,
                                    std::int32_t* addedIndex);
/// Empties the slot, so that later references keep their index.
TWQT_EXPORT OSErr DeleteTrackReference(Track track, OSType refType, ToolboxIndex index);
TWQT_EXPORT std::int32_t GetTrackReferenceCount(Track track, OSType refType);
/// Null for an empty slot (no error) and for an index beyond the last (-50).
TWQT_EXPORT Track GetTrackReference(Track track, OSType refType, ToolboxIndex index);
/// The type after this one in stored order; 0 gives the first; 0 comes back after the last.
TWQT_EXPORT OSType GetNextTrackReferenceType(Track track, OSType refType);

/// Keeps a copy of the container; null removes the map.
TWQT_EXPORT OSErr SetMediaInputMap(Media media, QTAtomContainer inputMap);
/// @param inputMap  a new container, disposed of by the caller; empty when the media has no map
TWQT_EXPORT OSErr GetMediaInputMap(Media media, QTAtomContainer* inputMap);

}  // namespace TWQuickTime
