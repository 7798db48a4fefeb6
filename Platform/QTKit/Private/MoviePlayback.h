// The transport of a movie: its rate, its place while it plays, the range that is played, its
// volume; and the sound player behind them, which is made when the movie first plays, or before.
//
//     auto playback = std::make_shared<MoviePlayback>(movie, [](const char* name) { … });
//     playback->setRate(1);
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "Engines/playback/SoundPlayer.h"
#include "MovieTypes.h"
#include "NSRunLoop.h"
#include "NSString.h"
#include "QTTime.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

/// Belongs to one thread. Whatever changes while the movie plays is found out on that thread's run
/// loop.
class MoviePlayback : public std::enable_shared_from_this<MoviePlayback> {
  public:
    /// @param movie  outlives the playback
    /// @param tell   is given the names of QTMovie…Notification
    MoviePlayback(Movie movie, std::function<void(const char* notification)> tell);

    float rate() const { return rate_; }
    /// See QTMovie::setRate. A movie that is not loaded yet starts with movieWasLoaded().
    OSErr setRate(float rate);
    /// The run loop of a movie that has played; null before.
    const std::shared_ptr<NSRunLoop>& loop() const { return loop_; }

    QTTime currentTime() const;
    void setCurrentTime(QTTime time);
    QTTime duration() const;

    /// 0 to 1.
    float volume() const;
    void setVolume(float volume);
    /// The greatest absolute sample that was played since the last call.
    float takeSoundPeak();

    /// None: all of the movie. A movie that stands outside of the range moves to its start.
    void setRange(const std::optional<QTTimeRange>& range);
    void setLoops(bool loops);

    /// Where the sound goes when the movie plays next: nil for the best device there is.
    void setOutput(const NSString& name);
    /// Nil for no file; else the sound goes there and to no device.
    void setSoundFile(const NSString& path);
    /// Of the device that plays; nil before one does.
    NSString outputName() const;
    /// Why the device that was asked for does not play; noErr while it does.
    std::int32_t outputStatus() const;

    /// Opens decoders, so that playing begins without that wait.
    void prepare();
    void movieWasLoaded();
    void movieCannotBeLoaded();

  private:
    struct Range {
        QTTime in;
        QTTime out;
    };

    bool isLoaded() const;
    /// Whether the player moves the time.
    bool isRunning() const { return player_ && player_->isRunning(); }
    OSErr start();
    void halt(QTTime at);
    OSErr preparePlayer();
    playback::PlayerOptions playerOptions() const;
    Range rangeWithinMovie() const;
    bool isOutsideOfRange(QTTime time) const;
    void standAt(QTTime time);

    void lookForEvents();
    void scheduleLook(double latestInSeconds = NSRunLoop::forever);

    Movie movie_;
    std::function<void(const char*)> tell_;
    std::shared_ptr<NSRunLoop> loop_;

    float rate_ = 0;
    std::optional<float> volume_;
    std::optional<QTTimeRange> range_;
    bool loops_ = false;
    NSString outputChoice_ = nullptr;
    NSString soundFile_ = nullptr;

    /// Where a movie stands whose own units are too coarse to say it.
    QTTime fineTime_ = QTZeroTime;
    /// The movie's own time that belongs to fineTime_.
    TimeValue coarseTime_ = 0;

    std::unique_ptr<playback::SoundPlayer> player_;
    /// Of the movie that the player was made for; 0: it shall be made anew.
    std::uint64_t fingerprint_ = 0;
    NSString toldOutputName_ = nullptr;
};

}  // namespace TWQuickTime
