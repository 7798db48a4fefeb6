// How long toolbox operations tell a client of their progress.
#pragma once

#include <cstdint>

#include "ToolboxTypes.h"

namespace TWQuickTime {

/// Called with open once, with update any number of times, and with close once.
/// @param movie        the movie that is worked on; null when there is none
/// @param message      movieProgressOpen, movieProgressUpdatePercent or movieProgressClose
/// @param whatOperation  one of the progressOp… numbers
/// @param percentDone  16.16, 0x10000 for all
/// @param refcon       what the client gave with the procedure
/// @return 0 to go on; any other status stops the operation, which returns it
using MovieProgressProcPtr = OSErr (*)(Movie movie, std::int16_t message,
                                       std::int16_t whatOperation, Fixed percentDone,
                                       std::intptr_t refcon);
using MovieProgressUPP = MovieProgressProcPtr;

constexpr std::int16_t movieProgressOpen = 0;
constexpr std::int16_t movieProgressUpdatePercent = 1;
constexpr std::int16_t movieProgressClose = 2;

constexpr std::int16_t progressOpFlatten = 1;
constexpr std::int16_t progressOpInsertTrackSegment = 2;
constexpr std::int16_t progressOpInsertMovieSegment = 3;
constexpr std::int16_t progressOpPaste = 4;
constexpr std::int16_t progressOpAddMovieSelection = 5;
constexpr std::int16_t progressOpCopy = 6;
constexpr std::int16_t progressOpCut = 7;
constexpr std::int16_t progressOpLoadMovieIntoRam = 8;
constexpr std::int16_t progressOpLoadTrackIntoRam = 9;
constexpr std::int16_t progressOpLoadMediaIntoRam = 10;
constexpr std::int16_t progressOpImportMovie = 11;
constexpr std::int16_t progressOpExportMovie = 12;

}  // namespace TWQuickTime
