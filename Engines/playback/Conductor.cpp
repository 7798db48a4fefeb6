#include "Engines/playback/Conductor.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "Engines/timeline/Rescale.h"

namespace TWQuickTime::playback {

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
/// How far the decoding thread is ahead of the device, at most.
constexpr double kRingInSeconds = 0.75;
/// A change while playing takes effect so far in front of the device, so that it is decoded in
/// time.
constexpr double kJoinMarginInSeconds = 0.06;
/// What is decoded before a take is handed over: more than a device takes at its start.
constexpr double kInFrontInSeconds = 0.15;
constexpr auto kBetweenSteps = std::chrono::milliseconds(20);
/// Devices without a thread are kept so far ahead that a late step does no harm.
constexpr std::int64_t kPumpAhead = 100'000'000;
constexpr std::int64_t kBetweenDeviceChecks = 200'000'000;
constexpr std::int64_t kSoonestEvent = 200'000;

}  // namespace

Conductor::Conductor(const timeline::Movie& movie, std::unique_ptr<LapReader> laps,
                     PlayerOptions options, PlaySettings settings)
    : movie_(movie),
      options_(std::move(options)),
      movieRate_(std::int64_t(laps->format().sampleRate)),
      keeper_(options_.devices, options_.clock, laps->format()),
      laps_(std::move(laps)) {
    wishes_.settings = settings;
}

PlaySettings Conductor::settings() const {
    const std::lock_guard lock(mutex_);
    return wishes_.settings;
}

PlayPlan Conductor::planFrom(std::int64_t position, FrameRatio ratio) const {
    const PlaySettings& settings = wishes_.settings;
    return PlayPlan::from(position, settings.range, settings.loops, ratio);
}

/// Puts the playhead somewhere; what sounds until it gets there is not reported any more.
void Conductor::goTo(std::int64_t position) {
    anchor_ = {position, false};
    if (wishes_.runs) {
        const PlayPlan plan = planFrom(position, {});
        anchor_ = {plan.start, plan.length() == 0};
    }
    ++wishes_.seekNumber;
    changed_.notify_one();
}

void Conductor::setSettings(const PlaySettings& settings) {
    const std::lock_guard lock(mutex_);
    const Heard now = heardLocked();
    wishes_.settings = settings;
    if (!wishes_.runs) {
        anchor_.atEnd = false;
    } else if (now.atEnd) {
        goTo(now.position);
    }
    changed_.notify_one();
}

void Conductor::seek(std::int64_t position) {
    const std::lock_guard lock(mutex_);
    goTo(position);
}

void Conductor::play() {
    const std::lock_guard lock(mutex_);
    if (wishes_.runs && !heardLocked().atEnd) {
        return;
    }
    const Heard now = heardLocked();
    wishes_.runs = true;
    goTo(now.position);
}

void Conductor::stop() {
    const std::lock_guard lock(mutex_);
    anchor_ = heardLocked();
    wishes_.runs = false;
    changed_.notify_one();
}

bool Conductor::isRunning() const {
    const std::lock_guard lock(mutex_);
    return wishes_.runs;
}

void Conductor::setGain(float gain) {
    const std::lock_guard lock(mutex_);
    gain_ = gain;
    if (session_) {
        session_->renderer.setGain(gain);
    }
}

float Conductor::takePeak() {
    const std::lock_guard lock(mutex_);
    return session_ ? session_->renderer.takePeak() : 0.0f;
}

Conductor::Heard Conductor::heard() {
    const std::lock_guard lock(mutex_);
    return heardLocked();
}

Conductor::Heard Conductor::heardLocked() {
    if (!wishes_.runs || !session_) {
        return anchor_;
    }
    framesHeard_ = std::max(framesHeard_, session_->device->progress().framesHeard);
    const auto entry = session_->renderer.log().at(framesHeard_);
    if (!entry || entry->seekNumber != wishes_.seekNumber) {
        return anchor_;
    }
    const std::int64_t takeFrame = entry->takeFrameAt(framesHeard_);
    return {entry->plan.positionAt(takeFrame), takeFrame >= entry->plan.length()};
}

OutputState Conductor::outputState() const {
    const std::lock_guard lock(mutex_);
    if (!session_) {
        return wishes_.runs ? OutputState::opening : OutputState::none;
    }
    return session_->isStandIn ? OutputState::standIn : OutputState::playing;
}

std::string Conductor::outputName() const {
    const std::lock_guard lock(mutex_);
    return session_ ? session_->device->name() : std::string();
}

result::Status Conductor::outputFailure() const {
    const std::lock_guard lock(mutex_);
    return outputFailure_;
}

std::optional<std::int64_t> Conductor::nextEventInNanoseconds() {
    const std::lock_guard lock(mutex_);
    const Heard now = heardLocked();
    if (!wishes_.runs || now.atEnd) {
        return std::nullopt;
    }
    const std::int64_t clockNow = options_.clock->nanoseconds();
    std::optional<std::int64_t> next = nextLook_;
    if (options_.pumping == Pumping::onItsThread) {
        next = clockNow + kBetweenDeviceChecks;
    }
    if (!session_ || wishes_.settings.loops) {
        return next;
    }
    // Of the device's frames, so that the end has been heard to the last one.
    const auto deviceRate = std::int64_t(session_->device->format().sampleRate);
    const auto ratio = FrameRatio::of(movieRate_, wishes_.settings.rate, deviceRate);
    const auto entry = session_->renderer.log().at(framesHeard_);
    std::int64_t left = planFrom(now.position, ratio).length();
    if (entry && entry->seekNumber == wishes_.seekNumber) {
        left = entry->plan.length() == PlayPlan::kEndless
                   ? left
                   : entry->plan.length() - entry->takeFrameAt(framesHeard_);
    }
    std::int64_t wait = timeline::rescaleUp(left, deviceRate, kNanosecondsPerSecond);
    if (options_.pumping == Pumping::onItsThread) {
        wait = std::max(wait, kSoonestEvent);
    }
    const std::int64_t end = timeline::addSaturating(clockNow, wait);
    return next ? std::min(*next, end) : end;
}

