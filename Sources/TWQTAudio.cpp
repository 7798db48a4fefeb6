#include "TWQTAudio.h"

#include <algorithm>
#include <utility>

#include "NSRunLoop.h"
#include "Private/TWQTAudioDelegateCall.h"
#include "Private/WholeNumber.h"

namespace TWQuickTime {
namespace {

/// Seconds. A delay that rounding made next to nothing must not keep the run loop busy.
constexpr double kShortestDelay = 0.0001;
/// The one load state that does not set the range, on purpose.
constexpr std::int32_t kLoadedState = 2000;

void leaveUnreleased(TWQTAudio::List envelope) {
    static std::mutex mutex;
    static auto& envelopes = *new std::vector<TWQTAudio::List>;
    std::lock_guard lock(mutex);
    envelopes.push_back(std::move(envelope));
}

}  // namespace

TWQTAudioDelegate::~TWQTAudioDelegate() = default;

TWQTAudio::List TWQTAudio::list(std::vector<std::shared_ptr<NSObject>> objects) {
    return std::make_shared<const std::vector<std::shared_ptr<NSObject>>>(std::move(objects));
}

std::shared_ptr<TWQTAudio> TWQTAudio::audioWithFile(const NSString& file,
                                                    const NSString& audioDevice, NSError* error) {
    return initWithFile(file, audioDevice, error);
}

std::shared_ptr<TWQTAudio> TWQTAudio::audioWithURL(const NSURL& url, const NSString& audioDevice,
                                                   NSError* error) {
    return initWithURL(url, audioDevice, error);
}

std::shared_ptr<TWQTAudio> TWQTAudio::initWithURL(const NSURL& url, const NSString& audioDevice,
                                                  NSError* error) {
    return initWithFile(url.path(), audioDevice, error);
}

std::shared_ptr<TWQTAudio> TWQTAudio::initWithFile(const NSString& file, const NSString&,
                                                   NSError* error) {
    std::shared_ptr<TWQTAudio> audio(new TWQTAudio);
    return audio->openFile(file, error) ? audio : nullptr;
}

bool TWQTAudio::openFile(const NSString& file, NSError* error) {
    if (!openWithAttributes({{QTMovieOpenAsyncOKAttribute, true},
                             {QTMovieEditableAttribute, true},
                             {QTMovieFileNameAttribute, file}},
                            error))
        return false;
    auto& centre = NSNotificationCenter::defaultCenter();
    const auto self = std::static_pointer_cast<TWQTAudio>(shared_from_this());
    centre.addObserver(self, &TWQTAudio::TW_didChangeRate, QTMovieRateDidChangeNotification, self);
    centre.addObserver(self, &TWQTAudio::TW_didChangeLoadState,
                       QTMovieLoadStateDidChangeNotification, self);
    return true;
}

TWQTAudio::~TWQTAudio() {
    if (TW_playing)
        TWQTAudio::stop();
    cancelPendingPerforms();
    NSNotificationCenter::defaultCenter().removeObserver(weak_from_this());
    TW_markers.reset();
    // The envelope outlives its player, on purpose.
    if (TW_volumeEnvelope)
        leaveUnreleased(std::move(TW_volumeEnvelope));
}

std::int32_t TWQTAudio::TW_loadState() const {
    return attributeForKey(QTMovieLoadStateAttribute).intValue();
}

void TWQTAudio::waitUntilLoaded() {
    while (TW_loadState() < kLoadedState)
        NSRunLoop::currentRunLoop()->clock()->sleepForSeconds(1);
}

// Transport.

void TWQTAudio::play() {
    const auto alive = weak_from_this().lock();
    tell(*this, &TWQTAudioDelegate::willStartPlayingAudio);
    TW_prepareForPlayback();
    QTMovie::play();
    TW_playing = true;
    TW_paused = false;
    TW_stopped = false;
}

void TWQTAudio::pause() {
    const auto alive = weak_from_this().lock();
    if (TW_playing && !TW_paused) {
        QTMovie::stop();
        TW_paused = true;
    } else {
        TW_prepareForPlayback();
        QTMovie::play();
        TW_paused = false;
    }
}

void TWQTAudio::stop() {
    const auto alive = weak_from_this().lock();
    if (TW_playing) {
        tell(*this, &TWQTAudioDelegate::willStopPlayingAudio);
        cancelPendingPerforms();
        QTMovie::stop();
    }
    TW_playing = false;
    TW_paused = false;
    TW_stopped = true;
}

void TWQTAudio::TW_prepareForPlayback() {
    resetNextMarker();
    TW_envelopeStartTime = TW_envelopeEndTime = -1.0;
    TW_fadeoutStartTime = TW_fadeoutEndTime = -1.0;
    TW_updateUserInterface();
    TW_updateSelection();
    TW_waitForNextMarker();
    TW_prepareNextVolumeEnvelopeFade();
}

void TWQTAudio::TW_updateSelection() {
    const double in = TW_secondsFromTime(TW_inPoint);
    const double out = TW_secondsFromTime(TW_outPoint);
    setAttribute(QTMakeTimeRange(TW_inPoint, QTMakeTimeWithTimeInterval(out - in)),
                 QTMovieSelectionAttribute);
    setAttribute(true, QTMoviePlaysSelectionOnlyAttribute);
}

void TWQTAudio::TW_updateUserInterface() {
    const auto own = std::dynamic_pointer_cast<TWQTAudioDelegate>(delegate());
    if (!own || !own->updateUserInterfaceForAudio)
        return;
    tell(*this, &TWQTAudioDelegate::updateUserInterfaceForAudio);
    performAfterDelay("TW_updateUserInterface", &TWQTAudio::TW_updateUserInterface,
                      TW_updateUserInterfaceInterval);
}

void TWQTAudio::TW_didChangeRate(const NSNotification&) {
    if (rate() > 0) {
        TW_playing = true;
        TW_paused = false;
        TW_stopped = false;
        tell(*this, &TWQTAudioDelegate::didStartPlayingAudio);
        return;
    }
    cancelPendingPerforms();
    const bool atEnd = QTTimeCompare(duration(), currentTime()) != NSOrderedDescending;
    TW_playing = false;
    if (atEnd) {
        TW_paused = false;
        TW_stopped = true;
    }
    tell(*this, &TWQTAudioDelegate::didStopPlayingAudio, atEnd);
}

void TWQTAudio::TW_didChangeLoadState(const NSNotification&) {
    const std::int32_t state = TW_loadState();
    if (state != kLoadedState) {
        if (QTTimeIsIndefinite(TW_outPoint))
            setOutPoint(duration());
        TW_updateSelection();
        setAudioLoops(TW_loops);
    }
    if (const auto own = std::dynamic_pointer_cast<TWQTAudioDelegate>(delegate());
        own && own->didChangeLoadState) {
        const auto method = own->didChangeLoadState;
        method(state, *this);
    }
}

// Times.

QTTime TWQTAudio::TW_timeFromSeconds(double seconds) const {
    const std::int32_t scale = duration().timeScale;
    return QTMakeTime(integerPart<std::int64_t>(seconds * scale + 0.5), scale);
}

double TWQTAudio::TW_secondsFromTime(QTTime time) const {
    return static_cast<double>(time.timeValue) / static_cast<double>(time.timeScale);
}

void TWQTAudio::setCurrentTime(QTTime time) {
    const auto alive = weak_from_this().lock();
    const float rateBefore = rate();
    QTMovie::setCurrentTime(time);
    setRate(rateBefore);
    resetNextMarker();
    TW_waitForNextMarker();
}

double TWQTAudio::currentTimeInSeconds() const {
    return TW_secondsFromTime(currentTime());
}

void TWQTAudio::setCurrentTimeInSeconds(double seconds) {
    setCurrentTime(TW_timeFromSeconds(seconds));
}

QTTime TWQTAudio::duration() const {
    if (TW_duration.timeValue == 0)
        TW_duration = QTMovie::duration();
    return TW_duration;
}

double TWQTAudio::durationInSeconds() const {
    return TW_secondsFromTime(duration());
}

// Range.

QTTime TWQTAudio::inPoint() const {
    std::lock_guard lock(mutex_);
    return TW_inPoint;
}

void TWQTAudio::setInPoint(QTTime inPoint) {
    std::lock_guard lock(mutex_);
    TW_inPoint = inPoint;
}

QTTime TWQTAudio::outPoint() const {
    std::lock_guard lock(mutex_);
    return TW_outPoint;
}

void TWQTAudio::setOutPoint(QTTime outPoint) {
    std::lock_guard lock(mutex_);
    TW_outPoint = outPoint;
}

double TWQTAudio::inPointInSeconds() const {
    return TW_secondsFromTime(TW_inPoint);
}

void TWQTAudio::setInPointInSeconds(double seconds) {
    setInPoint(TW_timeFromSeconds(seconds));
}

double TWQTAudio::outPointInSeconds() const {
    return TW_secondsFromTime(TW_outPoint);
}

void TWQTAudio::setOutPointInSeconds(double seconds) {
    setOutPoint(TW_timeFromSeconds(seconds));
}

void TWQTAudio::setAudioLoops(bool audioLoops) {
    TW_loops = audioLoops;
    setAttribute(audioLoops, QTMovieLoopsAttribute);
}

// Delayed performs.

void TWQTAudio::performAfterDelay(const char* selector, void (TWQTAudio::*method)(),
                                  double seconds) {
    // Without an owner there is no one left to perform for.
    NSRunLoop::currentRunLoop()->performSelector(
        std::static_pointer_cast<TWQTAudio>(weak_from_this().lock()), selector, method,
        std::max(seconds, kShortestDelay), {NSRunLoopCommonModes});
}

void TWQTAudio::cancelPendingPerforms() {
    NSRunLoop::currentRunLoop()->cancelPreviousPerformRequestsWithTarget(weak_from_this());
}

}  // namespace TWQuickTime
