// Plain types of the movie calls: matrices, time records, progress procedures, their constants.
#pragma once

#include <cstdint>

#include "MovieProgress.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

/// Carries whatever the owner of a callback wants to find again in it.
using RefCon = std::intptr_t;
/// Sound volume as signed 8.8 fixed point; 0x0100 is full volume.
using ShortFixed = std::int16_t;
using ScriptCode = std::int16_t;
/// Index of a sample, track, edit or item, from 1.
using ToolboxIndex = std::int32_t;

inline constexpr Fixed kFixedOne = 0x00010000;
inline constexpr ShortFixed kFullVolume = 0x0100;

inline constexpr OSType VideoMediaType = fourCC("vide");
inline constexpr OSType SoundMediaType = fourCC("soun");
inline constexpr OSType TextMediaType = fourCC("text");
inline constexpr OSType TweenMediaType = fourCC("twen");
inline constexpr OSType TimeCodeMediaType = fourCC("tmcd");
inline constexpr OSType VisualMediaCharacteristic = fourCC("eyes");
inline constexpr OSType AudioMediaCharacteristic = fourCC("ears");

/// Three rows a b u, c d v, tx ty w: u v w are 2.30 fixed point, the others 16.16.
/// x' = a·x + c·y + tx, y' = b·x + d·y + ty.
struct MatrixRecord {
    std::int32_t matrix[3][3] = {{kFixedOne, 0, 0}, {0, kFixedOne, 0}, {0, 0, 0x40000000}};
    friend bool operator==(const MatrixRecord&, const MatrixRecord&) = default;
};

/// A time with its scale, as GetMovieTime gives it.
struct TimeRecord {
    std::int64_t value = 0;
    TimeScale scale = 0;
};

// Flags of the calls that make a movie from something.
inline constexpr std::int32_t newMovieActive = 1;
inline constexpr std::int32_t newMovieDontResolveDataRefs = 2;
inline constexpr std::int32_t newMovieDontAskUnresolvedDataRefs = 4;
inline constexpr std::int32_t newMovieDontAutoAlternates = 8;
inline constexpr std::int32_t newMovieAsyncOK = 0x100;

// How far a movie has been loaded.
inline constexpr std::int32_t kMovieLoadStateError = -1;
/// Tracks and duration are not known yet.
inline constexpr std::int32_t kMovieLoadStateLoading = 1000;
inline constexpr std::int32_t kMovieLoadStateLoaded = 2000;
/// Playing may begin.
inline constexpr std::int32_t kMovieLoadStatePlayable = 10000;
/// Playing will not run out of data.
inline constexpr std::int32_t kMovieLoadStatePlaythroughOK = 20000;
inline constexpr std::int32_t kMovieLoadStateComplete = 100000;

// Flags of the calls that make a movie file.
inline constexpr std::uint32_t createMovieFileDeleteCurFile = 0x80000000;
inline constexpr std::uint32_t createMovieFileDontCreateMovie = 0x40000000;
inline constexpr std::uint32_t createMovieFileDontOpenFile = 0x20000000;
inline constexpr std::uint32_t createMovieFileDontCreateResFile = 0x10000000;

// Flags of flattening.
inline constexpr std::int32_t flattenAddMovieToDataFork = 1;
inline constexpr std::int32_t flattenActiveTracksOnly = 4;
inline constexpr std::int32_t flattenDontInterleaveFlatten = 8;
inline constexpr std::int32_t flattenFSSpecPtrIsDataRefRecordPtr = 0x10;
inline constexpr std::int32_t flattenCompressMovieResource = 0x20;
inline constexpr std::int32_t flattenForceMovieResourceBeforeMovieData = 0x40;

// How a storage's data handler may be used.
inline constexpr std::int32_t kDataHCanRead = 1;
inline constexpr std::int32_t kDataHCanWrite = 8;

// Permissions of the file calls.
inline constexpr std::int8_t fsCurPerm = 0;
inline constexpr std::int8_t fsRdPerm = 1;
inline constexpr std::int8_t fsWrPerm = 2;
inline constexpr std::int8_t fsRdWrPerm = 3;

inline constexpr ScriptCode smCurrentScript = -1;
inline constexpr ScriptCode smSystemScript = -2;

}  // namespace TWQuickTime
