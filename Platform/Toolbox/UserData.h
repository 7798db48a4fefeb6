// Lists of small items by type, kept in movies, tracks and media, or on their own.
//
// Items of one type are numbered from 1 in stored order. Items of other programs in the same list
// are left as they are, to the byte. A null or foreign list gives -50, a missing item -2026.
//
//     UserData list = GetMovieUserData(movie);
//     std::uint32_t mode = 0;
//     GetUserDataItem(list, &mode, sizeof mode, fourCC("LOOP"), 1);
#pragma once

#include "MovieTypes.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

/// The list lives and goes with its movie, track or media.
TWQT_EXPORT UserData GetMovieUserData(Movie movie);
TWQT_EXPORT UserData GetTrackUserData(Track track);
TWQT_EXPORT UserData GetMediaUserData(Media media);

/// A list of its own, disposed of by the caller.
TWQT_EXPORT OSErr NewUserData(UserData* userData);
/// Disposing of a list that belongs to a movie, track or media gives -50.
TWQT_EXPORT OSErr DisposeUserData(UserData userData);
/// A list from the bytes that PutUserDataIntoHandle gives.
TWQT_EXPORT OSErr NewUserDataFromHandle(Handle handle, UserData* userData);
TWQT_EXPORT OSErr PutUserDataIntoHandle(UserData userData, Handle handle);

/// Number of items of a type, limited to 32767; 0 for no list.
TWQT_EXPORT std::int16_t CountUserDataType(UserData userData, OSType type);
/// The type after this one; 0 gives the first; 0 comes back after the last.
TWQT_EXPORT OSType GetNextUserDataType(UserData userData, OSType type);

/// Copies a whole item into the handle, which is sized for it.
TWQT_EXPORT OSErr GetUserData(UserData userData, Handle data, OSType type, ToolboxIndex index);
/// Adds an item of the handle's bytes after the last of its type.
TWQT_EXPORT OSErr AddUserData(UserData userData, Handle data, OSType type);
TWQT_EXPORT OSErr RemoveUserData(UserData userData, OSType type, ToolboxIndex index);

/// Copies an item of exactly this size.
/// @return -50 when the item has another size
TWQT_EXPORT OSErr GetUserDataItem(UserData userData, void* data, std::int32_t size, OSType type,
                                  ToolboxIndex index);
/// Replaces an item, or adds it when the index is the one after the last; 0 counts as 1.
TWQT_EXPORT OSErr SetUserDataItem(UserData userData, const void* data, std::int32_t size,
                                  OSType type, ToolboxIndex index);

// Texts: items whose type begins with the byte 0xA9, or of a user data list in a timecode
// description, hold one text for each language.

/// Adds or replaces the text of one language.
/// @param index  from 1; the one after the last adds an item
/// @param language  a classic language code, or three packed letters from 0x400 on
TWQT_EXPORT OSErr AddUserDataText(UserData userData, Handle text, OSType type, ToolboxIndex index,
                                  std::int16_t language);
TWQT_EXPORT OSErr GetUserDataText(UserData userData, Handle text, OSType type, ToolboxIndex index,
                                  std::int16_t language);
TWQT_EXPORT OSErr RemoveUserDataText(UserData userData, OSType type, ToolboxIndex index,
                                     std::int16_t language);

}  // namespace TWQuickTime
