// Calls on open movie exporters: settings, dialog, export.
//
// An exporter's settings travel as an atom container. An export goes to a file or comes from
// procedures that hand out raw frames or sound; it returns when the file is complete.
//
//     ComponentInstance exporter = OpenDefaultComponent(MovieExportType, fourCC("MooV"));
//     MovieExportSetSettingsFromAtomContainer(exporter, settings);
//     ComponentResult status = MovieExportToFile(exporter, &file, movie, nullptr, 0, duration);
//     CloseComponent(exporter);
//
// Every call gives badInstance for what is no open instance, and badComponentSelector for an
// instance of another kind and for what an exporter does not implement.
#pragma once

#include <cstdint>

#include "Components.h"
#include "FSSpec.h"
#include "MovieProgress.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

/// What a data procedure is asked for, and the places of its answer.
struct MovieExportGetDataParams {
    std::int32_t recordSize = 0;
    std::int32_t trackID = 0;
    TimeScale sourceTimeScale = 0;
    TimeValue requestedTime = 0;  ///< in the source's time scale
    // The answer:
    TimeValue actualTime = 0;
    Ptr dataPtr = nullptr;  ///< owned by the source, valid until it is asked again
    std::int32_t dataSize = 0;
    Handle desc = nullptr;  ///< sample description of the data, owned by the source
    OSType descType = 0;    ///< media type that the description is of
    std::int32_t descSeed = 0;
    std::int32_t requestedSampleCount = 0;
    std::int32_t actualSampleCount = 0;
    TimeValue durationPerSample = 0;
    std::int32_t sampleFlags = 0;
};

/// Asked for a property of a source, by four-character code; a status that is not 0 means that the
/// source leaves it to the exporter.
using MovieExportGetPropertyProcPtr = OSErr (*)(void* refcon, std::int32_t trackID,
                                                OSType propertyType, void* propertyValue);
using MovieExportGetPropertyUPP = MovieExportGetPropertyProcPtr;
/// Asked for the data at a time; eofErr ends the source, any other status the export.
using MovieExportGetDataProcPtr = OSErr (*)(void* refcon, MovieExportGetDataParams* params);
using MovieExportGetDataUPP = MovieExportGetDataProcPtr;

/// A new container that the caller disposes of; null on failure.
TWQT_EXPORT ComponentResult MovieExportGetSettingsAsAtomContainer(ComponentInstance instance,
                                                                  QTAtomContainer* settings);
/// The exporter copies what it needs. It takes over all of the container or, with a status, nothing
/// of it; an empty container changes nothing.
TWQT_EXPORT ComponentResult MovieExportSetSettingsFromAtomContainer(ComponentInstance instance,
                                                                    QTAtomContainer settings);
/// Media type of the tracks that the exporter wants; 0 for any.
TWQT_EXPORT ComponentResult MovieExportGetSourceMediaType(ComponentInstance instance,
                                                          OSType* mediaType);
/// The extension as a four-character code filled with blanks.
TWQT_EXPORT ComponentResult MovieExportGetFileNameExtension(ComponentInstance instance,
                                                            OSType* extension);
/// Lets the user edit the settings.
/// @param movie, onlyThisTrack  what is to be exported; either may be null
/// @param start, duration       in the movie's time units
/// @param canceled              set to whether the user gave up, which is no error
TWQT_EXPORT ComponentResult MovieExportDoUserDialog(ComponentInstance instance, Movie movie,
                                                    Track onlyThisTrack, TimeValue start,
                                                    TimeValue duration, Boolean* canceled);
/// @param progress  called on the exporting thread; null takes an earlier one away
TWQT_EXPORT ComponentResult MovieExportSetProgressProc(ComponentInstance instance,
                                                       MovieProgressUPP progress,
                                                       std::intptr_t refcon);
/// Replaces the file's contents when the export is complete.
/// @param start, duration  in the movie's time units
TWQT_EXPORT ComponentResult MovieExportToFile(ComponentInstance instance, const FSSpec* file,
                                              Movie movie, Track onlyThisTrack, TimeValue start,
                                              TimeValue duration);
/// The same for a file named by a data reference, which need not exist.
TWQT_EXPORT ComponentResult MovieExportToDataRef(ComponentInstance instance, Handle dataRef,
                                                 OSType dataRefType, Movie movie,
                                                 Track onlyThisTrack, TimeValue start,
                                                 TimeValue duration);
/// Adds a source of data to the next export from procedures.
/// @param scale    the source's time units per second
/// @param trackID  set to the number by which the procedures know the source
TWQT_EXPORT ComponentResult MovieExportAddDataSource(ComponentInstance instance, OSType trackType,
                                                     TimeScale scale, std::int32_t* trackID,
                                                     MovieExportGetPropertyUPP getPropertyProc,
                                                     MovieExportGetDataUPP getDataProc,
                                                     void* refCon);
/// Asks the sources that were added until they end, and forgets them.
TWQT_EXPORT ComponentResult MovieExportFromProceduresToDataRef(ComponentInstance instance,
                                                               Handle dataRef, OSType dataRefType);

}  // namespace TWQuickTime
