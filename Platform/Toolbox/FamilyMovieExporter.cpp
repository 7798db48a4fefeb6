#include "Private/FamilyMovieExporter.h"

#include <algorithm>
#include <optional>

#include "Engines/transcode/MovieExport.h"
#include "Engines/transcode/SettingsContainer.h"
#include "Engines/transcode/SourceExport.h"
#include "Handles.h"
#include "MovieExportDialog.h"
#include "Private/HandleBytes.h"
#include "Private/MovieRecord.h"
#include "Private/StatusOfFailure.h"

namespace TWQuickTime {

namespace {

constexpr OSType kVideoMedia = fourCC("vide");
constexpr OSType kSoundMedia = fourCC("soun");

/// As the toolbox speaks of settings and codecs.
OSErr statusOfSettings(const result::Failure& failure) {
    switch (failure.kind) {
        case result::FailureKind::damaged:
        case result::FailureKind::truncated:
            return invalidAtomContainerErr;
        case result::FailureKind::unsupported:
            return codecUnimpErr;
        default:
            return statusOfFailure(failure);
    }
}

OSErr statusOfExport(const result::Failure& failure) {
    switch (failure.kind) {
        case result::FailureKind::notAvailable:
            return noCodecErr;
        case result::FailureKind::unsupported:
            return codecUnimpErr;
        case result::FailureKind::notFound:
            return failure.systemError != 0 ? fnfErr : noMediaHandler;
        default:
            return statusOfFailure(failure);
    }
}

}  // namespace

FamilyMovieExporter::FamilyMovieExporter(const transcode::ExporterFamily& family)
    : family_(family),
      settings_(transcode::defaultSettings(family)),
      container_(transcode::containerOf(settings_)) {}

ComponentResult FamilyMovieExporter::getSettings(std::vector<std::byte>& container) {
    container = container_;
    return noErr;
}

ComponentResult FamilyMovieExporter::setSettings(std::span<const std::byte> container) {
    if (transcode::saysNothing(container))
        return noErr;
    auto settings = transcode::settingsIn(container, family_, settings_);
    if (!settings)
        return statusOfSettings(settings.failure());
    auto complete = transcode::completedContainer(container, *settings);
    if (!complete)
        return statusOfSettings(complete.failure());
    settings_ = *settings;
    container_ = std::move(*complete);
    return noErr;
}

ComponentResult FamilyMovieExporter::sourceMediaType(OSType& mediaType) {
    mediaType = family_.sourceMedia;
    return noErr;
}

ComponentResult FamilyMovieExporter::fileNameExtension(OSType& extension) {
    extension = transcode::extensionFor(family_, settings_);
    return noErr;
}

ComponentResult FamilyMovieExporter::doUserDialog(Movie, Track, TimeValue, TimeValue,
                                                  bool& canceled) {
    return presentMovieExportDialog(
        family_.name, container_,
        [this](std::span<const std::byte> edited) { return setSettings(edited); }, canceled);
}

ComponentResult FamilyMovieExporter::exportToFile(const NSString& path, Movie movie,
                                                  Track onlyThisTrack, TimeValue start,
                                                  TimeValue duration) {
    MovieRecord* record = liveMovie(movie);
    if (!record)
        return invalidMovie;
    transcode::ExportRequest request;
    request.movie = record->movie.get();
    if (onlyThisTrack) {
        const TrackRecord* track = liveTrack(onlyThisTrack);
        if (!track || track->movie != record)
            return invalidTrack;
        request.onlyTrack = track->track;
    }
    if (start < 0)
        return invalidTime;
    if (duration <= 0)
        return invalidDuration;
    request.start = start;
    request.duration = duration;
    request.settings = settings_;
    request.path = path.utf8();
    OSErr stopped = progress().tell(movie, movieProgressOpen, 0);
    if (stopped != noErr)
        return stopped;
    request.progress = [&](double fractionDone) {
        stopped = progress().tell(movie, movieProgressUpdatePercent, fractionDone);
        return stopped == noErr;
    };
    const result::Status exported = transcode::exportMovie(request);
    progress().tell(movie, movieProgressClose, 1);
    if (exported)
        return noErr;
    return stopped != noErr ? stopped : statusOfExport(exported.failure());
}

ComponentResult FamilyMovieExporter::addDataSource(OSType trackType, TimeScale scale,
                                                   std::int32_t& trackID, MovieExportGetPropertyUPP,
                                                   MovieExportGetDataUPP getData, void* refcon) {
    if (!getData || scale <= 0)
        return paramErr;
    const bool known = (trackType == kVideoMedia && family_.videoCodec != 0) ||
                       (trackType == kSoundMedia && family_.soundCodec != 0);
    if (!known)
        return noMediaHandler;
    // One stream of each kind is written.
    for (const Source& source : sources_) {
        if (source.type == trackType)
            return paramErr;
    }
    Source source;
    source.type = trackType;
    source.scale = scale;
    source.trackID = static_cast<std::int32_t>(sources_.size() + 1);
    source.getData = getData;
    source.refcon = refcon;
    sources_.push_back(source);
    trackID = source.trackID;
    return noErr;
}

/// Asks the sources in turn, always the one that lies behind, until all have ended.
class FamilyMovieExporter::SourceLoop {
  public:
    SourceLoop(std::vector<Source>& sources, transcode::SourceExport& destination)
        : sources_(sources), destination_(destination) {}

