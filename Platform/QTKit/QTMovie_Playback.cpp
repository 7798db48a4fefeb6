// What a movie does as time goes by: it loads, plays and tells so.
#include "Engines/playback/DeviceChoice.h"
#include "NSNotificationCenter.h"
#include "Private/MovieLoader.h"
#include "Private/MoviePlayback.h"
#include "QTMovie.h"

namespace TWQuickTime {

std::function<void(const char*)> QTMovie::notifier() {
    return [weakMovie = weak_from_this()](const char* notification) {
        const std::shared_ptr<QTMovie> movie = weakMovie.lock();
        if (!movie)
            return;
        NSNotificationCenter::defaultCenter().postNotificationName(
            notification, movie, nullptr,
            movie->loader_ ? movie->loader_->loop() : movie->playback_->loop());
    };
}

void QTMovie::startLoading() {
    loader_ = std::make_shared<MovieLoader>(movie_, NSRunLoop::currentRunLoop(),
                                            [weakMovie = weak_from_this()] {
                                                if (const auto movie = weakMovie.lock())
                                                    movie->loadStateDidChange();
                                            });
    loader_->start();
}

void QTMovie::loadStateDidChange() {
    const std::int32_t state = loader_->state();
    const auto tell = notifier();
    if (state == kMovieLoadStateLoaded) {
        applyRange();
        playback_->movieWasLoaded();
    } else if (state == kMovieLoadStatePlayable) {
        playback_->prepare();
    } else if (state == kMovieLoadStateError) {
        playback_->movieCannotBeLoaded();
    }
    tell(QTMovieLoadStateDidChangeNotification);
}

void QTMovie::applyRange() {
    const bool isLimited = attributes_[QTMoviePlaysSelectionOnlyAttribute].boolValue();
    const QTAttributeValue& selection = attributes_[QTMovieSelectionAttribute];
    playback_->setRange(isLimited && !selection.isNil()
                            ? std::optional<QTTimeRange>(selection.timeRangeValue())
                            : std::nullopt);
}

QTTime QTMovie::currentTime() const {
    return playback_->currentTime();
}

void QTMovie::setCurrentTime(QTTime time) {
    // Whoever is told may release the movie.
    const auto alive = weak_from_this().lock();
    playback_->setCurrentTime(time);
}

float QTMovie::rate() const {
    return playback_->rate();
}

OSErr QTMovie::setRate(float rate) {
    const auto alive = weak_from_this().lock();
    return playback_->setRate(rate);
}

void QTMovie::play() {
    setRate(1);
}

void QTMovie::stop() {
    setRate(0);
}

float QTMovie::volume() const {
    return playback_->volume();
}

void QTMovie::setVolume(float volume) {
    const auto alive = weak_from_this().lock();
    playback_->setVolume(volume);
}

float QTMovie::takeSoundPeak() {
    return playback_->takeSoundPeak();
}

std::vector<NSString> QTMovie::soundOutputNames() {
    std::vector<NSString> names;
    for (const playback::DeviceListing& device : playback::listOutputDevices())
        names.push_back(NSString(device.name));
    return names;
}

}  // namespace TWQuickTime
