// Brings the owner's wishes, the decoder and the device together.
//
// The owner's calls write down what is wanted and answer from what the device has got; step() makes
// it so. They may be on two threads: the mutex in between is held for moments only, never while
// anything is decoded, opened or waited for.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "Engines/playback/DeviceKeeper.h"
#include "Engines/playback/LapReader.h"
#include "Engines/playback/SoundPlayer.h"
#include "Engines/playback/TakeWriter.h"

namespace TWQuickTime::playback {

/// How to play, apart from where.
struct PlaySettings {
    PlayRange range;
    bool loops = false;
    double rate = 1;
    friend bool operator==(const PlaySettings&, const PlaySettings&) = default;
};

class Conductor {
  public:
    struct Heard {
        std::int64_t position = 0;
        bool atEnd = false;
    };

    /// @param laps  at the movie's own rate
    Conductor(const timeline::Movie& movie, std::unique_ptr<LapReader> laps, PlayerOptions options,
              PlaySettings settings);

    // The owner's side.
    PlaySettings settings() const;
    void setSettings(const PlaySettings& settings);
    void seek(std::int64_t position);
    void play();
    void stop();
    bool isRunning() const;
    void setGain(float gain);
    float takePeak();
    Heard heard();
    OutputState outputState() const;
    std::string outputName() const;
    result::Status outputFailure() const;
    std::optional<std::int64_t> nextEventInNanoseconds();

    // The decoding side.
    /// Does one piece of what is to be done. True when there is more to do at once.
    bool step();
    /// Waits until the owner wants something else or a while has passed.
    void waitForWork();
    /// Ends the waiting for good.
    void quit();
    bool hasQuit() const;

  private:
    struct Wishes {
        PlaySettings settings;
        bool runs = false;
        /// Counts play() and seek(): an answer to an older one is not believed any more.
        std::uint64_t seekNumber = 0;
        friend bool operator==(const Wishes&, const Wishes&) = default;
    };

    Heard heardLocked();
    PlayPlan planFrom(std::int64_t position, FrameRatio ratio) const;
    void goTo(std::int64_t position);

    bool followDevice();
    void startDevice();
    void haltDevice();
    void takeFromAnchor();
    void takeOverFromLatest();
    void publish(const PlayPlan& plan, std::int64_t joinFrame);
    FrameRatio ratioNow() const;

    const timeline::Movie& movie_;
    const PlayerOptions options_;
    const std::int64_t movieRate_;

    // Between the two sides.
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool quits_ = false;
    Wishes wishes_;
    /// What is reported until a frame of the newest seek is heard.
    Heard anchor_;
    /// Only forward, within one session.
    std::int64_t framesHeard_ = 0;
    float gain_ = 1;
    std::shared_ptr<Session> session_;
    result::Status outputFailure_;
    std::optional<std::int64_t> nextLook_;

    // The decoding side's own.
    DeviceKeeper keeper_;
    std::unique_ptr<LapReader> laps_;
    TakeWriter writer_;
    std::shared_ptr<Session> playing_;
    bool isStarted_ = false;
    Wishes done_;
    std::int64_t start_ = 0;  ///< the anchor that goes with done_
    Take* latest_ = nullptr;  ///< the newest take; the renderer owns it
};

}  // namespace TWQuickTime::playback
