#include "Engines/playback/SoundPlayer.h"

#include <algorithm>
#include <cmath>
#include <thread>

#include "Engines/playback/Conductor.h"
#include "Engines/transcode/SoundEnd.h"

namespace TWQuickTime::playback {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

constexpr double kSlowestRate = 0.01;
constexpr double kFastestRate = 100;
constexpr float kGreatestGain = 100;
constexpr codec::SoundFormat kFormatOfSilence{2, 48000};

std::int64_t durationOf(const timeline::Movie& movie, std::int64_t rate) {
    std::int64_t end = 0;
    for (const auto& track : movie.tracks) {
        end = std::max(end, transcode::soundEnd(movie, *track, rate));
    }
    return end;
}

}  // namespace

/// The conductor with the thread, or without one, that makes its steps.
class SoundPlayer::Core {
  public:
    Core(const timeline::Movie& movie, std::unique_ptr<LapReader> laps, PlayerOptions options)
        : hasThread_(options.pumping == Pumping::onItsThread),
          movieRate_(std::int64_t(laps->format().sampleRate)),
          toldEnd_(timeline::rescale(movie.duration(), std::max(movie.timeScale, 1u), movieRate_)),
          duration_(durationOf(movie, movieRate_)),
          conductor_(movie, std::move(laps), std::move(options), {.range = {0, duration_}}) {}

    ~Core() {
        if (thread_.joinable()) {
            conductor_.quit();
            thread_.join();
        }
    }

    /// The conductor, with everything done that has come due.
    Conductor& upToDate() {
        catchUp();
        return conductor_;
    }
    /// Makes what was just asked for happen, where no thread does it.
    void catchUp() {
        while (!hasThread_ && conductor_.step()) {
        }
    }
    void startThread() {
        if (hasThread_ && !thread_.joinable()) {
            thread_ = std::thread([this] {
                while (!conductor_.hasQuit()) {
                    if (!conductor_.step()) {
                        conductor_.waitForWork();
                    }
                }
            });
        }
    }

    std::int64_t movieRate() const { return movieRate_; }
    std::int64_t duration() const { return duration_; }
    /// The movie's end as its own time scale says it means its end to the sample.
    std::int64_t frameOf(Time time) const {
        const std::int64_t frame = time.nearestIn(movieRate_);
        return frame == toldEnd_ ? duration_ : std::clamp<std::int64_t>(frame, 0, duration_);
    }
    const Conductor& conductor() const { return conductor_; }

    template <class Change>
    void change(Change change) {
        PlaySettings settings = upToDate().settings();
        change(settings);
        conductor_.setSettings(settings);
        catchUp();
    }

  private:
    const bool hasThread_;
    const std::int64_t movieRate_;
    const std::int64_t toldEnd_;
    const std::int64_t duration_;
    Conductor conductor_;
    std::thread thread_;
};

SoundPlayer::SoundPlayer(std::unique_ptr<Core> core) : core_(std::move(core)) {}
SoundPlayer::~SoundPlayer() = default;

Expected<std::unique_ptr<SoundPlayer>> SoundPlayer::open(const timeline::Movie& movie,
                                                         PlayerOptions options) {
    codec::SoundFormat format = transcode::naturalSoundFormat(movie, nullptr);
    if (format.channels < 1) {
        format = kFormatOfSilence;
    }
    format.sampleRate = std::round(format.sampleRate);
    auto laps = LapReader::open(movie, format);
    if (!laps) {
        return laps.failure();
    }
    return std::unique_ptr<SoundPlayer>(
        new SoundPlayer(std::make_unique<Core>(movie, std::move(*laps), std::move(options))));
}

std::int64_t SoundPlayer::framesPerSecond() const {
    return core_->movieRate();
}

Time SoundPlayer::duration() const {
    return {core_->duration(), core_->movieRate()};
}

void SoundPlayer::setRange(Time in, Time out) {
    core_->change([&](PlaySettings& settings) {
        settings.range = {core_->frameOf(in), core_->frameOf(out)};
    });
}

void SoundPlayer::setWholeRange() {
    core_->change([&](PlaySettings& settings) { settings.range = {0, core_->duration()}; });
}

void SoundPlayer::setLoops(bool loops) {
    core_->change([&](PlaySettings& settings) { settings.loops = loops; });
}

Status SoundPlayer::setRate(double rate) {
    if (!(rate > 0)) {
        return Failure{FailureKind::badArgument, "sound plays forward, at a rate above 0"};
    }
    core_->change([&](PlaySettings& settings) {
        settings.rate = std::clamp(rate, kSlowestRate, kFastestRate);
    });
    return {};
}

double SoundPlayer::rate() const {
    return core_->conductor().settings().rate;
}

void SoundPlayer::seek(Time position) {
    core_->upToDate().seek(core_->frameOf(position));
    core_->catchUp();
}

void SoundPlayer::play() {
    core_->upToDate().play();
    core_->startThread();
    core_->catchUp();
}

void SoundPlayer::stop() {
    core_->upToDate().stop();
    core_->catchUp();
}

bool SoundPlayer::isRunning() const {
    return core_->conductor().isRunning();
}

void SoundPlayer::setGain(float gain) {
    // What is no number is silence.
    const float held = gain > 0 ? std::min(gain, kGreatestGain) : 0.0f;
    core_->upToDate().setGain(held);
}

Time SoundPlayer::heardPosition() {
    return {core_->upToDate().heard().position, core_->movieRate()};
}

bool SoundPlayer::reachedEnd() {
    return core_->upToDate().heard().atEnd;
}

float SoundPlayer::takePeak() {
    return core_->upToDate().takePeak();
}

OutputState SoundPlayer::outputState() const {
    return core_->conductor().outputState();
}

std::string SoundPlayer::outputName() const {
    return core_->conductor().outputName();
}

Status SoundPlayer::outputFailure() const {
    return core_->conductor().outputFailure();
}

std::optional<std::int64_t> SoundPlayer::nextEventInNanoseconds() {
    return core_->upToDate().nextEventInNanoseconds();
}

}  // namespace TWQuickTime::playback
