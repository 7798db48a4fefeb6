// The export of a movie object with a setting: the preset stands in as the movie's delegate.
#include "QTMovie.h"
#include "TWQECSFormat.h"
#include "TWQECSSetting.h"

namespace TWQuickTime {
namespace {

/// The movie's own delegate, as the export delegate that it serves as.
std::shared_ptr<TWQECSExportDelegate> asExportDelegate(
    const std::shared_ptr<QTMovieDelegate>& delegate) {
    auto forExport = std::make_shared<TWQECSExportDelegate>();
    forExport->movieShouldContinueOperation = delegate->movieShouldContinueOperation;
    return forExport;
}

}  // namespace

bool TWQECSSetting::exportQTMovie(const std::shared_ptr<QTMovie>& movie, const NSString& toFilePath,
                                  NSError* error) {
    TWQECSExportStep step{.used = identifier()};
    setExportRecord({{step}});
    if (!movie)
        return false;
    NSDictionary attributes{{QTMovieExport, true},
                            {QTMovieExportManufacturer, componentManufacturer()},
                            {QTMovieExportType, componentSupType()}};
    if (const NSData settings = componentSettingsAtomData())
        attributes.setObject(settings, QTMovieExportSettings);
    const std::shared_ptr<QTMovieDelegate> moviesOwn = movie->delegate();
    std::shared_ptr<TWQECSExportDelegate> standIn;
    if (!exportDelegate() && moviesOwn) {
        standIn = asExportDelegate(moviesOwn);
        setExportDelegate(standIn);
    }
    const auto delegate = std::make_shared<QTMovieDelegate>();
    delegate->movieShouldContinueOperation =
        [this](const std::shared_ptr<QTMovie>& exported, const NSString& operation,
               std::int32_t withPhase, float atPercent, const NSDictionary& withAttributes) {
            return movieShouldContinueOperation(exported, operation, withPhase, atPercent,
                                                withAttributes);
        };
    delegate->movieShouldTask = [this](const std::shared_ptr<QTMovie>& exported) {
        return movieShouldTask(exported);
    };
    movie->setDelegate(delegate);
    const bool result = movie->writeToFile(toFilePath, attributes, error);
    movie->setDelegate(moviesOwn);
    if (standIn)
        setExportDelegate(nullptr);
    step.output = toFilePath;
    step.succeeded = result;
    setExportRecord({{std::move(step)}});
    return result;
}

bool TWQECSSetting::movieShouldContinueOperation(const std::shared_ptr<QTMovie>& movie,
                                                 const NSString& operation, std::int32_t withPhase,
                                                 float atPercent,
                                                 const NSDictionary& withAttributes) {
    const auto delegate = exportDelegate();
    if (!delegate || !delegate->movieShouldContinueOperation)
        return true;
    return delegate->movieShouldContinueOperation(movie, operation, withPhase, atPercent,
                                                  withAttributes);
}

bool TWQECSSetting::movieShouldTask(const std::shared_ptr<QTMovie>&) {
    return false;
}

}  // namespace TWQuickTime
