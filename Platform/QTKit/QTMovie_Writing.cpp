// Writing a movie into a file, through an exporter or flattened.
#include "DataReferences.h"
#include "Handles.h"
#include "MovieExport.h"
#include "MovieStorage.h"
#include "Movies.h"
#include "QTMovie.h"

namespace TWQuickTime {
namespace {

/// What the progress procedure hands on to the movie's delegate.
struct WritingProgress {
    std::shared_ptr<QTMovie> movie;
    NSString operation;
    NSDictionary attributes;

    static OSErr tell(Movie, std::int16_t message, std::int16_t, Fixed percentDone,
                      std::intptr_t refcon) {
        const auto& self = *reinterpret_cast<const WritingProgress*>(refcon);
        const auto delegate = self.movie->delegate();
        if (!delegate || !delegate->movieShouldContinueOperation)
            return noErr;
        const std::int32_t phase = message == movieProgressOpen ? QTMovieOperationBeginPhase
                                   : message == movieProgressClose
                                       ? QTMovieOperationEndPhase
                                       : QTMovieOperationUpdatePercentPhase;
        const float fractionDone = static_cast<float>(percentDone) / 65536.0f;
        return delegate->movieShouldContinueOperation(self.movie, self.operation, phase,
                                                      fractionDone, self.attributes)
                   ? noErr
                   : userCanceledErr;
    }
};

/// A data reference to the destination, for the length of a scope.
class Destination {
  public:
    explicit Destination(const NSString& path)
        : status_(QTNewDataReferenceFromFullPathCFString(path, kQTNativeDefaultPathStyle, 0,
                                                         &reference_, &type_)) {}
    ~Destination() {
        if (reference_)
            DisposeHandle(reference_);
    }
    Destination(const Destination&) = delete;
    Destination& operator=(const Destination&) = delete;

    OSErr status() const { return status_; }
    Handle reference() const { return reference_; }
    OSType type() const { return type_; }

  private:
    Handle reference_ = nullptr;
    OSType type_ = 0;
    OSErr status_;
};

OSType codeOf(const PropertyListValue& value) {
    return static_cast<OSType>(value.longLongValue());
}

ComponentResult giveSettings(ComponentInstance exporter, const NSData& settings) {
    if (!settings)
        return noErr;
    Handle container = nullptr;
    const OSErr status =
        PtrToHand(settings.bytes().data(), &container, static_cast<Size>(settings.length()));
    if (status != noErr)
        return status;
    const ComponentResult result = MovieExportSetSettingsFromAtomContainer(exporter, container);
    DisposeHandle(container);
    return result;
}

ComponentResult exportThrough(ComponentInstance exporter, Movie movie, const Destination& file,
                              const WritingProgress& progress) {
    ComponentResult status =
        giveSettings(exporter, progress.attributes.objectForKey(QTMovieExportSettings).dataValue());
    if (status == noErr)
        status = MovieExportSetProgressProc(exporter, WritingProgress::tell,
                                            reinterpret_cast<std::intptr_t>(&progress));
    if (status == noErr)
        status = MovieExportToDataRef(exporter, file.reference(), file.type(), movie, nullptr, 0,
                                      GetMovieDuration(movie));
    return status;
}

ComponentResult exportMovie(Movie movie, const Destination& file, const WritingProgress& progress) {
    const ComponentDescription wanted{
        MovieExportType, codeOf(progress.attributes.objectForKey(QTMovieExportType)),
        codeOf(progress.attributes.objectForKey(QTMovieExportManufacturer)), 0, cmpIsMissing};
    const Component component = FindNextComponent(nullptr, &wanted);
    ComponentInstance exporter = component ? OpenComponent(component) : nullptr;
    if (!exporter)
        return cantFindHandler;
    const ComponentResult status = exportThrough(exporter, movie, file, progress);
    CloseComponent(exporter);
    return status;
}

ComponentResult flattenMovie(Movie movie, const Destination& file,
                             const WritingProgress& progress) {
    // A procedure that a client installed stays unless there is a delegate to be told.
    const auto delegate = progress.movie->delegate();
    const bool isFollowed = delegate && delegate->movieShouldContinueOperation;
    if (isFollowed)
        SetMovieProgressProc(movie, WritingProgress::tell,
                             reinterpret_cast<std::intptr_t>(&progress));
    const Movie copy = FlattenMovieDataToDataRef(
        movie, flattenAddMovieToDataFork, file.reference(), file.type(), 0, 0,
        createMovieFileDeleteCurFile | createMovieFileDontCreateResFile);
    const OSErr status = GetMoviesError();
    if (isFollowed)
        SetMovieProgressProc(movie, nullptr, 0);
    DisposeMovie(copy);
    return status;
}

}  // namespace

bool QTMovie::writeToFile(const NSString& fileName, const NSDictionary& withAttributes,
                          NSError* error) {
    const bool throughExporter = withAttributes.objectForKey(QTMovieExport).boolValue();
    const WritingProgress progress{shared_from_this(), throughExporter ? "Export" : "Flatten",
                                   withAttributes};
    const Destination file(fileName);
    ComponentResult status = movie_ ? file.status() : invalidMovie;
    if (status == noErr)
        status = throughExporter ? exportMovie(movie_, file, progress)
                                 : flattenMovie(movie_, file, progress);
    if (error)
        *error =
            status == noErr ? NSError() : NSError::errorWithDomain(NSOSStatusErrorDomain, status);
    return status == noErr;
}

}  // namespace TWQuickTime