    ComponentResult run(const MovieExportProgress& progress) {
        while (Source* source = behind()) {
            if (const OSErr status = ask(*source); status != noErr)
                return status;
            // How long the sources will go on is not known, so no part can be told.
            if (const OSErr stopped = progress.tell(nullptr, movieProgressUpdatePercent, 0);
                stopped != noErr)
                return stopped;
        }
        const result::Status finished = destination_.finish();
        return finished ? noErr : statusOfExport(finished.failure());
    }

  private:
    Source* behind() {
        Source* best = nullptr;
        for (Source& source : sources_) {
            if (source.ended)
                continue;
            if (!best || source.time * best->scale < best->time * source.scale)
                best = &source;
        }
        return best;
    }

    OSErr ask(Source& source) {
        MovieExportGetDataParams params;
        params.recordSize = sizeof params;
        params.trackID = source.trackID;
        params.sourceTimeScale = source.scale;
        params.requestedTime =
            static_cast<TimeValue>(std::min<std::int64_t>(source.time, INT32_MAX));
        params.requestedSampleCount = source.type == kVideoMedia ? 1 : source.scale / 4 + 1;
        const OSErr status = source.getData(source.refcon, &params);
        if (status == eofErr) {
            source.ended = true;
            return noErr;
        }
        if (status != noErr)
            return status;
        return take(source, params);
    }

    OSErr take(Source& source, const MovieExportGetDataParams& params) {
        const std::int64_t samples = std::max<std::int64_t>(params.actualSampleCount, 1);
        const std::int64_t duration = samples * std::int64_t(params.durationPerSample);
        // A source that does not move on would never end.
        if (duration <= 0)
            return invalidDuration;
        if (!params.dataPtr || params.dataSize <= 0 || !IsHandleValid(params.desc))
            return paramErr;
        const std::span<const std::byte> description = handleBytes(params.desc);
        transcode::SourceSample sample;
        sample.description = description;
        sample.data = {reinterpret_cast<const std::byte*>(params.dataPtr),
                       std::size_t(params.dataSize)};
        sample.time = {source.time, source.scale};
        sample.duration = {duration, source.scale};
        const result::Status added = source.type == kVideoMedia ? destination_.addPicture(sample)
                                                                : destination_.addSound(sample);
        source.time += duration;
        return added ? noErr : statusOfExport(added.failure());
    }

    std::vector<Source>& sources_;
    transcode::SourceExport& destination_;
};

ComponentResult FamilyMovieExporter::exportFromProcedures(const NSString& path) {
    std::vector<Source> sources = std::exchange(sources_, {});
    if (sources.empty())
        return paramErr;
    transcode::ExpectedStreams expected;
    for (const Source& source : sources) {
        expected.pictures = expected.pictures || source.type == kVideoMedia;
        expected.sound = expected.sound || source.type == kSoundMedia;
    }
    auto destination = transcode::SourceExport::create(settings_, path.utf8(), expected);
    if (!destination)
        return statusOfExport(destination.failure());
    if (const OSErr stopped = progress().tell(nullptr, movieProgressOpen, 0); stopped != noErr)
        return stopped;
    const ComponentResult status = SourceLoop(sources, **destination).run(progress());
    progress().tell(nullptr, movieProgressClose, 1);
    return status;
}

namespace {

constexpr std::uint32_t kExporterFlags = canMovieExportFiles | hasMovieExportUserInterface |
                                         canMovieExportFromProcedures |
                                         movieExportMustGetSourceMediaType | cmpThreadSafe;

const ComponentProvider movieExporters(ComponentRank::movieExporters, [] {
    for (const transcode::ExporterFamily& family : transcode::exporterFamilies()) {
        registerMovieExporter(
            {.subType = family.subtype,
             .manufacturer = kAppleManufacturer,
             .flags = kExporterFlags,
             .name = family.name,
             .info = family.info,
             .make = [&family] { return std::make_unique<FamilyMovieExporter>(family); }});
    }
});

}  // namespace

}  // namespace TWQuickTime
