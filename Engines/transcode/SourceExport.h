// An export whose pictures and sound come one after the other from the caller.
//
//     auto exporting = SourceExport::create(settings, "/films/a.mov", {.pictures = true});
//     (*exporting)->addPicture({.description = record, .data = bytes, .duration = {1, 25}});
//     Status done = (*exporting)->finish();      // without it nothing is left of the file
//
// Everything happens on the caller's thread.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Engines/codec/ByteOrder.h"
#include "Engines/result/Result.h"
#include "Engines/transcode/ExportSettings.h"
#include "Engines/transcode/Time.h"

namespace TWQuickTime::transcode {

/// A sample as a source hands it over.
struct SourceSample {
    /// The whole sample description; the first one of a stream decides what is written.
    codec::Bytes description;
    codec::Bytes data;
    Time time;
    /// More than 0.
    Time duration;
};

/// Which streams will come.
struct ExpectedStreams {
    bool pictures = false;
    bool sound = false;
};

class SourceExport {
  public:
    /// `unsupported` when the settings leave out a stream that will come.
    static result::Expected<std::unique_ptr<SourceExport>> create(const ExportSettings& settings,
                                                                  const std::string& path,
                                                                  ExpectedStreams streams);
    ~SourceExport();

    /// Pictures come in order; one that is not a sync sample needs those before it.
    result::Status addPicture(const SourceSample& sample);
    /// Sound comes without gaps.
    result::Status addSound(const SourceSample& sample);
    /// `notFound` when nothing was added.
    result::Status finish();

  private:
    struct State;
    explicit SourceExport(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

}  // namespace TWQuickTime::transcode
