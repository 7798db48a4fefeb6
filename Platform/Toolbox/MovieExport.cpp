#include "MovieExport.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "Handles.h"
#include "Private/DataReferencePath.h"
#include "Private/FileRecords.h"
#include "Private/HandleBytes.h"
#include "Private/MovieExporter.h"
#include "Private/ToolboxCall.h"

namespace TWQuickTime {
namespace {

/// Makes the call on the instance's exporter, or says why there is none.
template <class Request>
ComponentResult onExporter(ToolboxCall& call, ComponentInstance instance, Request request) {
    if (call.faulted())
        return call.status();
    ComponentStorage* storage = componentStorage(instance);
    if (!storage)
        return badInstance;
    auto* exporter = dynamic_cast<MovieExporter*>(storage);
    if (!exporter)
        return badComponentSelector;
    try {
        return request(*exporter);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

}  // namespace

OSErr MovieExportProgress::tell(Movie movie, std::int16_t message, double fractionDone) const {
    if (!procedure)
        return noErr;
    const double limited = fractionDone > 0 ? std::min(fractionDone, 1.0) : 0.0;
    return procedure(movie, message, progressOpExportMovie,
                     static_cast<Fixed>(std::lround(limited * 0x10000)), refcon);
}

ComponentResult MovieExporter::getSettings(std::vector<std::byte>&) {
    return badComponentSelector;
}

ComponentResult MovieExporter::setSettings(std::span<const std::byte>) {
    return badComponentSelector;
}

ComponentResult MovieExporter::sourceMediaType(OSType&) {
    return badComponentSelector;
}

ComponentResult MovieExporter::fileNameExtension(OSType&) {
    return badComponentSelector;
}

ComponentResult MovieExporter::doUserDialog(Movie, Track, TimeValue, TimeValue, bool&) {
    return badComponentSelector;
}

ComponentResult MovieExporter::exportToFile(const NSString&, Movie, Track, TimeValue, TimeValue) {
    return badComponentSelector;
}

ComponentResult MovieExporter::addDataSource(OSType, TimeScale, std::int32_t&,
                                             MovieExportGetPropertyUPP, MovieExportGetDataUPP,
                                             void*) {
    return badComponentSelector;
}

ComponentResult MovieExporter::exportFromProcedures(const NSString&) {
    return badComponentSelector;
}

Component registerMovieExporter(MovieExporterRegistration registration) {
    ComponentRegistration component;
    component.description.componentType = MovieExportType;
    component.description.componentSubType = registration.subType;
    component.description.componentManufacturer = registration.manufacturer;
    component.description.componentFlags = registration.flags;
    component.name = std::move(registration.name);
    component.info = std::move(registration.info);
    component.open = [make = std::move(registration.make)]() -> std::unique_ptr<ComponentStorage> {
        return make ? make() : nullptr;
    };
    return registerComponent(std::move(component));
}

ComponentResult MovieExportGetSettingsAsAtomContainer(ComponentInstance instance,
                                                      QTAtomContainer* settings) {
    ToolboxCall call("MovieExportGetSettingsAsAtomContainer");
    if (settings)
        *settings = nullptr;
    return onExporter(call, instance, [&](MovieExporter& exporter) -> ComponentResult {
        if (!settings)
            return paramErr;
        std::vector<std::byte> container;
        const ComponentResult status = exporter.getSettings(container);
        if (status != noErr)
            return status;
        *settings = newHandleWithBytes(container);
        return *settings ? noErr : memFullErr;
    });
}

ComponentResult MovieExportSetSettingsFromAtomContainer(ComponentInstance instance,
                                                        QTAtomContainer settings) {
    ToolboxCall call("MovieExportSetSettingsFromAtomContainer");
    return onExporter(call, instance, [&](MovieExporter& exporter) -> ComponentResult {
        if (!IsHandleValid(settings))
            return invalidAtomContainerErr;
        return exporter.setSettings(handleBytes(settings));
    });
}

ComponentResult MovieExportGetSourceMediaType(ComponentInstance instance, OSType* mediaType) {
    ToolboxCall call("MovieExportGetSourceMediaType");
    return onExporter(call, instance, [&](MovieExporter& exporter) -> ComponentResult {
        return mediaType ? exporter.sourceMediaType(*mediaType) : paramErr;
    });
}

ComponentResult MovieExportGetFileNameExtension(ComponentInstance instance, OSType* extension) {
    ToolboxCall call("MovieExportGetFileNameExtension");
    return onExporter(call, instance, [&](MovieExporter& exporter) -> ComponentResult {
        return extension ? exporter.fileNameExtension(*extension) : paramErr;
    });
}

ComponentResult MovieExportDoUserDialog(ComponentInstance instance, Movie movie,
                                        Track onlyThisTrack, TimeValue start, TimeValue duration,
                                        Boolean* canceled) {
    ToolboxCall call("MovieExportDoUserDialog");
    if (canceled)
        *canceled = false;
    return onExporter(call, instance, [&](MovieExporter& exporter) -> ComponentResult {
        bool gaveUp = false;
        const ComponentResult status =
            exporter.doUserDialog(movie, onlyThisTrack, start, duration, gaveUp);
        if (canceled)
            *canceled = gaveUp;
        return status;
    });
}

ComponentResult MovieExportSetProgressProc(ComponentInstance instance, MovieProgressUPP progress,
                                           std::intptr_t refcon) {
    ToolboxCall call("MovieExportSetProgressProc");
    return onExporter(call, instance, [&](MovieExporter& exporter) -> ComponentResult {
        exporter.setProgress({progress, refcon});
        return noErr;
    });
}

ComponentResult MovieExportToFile(ComponentInstance instance, const FSSpec* file, Movie movie,
                                  Track onlyThisTrack, TimeValue start, TimeValue duration) {
    ToolboxCall call("MovieExportToFile");
    return onExporter(call, instance, [&](MovieExporter& exporter) -> ComponentResult {
        if (!file)
            return paramErr;
        if (!movie)
            return invalidMovie;
        const NSString path = fileRecordPath(*file);
        if (!path)
            return fnfErr;
        return exporter.exportToFile(path, movie, onlyThisTrack, start, duration);
    });
}

ComponentResult MovieExportToDataRef(ComponentInstance instance, Handle dataRef, OSType dataRefType,
                                     Movie movie, Track onlyThisTrack, TimeValue start,
                                     TimeValue duration) {
    ToolboxCall call("MovieExportToDataRef");
    return onExporter(call, instance, [&](MovieExporter& exporter) -> ComponentResult {
        if (!movie)
            return invalidMovie;
        const NSString path = dataReferencePath(dataRef, dataRefType);
        if (!path)
            return couldNotResolveDataRef;
        return exporter.exportToFile(path, movie, onlyThisTrack, start, duration);
    });
}

ComponentResult MovieExportAddDataSource(ComponentInstance instance, OSType trackType,
                                         TimeScale scale, std::int32_t* trackID,
                                         MovieExportGetPropertyUPP getPropertyProc,
                                         MovieExportGetDataUPP getDataProc, void* refCon) {
    ToolboxCall call("MovieExportAddDataSource");
    if (trackID)
        *trackID = 0;
    return onExporter(call, instance, [&](MovieExporter& exporter) -> ComponentResult {
        if (!trackID || !getDataProc || scale <= 0)
            return paramErr;
        return exporter.addDataSource(trackType, scale, *trackID, getPropertyProc, getDataProc,
                                      refCon);
    });
}

ComponentResult MovieExportFromProceduresToDataRef(ComponentInstance instance, Handle dataRef,
                                                   OSType dataRefType) {
    ToolboxCall call("MovieExportFromProceduresToDataRef");
    return onExporter(call, instance, [&](MovieExporter& exporter) -> ComponentResult {
        const NSString path = dataReferencePath(dataRef, dataRefType);
        if (!path)
            return couldNotResolveDataRef;
        return exporter.exportFromProcedures(path);
    });
}

}  // namespace TWQuickTime
