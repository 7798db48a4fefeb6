// A movie exporter of one family of the export engine, as a component.
#pragma once

#include <vector>

#include "Engines/transcode/ExporterFamily.h"
#include "Private/MovieExporter.h"

namespace TWQuickTime {

class FamilyMovieExporter final : public MovieExporter {
  public:
    /// The family must outlive the exporter; those of the engine live for ever.
    explicit FamilyMovieExporter(const transcode::ExporterFamily& family);

    ComponentResult getSettings(std::vector<std::byte>& container) override;
    ComponentResult setSettings(std::span<const std::byte> container) override;
    ComponentResult sourceMediaType(OSType& mediaType) override;
    ComponentResult fileNameExtension(OSType& extension) override;
    ComponentResult doUserDialog(Movie movie, Track onlyThisTrack, TimeValue start,
                                 TimeValue duration, bool& canceled) override;
    ComponentResult exportToFile(const NSString& path, Movie movie, Track onlyThisTrack,
                                 TimeValue start, TimeValue duration) override;
    ComponentResult addDataSource(OSType trackType, TimeScale scale, std::int32_t& trackID,
                                  MovieExportGetPropertyUPP getProperty,
                                  MovieExportGetDataUPP getData, void* refcon) override;
    ComponentResult exportFromProcedures(const NSString& path) override;

  private:
    struct Source {
        OSType type = 0;
        TimeScale scale = 600;
        std::int32_t trackID = 0;
        MovieExportGetDataUPP getData = nullptr;
        void* refcon = nullptr;
        std::int64_t time = 0;
        bool ended = false;
    };
    class SourceLoop;

    const transcode::ExporterFamily& family_;
    transcode::ExportSettings settings_;
    /// All settings, those that are not understood included.
    std::vector<std::byte> container_;
    std::vector<Source> sources_;
};

}  // namespace TWQuickTime
