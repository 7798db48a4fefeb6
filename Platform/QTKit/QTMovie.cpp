#include "QTMovie.h"

#include <array>

#include "Apertures.h"
#include "DataReferences.h"
#include "Handles.h"
#include "Movies.h"
#include "Private/MovieLoader.h"
#include "Private/MoviePlayback.h"
#include "QTTrack.h"
#include "Tracks.h"

namespace TWQuickTime {
namespace {

struct NamedMode {
    const char* name;
    OSType mode;
};

constexpr std::array kApertureModes = {
    NamedMode{QTMovieApertureModeClassic, kQTApertureMode_Classic},
    NamedMode{QTMovieApertureModeClean, kQTApertureMode_CleanAperture},
    NamedMode{QTMovieApertureModeProduction, kQTApertureMode_ProductionAperture},
    NamedMode{QTMovieApertureModeEncodedPixels, kQTApertureMode_EncodedPixels},
};

void give(NSError* error, OSStatus status) {
    if (error)
        *error =
            status == noErr ? NSError() : NSError::errorWithDomain(NSOSStatusErrorDomain, status);
}

OSErr openMovie(const NSString& path, std::int16_t flags, Movie* movie) {
    Handle reference = nullptr;
    OSType type = 0;
    OSErr status = QTNewDataReferenceFromFullPathCFString(path, kQTNativeDefaultPathStyle, 0,
                                                          &reference, &type);
    if (status == noErr)
        status = NewMovieFromDataRef(movie, flags, nullptr, reference, type);
    if (reference)
        DisposeHandle(reference);
    return status;
}

bool hasTrackOf(Movie movie, OSType characteristic) {
    return GetMovieIndTrackType(movie, 1, characteristic,
                                movieTrackCharacteristic | movieTrackEnabledOnly) != nullptr;
}

}  // namespace

QTMovieDelegate::~QTMovieDelegate() = default;

QTMovie::~QTMovie() {
    // They work on the toolbox's movie.
    loader_.reset();
    playback_.reset();
    if (disposesOfMovie_)
        DisposeMovie(movie_);
}

void QTMovie::adopt(Movie movie, bool disposeWhenDone) {
    movie_ = movie;
    disposesOfMovie_ = disposeWhenDone;
    playback_ = std::make_shared<MoviePlayback>(movie, notifier());
}

bool QTMovie::openWithAttributes(const NSDictionary& attributes, NSError* error) {
    const NSString path = attributes.objectForKey(QTMovieFileNameAttribute).stringValue();
    const bool goesOnLater = attributes.objectForKey(QTMovieOpenAsyncOKAttribute).boolValue();
    const auto flags =
        static_cast<std::int16_t>(newMovieActive | (goesOnLater ? newMovieAsyncOK : 0));
    Movie movie = nullptr;
    const OSErr status = path ? openMovie(path, flags, &movie) : paramErr;
    give(error, status);
    if (status != noErr)
        return false;
    adopt(movie, true);
    for (const NSDictionary::Entry& entry : attributes)
        setAttribute(entry.second, entry.first);
    if (goesOnLater)
        startLoading();
    return true;
}

std::shared_ptr<QTMovie> QTMovie::initWithAttributes(const NSDictionary& attributes,
                                                     NSError* error) {
    std::shared_ptr<QTMovie> movie(new QTMovie);
    return movie->openWithAttributes(attributes, error) ? movie : nullptr;
}

std::shared_ptr<QTMovie> QTMovie::initWithFile(const NSString& fileName, NSError* error) {
    return initWithAttributes({{QTMovieFileNameAttribute, fileName}}, error);
}

std::shared_ptr<QTMovie> QTMovie::movieWithFile(const NSString& fileName, NSError* error) {
    return initWithFile(fileName, error);
}

std::shared_ptr<QTMovie> QTMovie::movieWithQuickTimeMovie(Movie movie, bool disposeWhenDone,
                                                          NSError* error) {
    // Asks the toolbox whether it is a movie at all.
    GetMovieTimeScale(movie);
    const OSErr status = GetMoviesError();
    give(error, status);
    if (status != noErr)
        return nullptr;
    std::shared_ptr<QTMovie> object(new QTMovie);
    object->adopt(movie, disposeWhenDone);
    return object;
}

QTTime QTMovie::duration() const {
    return playback_->duration();
}

std::vector<std::shared_ptr<QTTrack>> QTMovie::tracks() {
    std::vector<std::shared_ptr<QTTrack>> result;
    const std::int32_t count = GetMovieTrackCount(movie_);
    for (std::int32_t i = 1; i <= count; ++i)
        result.push_back(std::make_shared<QTTrack>(weak_from_this(), GetMovieIndTrack(movie_, i)));
    return result;
}

std::vector<std::shared_ptr<QTTrack>> QTMovie::tracksOfMediaType(OSType mediaType) {
    std::vector<std::shared_ptr<QTTrack>> result;
    for (std::int32_t i = 1;; ++i) {
        const Track track = GetMovieIndTrackType(movie_, i, mediaType, movieTrackMediaType);
        if (!track)
            return result;
        result.push_back(std::make_shared<QTTrack>(weak_from_this(), track));
    }
}

QTAttributeValue QTMovie::attributeForKey(const NSString& attributeKey) const {
    if (attributeKey == QTMovieTimeScaleAttribute)
        return GetMovieTimeScale(movie_);
    if (attributeKey == QTMovieDurationAttribute)
        return duration();
    if (attributeKey == QTMovieCurrentTimeAttribute)
        return currentTime();
    if (attributeKey == QTMovieLoadStateAttribute)
        return loader_ ? loader_->state() : GetMovieLoadState(movie_);
    if (attributeKey == QTMovieSoundOutputStatusAttribute)
        return playback_->outputStatus();
    if (attributeKey == QTMovieSoundOutputNameAttribute) {
        const NSString name = playback_->outputName();
        return name.isNil() ? QTAttributeValue() : QTAttributeValue(name);
    }
    if (attributeKey == QTMovieHasApertureModeDimensionsAttribute)
        return MovieHasApertureModeDimensions(movie_);
    if (attributeKey == QTMovieHasVideoAttribute)
        return hasTrackOf(movie_, fourCC("eyes"));
    if (attributeKey == QTMovieHasAudioAttribute)
        return hasTrackOf(movie_, fourCC("ears"));
    if (attributeKey == QTMovieApertureModeAttribute) {
        for (const NamedMode& named : kApertureModes)
            if (named.mode == GetMovieApertureMode(movie_))
                return named.name;
    }
    const auto found = attributes_.find(attributeKey);
    return found == attributes_.end() ? QTAttributeValue() : found->second;
}

void QTMovie::setAttribute(const QTAttributeValue& value, const NSString& forKey) {
    if (forKey == QTMovieTimeScaleAttribute) {
        SetMovieTimeScale(movie_, value.intValue());
    } else if (forKey == QTMovieCurrentTimeAttribute) {
        setCurrentTime(value.timeValue());
    } else if (forKey == QTMovieApertureModeAttribute) {
        for (const NamedMode& named : kApertureModes)
            if (value.stringValue() == named.name)
                SetMovieApertureMode(movie_, named.mode);
    } else {
        attributes_[forKey] = value;
        if (forKey == QTMovieSelectionAttribute || forKey == QTMoviePlaysSelectionOnlyAttribute)
            applyRange();
        else if (forKey == QTMovieLoopsAttribute)
            playback_->setLoops(value.boolValue());
        else if (forKey == QTMovieSoundOutputAttribute)
            playback_->setOutput(value.stringValue());
        else if (forKey == QTMovieSoundFileAttribute)
            playback_->setSoundFile(value.stringValue());
    }
}

void QTMovie::generateApertureModeDimensions() {
    GenerateMovieApertureModeDimensions(movie_);
}

}  // namespace TWQuickTime
