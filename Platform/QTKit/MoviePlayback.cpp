#include "Private/MoviePlayback.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "Movies.h"
#include "Private/MovieRecord.h"
#include "Private/StatusOfFailure.h"
#include "QTMovie.h"

namespace TWQuickTime {
namespace {

/// The player knows the end of a changed range, rate or loop only when it has begun to play that.
constexpr double kSecondsUntilChangesTell = 0.001;

/// The run loop's time as the engine reads it.
class LoopClock : public playback::Clock {
  public:
    explicit LoopClock(std::shared_ptr<RunLoopClock> clock) : clock_(std::move(clock)) {}
    std::int64_t nanoseconds() const override { return clock_->nowInNanoseconds(); }

  private:
    std::shared_ptr<RunLoopClock> clock_;
};

/// Changes with everything that a player of the movie relies on.
std::uint64_t fingerprintOf(const timeline::Movie& movie) {
    std::uint64_t hash = movie.timeScale;
    const auto add = [&hash](std::uint64_t value) {
        hash = (hash ^ value) * 0x100000001B3u;
        hash ^= hash >> 29;
    };
    for (const auto& track : movie.tracks) {
        add(reinterpret_cast<std::uintptr_t>(track.get()));
        add(track->enabled());
        add(static_cast<std::uint16_t>(track->volume));
        add(static_cast<std::uint64_t>(track->duration()));
        add(track->edits.size());
        if (!track->media)
            continue;
        add(track->media->samples.sampleCount());
        add(static_cast<std::uint64_t>(track->media->samples.duration()));
    }
    return hash;
}

playback::Time engineTime(QTTime time) {
    if (time.timeScale <= 0)
        return {0, 1};
    return {time.timeValue, time.timeScale};
}

bool isBefore(QTTime first, QTTime second) {
    return QTTimeCompare(first, second) == NSOrderedAscending;
}

/// Times of selections are whole millionths of a second, which most ends of movies are not.
bool isNearly(QTTime first, QTTime second) {
    double a = 0;
    double b = 0;
    return QTGetTimeInterval(first, &a) && QTGetTimeInterval(second, &b) && std::abs(a - b) <= 1e-6;
}

}  // namespace

MoviePlayback::MoviePlayback(Movie movie, std::function<void(const char*)> tell)
    : movie_(movie), tell_(std::move(tell)) {}

bool MoviePlayback::isLoaded() const {
    return GetMovieLoadState(movie_) >= kMovieLoadStateLoaded;
}

QTTime MoviePlayback::duration() const {
    return QTMakeTime(GetMovieDuration(movie_), GetMovieTimeScale(movie_));
}

OSErr MoviePlayback::setRate(float rate) {
    if (!(rate >= 0) || std::isinf(rate))
        return paramErr;
    if (rate == rate_)
        return noErr;
    if (!loop_)
        loop_ = NSRunLoop::currentRunLoop();
    if (rate == 0) {
        halt(currentTime());
    } else {
        const float before = std::exchange(rate_, rate);
        if (isLoaded()) {
            if (const OSErr status = start(); status != noErr) {
                rate_ = before;
                return status;
            }
        }
    }
    tell_(QTMovieRateDidChangeNotification);
    return noErr;
}

OSErr MoviePlayback::start() {
    if (isRunning()) {
        if (!player_->setRate(rate_))
            return paramErr;
        scheduleLook(kSecondsUntilChangesTell);
        return noErr;
    }
    if (const OSErr status = preparePlayer(); status != noErr)
        return status;
    if (!player_->setRate(rate_))
        return paramErr;
    const QTTime from = currentTime();
    player_->seek(engineTime(isOutsideOfRange(from) ? rangeWithinMovie().in : from));
    player_->play();
    scheduleLook();
    return noErr;
}

OSErr MoviePlayback::preparePlayer() {
    const MovieRecord* record = liveMovie(movie_);
    if (!record)
        return invalidMovie;
    const std::uint64_t fingerprint = fingerprintOf(*record->movie);
    if (player_ && fingerprint_ == fingerprint)
        return noErr;

    // The old player gives its device back first.
    player_.reset();
    auto player = playback::SoundPlayer::open(*record->movie, playerOptions());
    if (!player)
        return statusOfFailure(player.failure());
    player_ = std::move(*player);
    fingerprint_ = fingerprint;
    player_->setGain(volume());
    const Range range = rangeWithinMovie();
    player_->setRange(engineTime(range.in), engineTime(range.out));
    player_->setLoops(loops_);
    return noErr;
}

playback::PlayerOptions MoviePlayback::playerOptions() const {
    playback::PlayerOptions options;
    options.clock = std::make_shared<LoopClock>(loop_->clock());
    const bool isRealTime = loop_->clock()->isSteadyClock();
    if (!isRealTime)
        options.pumping = playback::Pumping::byTheOwner;
    // Hardware does not follow a clock that someone moves by hand.
    if (!soundFile_.isNil())
        options.devices = playback::DeviceChoice::file(soundFile_.utf8(), options.clock);
    else if (!isRealTime)
        options.devices = playback::DeviceChoice::silent(options.clock, false);
    else
        options.devices = playback::DeviceChoice::named(
            outputChoice_.isNil() ? "" : outputChoice_.utf8(), options.clock);
    return options;
}

void MoviePlayback::halt(QTTime at) {
    if (player_)
        player_->stop();
    if (loop_)
        loop_->cancelPreviousPerformRequestsWithTarget(weak_from_this());
    rate_ = 0;
    standAt(at);
}

QTTime MoviePlayback::currentTime() const {
    if (isRunning()) {
        if (player_->reachedEnd())
            return rangeWithinMovie().out;
        const playback::Time heard = player_->heardPosition();
        return QTMakeTime(heard.value, static_cast<std::int32_t>(heard.scale));
    }
    const TimeValue coarse = GetMovieTime(movie_, nullptr);
    return coarse == coarseTime_ && fineTime_ != QTZeroTime
               ? fineTime_
               : QTMakeTime(coarse, GetMovieTimeScale(movie_));
}

void MoviePlayback::standAt(QTTime time) {
    const TimeScale scale = GetMovieTimeScale(movie_);
    const QTTime scaled = QTMakeTimeScaled(time, scale);
    SetMovieTimeValue(movie_, static_cast<TimeValue>(std::clamp<std::int64_t>(
                                  scaled.timeValue, 0, std::numeric_limits<TimeValue>::max())));
    coarseTime_ = GetMovieTime(movie_, nullptr);
    fineTime_ = QTZeroTime;
    const bool isWithinMovie = !isBefore(time, QTZeroTime) && !isBefore(duration(), time);
    if (isWithinMovie && QTTimeCompare(time, QTMakeTime(coarseTime_, scale)) != NSOrderedSame)
        fineTime_ = time;
}

void MoviePlayback::setCurrentTime(QTTime time) {
    if (isRunning()) {
        const QTTime end = duration();
        player_->seek(engineTime(isBefore(time, QTZeroTime) ? QTZeroTime
                                 : isBefore(end, time)      ? end
                                                            : time));
        scheduleLook();
    } else {
        standAt(time);
    }
    tell_(QTMovieTimeDidChangeNotification);
}

float MoviePlayback::volume() const {
    return volume_.value_or(
        std::clamp(static_cast<float>(GetMoviePreferredVolume(movie_)) / 256.0f, 0.0f, 1.0f));
}

void MoviePlayback::setVolume(float volume) {
    const float limited = volume > 0 ? std::min(volume, 1.0f) : 0.0f;
    const bool isChange = limited != this->volume();
    volume_ = limited;
    if (!isChange)
        return;
    if (player_)
        player_->setGain(limited);
    tell_(QTMovieVolumeDidChangeNotification);
}

float MoviePlayback::takeSoundPeak() {
    return player_ ? player_->takePeak() : 0;
}

MoviePlayback::Range MoviePlayback::rangeWithinMovie() const {
    const QTTime end = duration();
    if (!range_)
        return {QTMakeTime(0, end.timeScale), end};
    QTTime in = range_->time;
    QTTime out = QTTimeIncrement(range_->time, range_->duration);
    if (isBefore(in, QTZeroTime))
        in = QTMakeTime(0, end.timeScale);
    if (isBefore(end, in))
        in = end;
    if (isBefore(end, out) || isNearly(out, end))
        out = end;
    if (isBefore(out, in))
        out = in;
    return {in, out};
}

bool MoviePlayback::isOutsideOfRange(QTTime time) const {
    const Range range = rangeWithinMovie();
    return isBefore(time, range.in) || !isBefore(time, range.out);
}

void MoviePlayback::setRange(const std::optional<QTTimeRange>& range) {
    range_ = range;
    if (!isLoaded())
        return;
    const Range limited = rangeWithinMovie();
    const QTTime now = currentTime();
    const bool moves = isBefore(now, limited.in) || !isBefore(now, limited.out);
    if (player_)
        player_->setRange(engineTime(limited.in), engineTime(limited.out));
    if (isRunning()) {
        // Puts the playhead into the range at once, and not when what is decoded has been played.
        if (moves)
            player_->seek(engineTime(now));
        scheduleLook(kSecondsUntilChangesTell);
    } else if (range_ && moves) {
        standAt(limited.in);
    }
}

void MoviePlayback::setLoops(bool loops) {
    loops_ = loops;
    if (player_)
        player_->setLoops(loops);
    if (isRunning())
        scheduleLook(kSecondsUntilChangesTell);
}

void MoviePlayback::setOutput(const NSString& name) {
    outputChoice_ = name;
    fingerprint_ = 0;
}

void MoviePlayback::setSoundFile(const NSString& path) {
    soundFile_ = path;
    fingerprint_ = 0;
}

NSString MoviePlayback::outputName() const {
    const std::string name = player_ ? player_->outputName() : "";
    return name.empty() ? NSString(nullptr) : NSString(name);
}

std::int32_t MoviePlayback::outputStatus() const {
    return player_ ? statusOf(player_->outputFailure()) : noErr;
}

void MoviePlayback::prepare() {
    if (!loop_)
        loop_ = NSRunLoop::currentRunLoop();
    // A sound that cannot be decoded is told when it is to be played.
    preparePlayer();
}

void MoviePlayback::movieWasLoaded() {
    if (rate_ > 0 && !isRunning() && start() != noErr) {
        halt(currentTime());
        tell_(QTMovieRateDidChangeNotification);
    }
}

void MoviePlayback::movieCannotBeLoaded() {
    setRate(0);
}

void MoviePlayback::lookForEvents() {
    const auto alive = shared_from_this();
    if (!isRunning())
        return;
    if (player_->reachedEnd()) {
        halt(rangeWithinMovie().out);
        tell_(QTMovieRateDidChangeNotification);
        tell_(QTMovieDidEndNotification);
        return;
    }
    scheduleLook();
    if (const NSString name = outputName(); name != toldOutputName_) {
        toldOutputName_ = name;
        tell_(QTMovieSoundOutputDidChangeNotification);
    }
}

void MoviePlayback::scheduleLook(double latestInSeconds) {
    loop_->cancelPreviousPerformRequestsWithTarget(weak_from_this());
    // An end that is behind already is told in the loop's next pass.
    double delay = player_->reachedEnd() ? 0 : latestInSeconds;
    if (const auto next = player_->nextEventInNanoseconds()) {
        const std::int64_t left = *next - loop_->clock()->nowInNanoseconds();
        delay = std::min(delay, static_cast<double>(std::max<std::int64_t>(left, 0)) * 1e-9);
    }
    if (delay < NSRunLoop::forever)
        loop_->performSelector(shared_from_this(), "lookForEvents", &MoviePlayback::lookForEvents,
                               delay, {NSRunLoopCommonModes});
}

}  // namespace TWQuickTime