FrameRatio Conductor::ratioNow() const {
    return FrameRatio::of(movieRate_, done_.settings.rate,
                          std::int64_t(playing_->device->format().sampleRate));
}

bool Conductor::step() {
    Wishes before;
    {
        const std::lock_guard lock(mutex_);
        before = std::exchange(done_, wishes_);
        start_ = anchor_.position;
    }
    if ((!done_.runs && !isStarted_) || !followDevice()) {
        return false;
    }
    if (!done_.runs) {
        haltDevice();
        return false;
    }
    if (!isStarted_) {
        startDevice();
    } else if (done_.seekNumber != before.seekNumber) {
        takeFromAnchor();
    } else if (done_.settings != before.settings) {
        takeOverFromLatest();
    }
    playing_->renderer.collectRetired();
    if (playing_->device->isPumped()) {
        playing_->device->pump(options_.pumping == Pumping::onItsThread ? kPumpAhead : 0);
        return false;
    }
    return writer_.writePiece();
}

/// Goes over to the keeper's device. False while there is none.
bool Conductor::followDevice() {
    keeper_.look();
    const std::shared_ptr<Session>& current = keeper_.current();
    std::shared_ptr<Session> left;
    {
        const std::lock_guard lock(mutex_);
        nextLook_ = keeper_.nextLook();
        outputFailure_ = keeper_.failure();
        if (current == playing_) {
            return current != nullptr;
        }
        anchor_ = heardLocked();
        start_ = anchor_.position;
        current->renderer.setGain(gain_);
        session_ = current;
        framesHeard_ = 0;
    }
    left = std::exchange(playing_, current);
    writer_.forget();
    latest_ = nullptr;
    isStarted_ = false;
    const codec::SoundFormat format{playing_->device->format().channels, double(movieRate_)};
    if (format != laps_->format()) {
        if (auto laps = LapReader::open(movie_, format)) {
            laps_ = std::move(*laps);
        }
    }
    std::function<void()> refill;
    if (playing_->device->isPumped()) {
        refill = [this] { writer_.writePiece(); };
    }
    playing_->renderer.prepare(playing_->device->format(), std::move(refill));
    return true;
}

void Conductor::startDevice() {
    playing_->renderer.reset();
    takeFromAnchor();
    playing_->device->start();
    isStarted_ = true;
}

void Conductor::haltDevice() {
    playing_->device->stop();
    playing_->renderer.reset();
    writer_.forget();
    latest_ = nullptr;
    isStarted_ = false;
}

void Conductor::takeFromAnchor() {
    const PlaySettings& settings = done_.settings;
    playing_->renderer.withdraw().reset();
    publish(PlayPlan::from(start_, settings.range, settings.loops, ratioNow()), Take::kAtOnce);
}

void Conductor::takeOverFromLatest() {
    const PlaySettings& settings = done_.settings;
    const auto planAt = [&](std::int64_t position) {
        return PlayPlan::from(position, settings.range, settings.loops, ratioNow());
    };
    if (const auto unseen = playing_->renderer.withdraw()) {
        publish(planAt(unseen->plan.start), unseen->joinFrame);
        return;
    }
    std::int64_t joinFrame = latest_->framesPlayed.load(std::memory_order_acquire);
    if (!playing_->device->isPumped()) {
        joinFrame += std::llround(playing_->device->format().sampleRate * kJoinMarginInSeconds);
        joinFrame = std::min(joinFrame, writer_.framesWritten());
    }
    joinFrame = std::min(joinFrame, latest_->length);
    const std::int64_t position = latest_->plan.positionAt(joinFrame);
    const PlayPlan plan = planAt(position);
    // Who jumps need not wait for the frame to jump from.
    publish(plan, plan.start == position ? joinFrame : Take::kAtOnce);
}

void Conductor::publish(const PlayPlan& plan, std::int64_t joinFrame) {
    const codec::SoundFormat format = playing_->device->format();
    const auto ringFrames = playing_->device->isListening()
                                ? std::size_t(std::max(format.sampleRate * kRingInSeconds, 8192.0))
                                : 0;
    auto take = std::make_unique<Take>(plan, ringFrames, std::size_t(format.channels));
    take->seekNumber = done_.seekNumber;
    take->joinFrame = joinFrame;
    latest_ = take.get();
    writer_.begin(*take, *laps_);
    if (!playing_->device->isPumped()) {
        const double inFront = format.sampleRate * kInFrontInSeconds;
        while (double(writer_.framesWritten()) < inFront && writer_.writePiece()) {
        }
    }
    playing_->renderer.publish(std::move(take));
}

void Conductor::waitForWork() {
    std::unique_lock lock(mutex_);
    const auto isWanted = [this] { return quits_ || wishes_ != done_; };
    if (wishes_.runs) {
        changed_.wait_for(lock, kBetweenSteps, isWanted);
    } else {
        changed_.wait(lock, isWanted);
    }
}

void Conductor::quit() {
    const std::lock_guard lock(mutex_);
    quits_ = true;
    changed_.notify_one();
}

bool Conductor::hasQuit() const {
    const std::lock_guard lock(mutex_);
    return quits_;
}

}  // namespace TWQuickTime::playback
