// Movies in files: opening, creating, writing back and flattening.
//
// A storage is held by a data handler, which knows the file and how it may be used. Writing a movie
// back is safe against a crash: at every moment the file opens as the old or as the new movie.
//
//     DataHandler storage = nullptr;
//     Movie movie = nullptr;
//     CreateMovieStorage(reference, type, fourCC("TVOD"), smSystemScript,
//                        createMovieFileDeleteCurFile | newMovieActive, &storage, &movie);
//     …                                             // tracks, media, samples
//     UpdateMovieInStorage(movie, storage);
//     CloseMovieStorage(storage);
#pragma once

#include "FSSpec.h"
#include "MovieTypes.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

/// Statuses of the numbers that files are open by.
inline constexpr OSErr tmfoErr = -42;
inline constexpr OSErr rfNumErr = -51;

/// @param flags  kDataHCanRead, kDataHCanWrite or both
/// @param dataHandler  closed by CloseMovieStorage
TWQT_EXPORT OSErr OpenMovieStorage(Handle dataRef, OSType dataRefType, std::int32_t flags,
                                   DataHandler* dataHandler);
/// Makes a file and an empty movie that adds its media data to it.
/// @param creator  not kept by the file system; part of the interface
/// @param flags  createMovieFile… and newMovie… flags. Without createMovieFileDeleteCurFile an
///     existing file gives -48
/// @param dataHandler  may be null, and then the storage belongs to the movie
/// @param movie  may be null with createMovieFileDontCreateMovie
TWQT_EXPORT OSErr CreateMovieStorage(Handle dataRef, OSType dataRefType, OSType creator,
                                     ScriptCode scriptTag, std::uint32_t flags,
                                     DataHandler* dataHandler, Movie* movie);
TWQT_EXPORT OSErr CloseMovieStorage(DataHandler dataHandler);
/// Writes the movie atom into the storage; work in proportion to the atom, not to the media.
/// @return -2043 for a storage that may not be written, -2007 for no data handler
TWQT_EXPORT OSErr UpdateMovieInStorage(Movie movie, DataHandler dataHandler);

/// Opens a movie file for NewMovieFromFile.
/// @param resRefNum  number to be given to CloseMovieFile
/// @param permission  fsRdPerm, fsRdWrPerm …
TWQT_EXPORT OSErr OpenMovieFile(const FSSpec* fileSpec, std::int16_t* resRefNum,
                                std::int8_t permission);
TWQT_EXPORT OSErr CloseMovieFile(std::int16_t resRefNum);
/// @param resourceID  may be null
/// @param resourceName  may be null; becomes empty, files here have no resources
/// @param dataRefWasChanged  may be null
/// @return rfNumErr for a number that no open file has
TWQT_EXPORT OSErr NewMovieFromFile(Movie* movie, std::int16_t resRefNum, std::int16_t* resourceID,
                                   unsigned char* resourceName, std::int16_t flags,
                                   Boolean* dataRefWasChanged);

/// Writes a self-contained copy of the movie, its samples in the order of their times, replacing
/// the destination only when the copy is complete. The movie's progress procedure is called.
/// @param creator  not kept by the file system
/// @param createMovieFileFlags  createMovieFileDontCreateMovie: give no movie back
/// @return the new movie, to be disposed of, or null; see GetMoviesError
TWQT_EXPORT Movie FlattenMovieDataToDataRef(Movie movie, std::int32_t movieFlattenFlags,
                                            Handle dataRef, OSType dataRefType, OSType creator,
                                            ScriptCode scriptTag,
                                            std::uint32_t createMovieFileFlags);

}  // namespace TWQuickTime
