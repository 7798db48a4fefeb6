// What a movie exporter has to offer; the calls of MovieExport.h are made on it.
//
// An exporter derives from this and registers itself with a ComponentProvider. Everything runs on
// the caller's thread, one call at a time. A function that is not overridden answers
// badComponentSelector, "not implemented", as the component's callers expect it.
//
//     class WaveExporter : public MovieExporter { … };
//     const ComponentProvider provider(ComponentRank::movieExporters, [] {
//         registerMovieExporter({.subType = fourCC("WAVE"), .flags = canMovieExportFiles, …,
//                                .make = [] { return std::make_unique<WaveExporter>(); }});
//     });
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "MovieExport.h"
#include "NSString.h"
#include "Private/ComponentRegistry.h"

namespace TWQuickTime {

/// A client's progress procedure, or none.
struct TWQT_EXPORT MovieExportProgress {
    MovieProgressUPP procedure = nullptr;
    std::intptr_t refcon = 0;

    /// Tells the client, if there is one.
    /// @param fractionDone  0…1
    /// @return 0 to go on, else the status to stop with
    OSErr tell(Movie movie, std::int16_t message, double fractionDone) const;
};

class TWQT_EXPORT MovieExporter : public ComponentStorage {
  public:
    /// The complete bytes of an atom container with all settings.
    virtual ComponentResult getSettings(std::vector<std::byte>& container);
    /// Takes over all of a container or, with a status, nothing of it. No bytes: no change.
    virtual ComponentResult setSettings(std::span<const std::byte> container);
    virtual ComponentResult sourceMediaType(OSType& mediaType);
    virtual ComponentResult fileNameExtension(OSType& extension);
    virtual ComponentResult doUserDialog(Movie movie, Track onlyThisTrack, TimeValue start,
                                         TimeValue duration, bool& canceled);
    /// @param path  of the file to replace; it may exist, empty or not
    virtual ComponentResult exportToFile(const NSString& path, Movie movie, Track onlyThisTrack,
                                         TimeValue start, TimeValue duration);
    virtual ComponentResult addDataSource(OSType trackType, TimeScale scale, std::int32_t& trackID,
                                          MovieExportGetPropertyUPP getProperty,
                                          MovieExportGetDataUPP getData, void* refcon);
    virtual ComponentResult exportFromProcedures(const NSString& path);

    void setProgress(MovieExportProgress progress) { progress_ = progress; }
    const MovieExportProgress& progress() const { return progress_; }

  private:
    MovieExportProgress progress_;
};

struct MovieExporterRegistration {
    OSType subType = 0;
    OSType manufacturer = kAppleManufacturer;
    std::uint32_t flags = 0;  ///< canMovieExport… and cmpThreadSafe
    std::string name;
    std::string info;
    std::function<std::unique_ptr<MovieExporter>()> make;
};

TWQT_EXPORT Component registerMovieExporter(MovieExporterRegistration registration);

}  // namespace TWQuickTime
