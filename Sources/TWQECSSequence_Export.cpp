// The export of a movie in several passes, and what its delegate hears of them.
#include <algorithm>
#include <atomic>

#include "MovieProgress.h"
#include "Movies.h"
#include "NSFileManager.h"
#include "NSTemporaryDirectory.h"
#include "TWLog.h"
#include "TWQECSSequence.h"
#include "TWUQuickTimeMovie.h"

namespace TWQuickTime {
namespace {

constexpr std::int8_t kReadPermission = 1;

/// Counts the temporary files of the process; never begins anew.
std::atomic<int> temporaryFileCount = 0;

NSString newTemporaryPath(const NSString& extension) {
    const NSString path = NSTemporaryDirectory().stringByAppendingString(
        formatString("/EPR%d", temporaryFileCount++));
    return extension ? path.stringByAppendingPathExtension(extension) : path;
}

/// The output of the step before, opened; closed and deleted at the end of the step.
class IntermediateMovie {
  public:
    explicit IntermediateMovie(NSString path) : path_(std::move(path)) {
        FSSpec file;
        std::int16_t resRefNum = 0;
        OSErr status = noErr;
        movie_ = TWUQuickTimeMovie::createMovieFromPath(path_, kReadPermission, &file, &resRefNum,
                                                        &status);
    }
    ~IntermediateMovie() {
        if (!movie_)
            return;
        DisposeMovie(movie_);
        if (!NSFileManager::defaultManager().removeFileAtPath(path_))
            TWLog("Cannot delete temporary export file: %@", path_);
    }
    IntermediateMovie(const IntermediateMovie&) = delete;
    IntermediateMovie& operator=(const IntermediateMovie&) = delete;

    /// Null when it could not be opened.
    Movie movie() const { return movie_; }

  private:
    NSString path_;
    Movie movie_ = nullptr;
};

}  // namespace

bool TWQECSSequence::exportMovie(Movie movie, const NSString& toFilePath, TimeValue fromStartTime,
                                 TimeValue withDuration, NSError* error) {
    _activeStep.reset();
    const Steps toRun = steps() ? *steps() : Steps();
    TWQECSExportRecord record{stepChoices()};
    bool result = false;
    NSString previousOutput;
    for (std::size_t i = 0; i < toRun.size(); ++i) {
        // One preset may be several steps, so the place counts, not the preset.
        const bool isLast = i + 1 == toRun.size();
        const NSString output =
            isLast ? toFilePath : newTemporaryPath(toRun[i]->exportedMovieFileExtension());
        if (i == 0) {
            result = exportStep(toRun[i], movie, output, fromStartTime, withDuration, error);
        } else {
            const IntermediateMovie input(previousOutput);
            result = exportStep(toRun[i], input.movie(), output, 0, GetMovieDuration(input.movie()),
                                error);
        }
        record.steps[i].output = output;
        record.steps[i].succeeded = result;
        if (!result)
            break;
        previousOutput = output;
    }
    setExportRecord(std::move(record));
    return result;
}

bool TWQECSSequence::exportStep(const std::shared_ptr<TWQECS>& step, Movie movie,
                                const NSString& toFilePath, TimeValue fromStartTime,
                                TimeValue withDuration, NSError* error) {
    const auto delegate = std::make_shared<TWQECSExportDelegate>();
    delegate->exportCallbackForMovie = [this](Movie exported, std::int16_t message,
                                              std::int16_t whatOperation, float percentDone,
                                              NSError* reason) {
        return exportCallbackForMovie(exported, message, whatOperation, percentDone, reason);
    };
    _activeStep = step;
    step->setExportDelegate(delegate);
    const bool result = step->exportMovie(movie, toFilePath, fromStartTime, withDuration, error);
    step->setExportDelegate(nullptr);
    _activeStep.reset();
    return result;
}

bool TWQECSSequence::exportCallbackForMovie(Movie movie, std::int16_t message,
                                            std::int16_t whatOperation, float percentDone,
                                            NSError* error) {
    if (error)
        *error = nullptr;
    // Without a delegate that has the callback the export stops here, on purpose.
    const std::shared_ptr<TWQECSExportDelegate> delegate = exportDelegate();
    if (!delegate || !delegate->exportCallbackForMovie)
        return false;
    const Steps all = steps() ? *steps() : Steps();
    const auto active = std::find(all.begin(), all.end(), activeStep());
    if (active == all.end())
        return false;
    const auto index = static_cast<std::size_t>(active - all.begin());
    const bool isOpen = message == movieProgressOpen;
    const bool isClose = message == movieProgressClose;
    if ((isOpen && index != 0) || (isClose && index + 1 != all.size()))
        return true;
    const auto count = static_cast<float>(all.size());
    const float overall =
        isOpen || isClose ? 0.0f : (1.0f / count) * static_cast<float>(index) + percentDone / count;
    NSError reason;
    if (delegate->exportCallbackForMovie(movie, message, whatOperation, overall, &reason))
        return true;
    if (error)
        *error = reason;
    if (reason)
        setExportError(reason);
    return false;
}

}  // namespace TWQuickTime
