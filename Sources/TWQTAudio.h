// Plays a sound file: a range of it, once or again and again, with a volume envelope, a fade-out
// and markers. It is a QTMovie that opens on the run loop of its thread, and everything that it
// does and tells happens on that run loop.
//
//     auto player = TWQTAudio::audioWithFile("/music/song.m4a", nullptr, &error);
//     player->setDelegate(delegate);                    // a TWQTAudioDelegate, kept by the caller
//     player->setMarkers(TWQTAudio::list({std::make_shared<TWQTAudioMarker>(2.5)}));
//     player->play();
//     while (!player->isStopped()) NSRunLoop::currentRunLoop()->runOnce(0.1);
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "NSError.h"
#include "NSNotificationCenter.h"
#include "NSObject.h"
#include "NSString.h"
#include "NSURL.h"
#include "QTMovie.h"
#include "QTTime.h"
#include "TWQTAudioMarker.h"
#include "TWQTExport.h"
#include "TWQTVolumeEnvelopePoint.h"

namespace TWQuickTime {

/// Gamma that maps the volume of the player to that of the movie.
TWQT_EXPORT extern const double kDefaultVolumeGamma;
/// Seconds between two steps of a volume envelope or fade-out.
TWQT_EXPORT extern const double kFadeDeltaTime;
/// Seconds between two looks at the time when a marker is near.
TWQT_EXPORT extern const double kMarkerDeltaTime;
/// Seconds before a marker from which on it is near.
TWQT_EXPORT extern const double kMarkerSleepThreshold;

class TWQTAudio;

/// What a client hears of a player; an empty member is a method that it does not have. The player
/// is valid during the call, in which it may be released: nothing is told after it has gone.
struct TWQT_EXPORT TWQTAudioDelegate : QTMovieDelegate {
    ~TWQTAudioDelegate() override;

    /// At the start of play().       (willStartPlayingAudio:)
    std::function<void(TWQTAudio& audio)> willStartPlayingAudio;
    /// The rate has changed to one above 0.       (didStartPlayingAudio:)
    std::function<void(TWQTAudio& audio)> didStartPlayingAudio;
    /// In stop(), if the player played.       (willStopPlayingAudio:)
    std::function<void(TWQTAudio& audio)> willStopPlayingAudio;
    /// The rate has changed to 0.       (didStopPlayingAudio:atEnd:)
    /// @param atEnd  whether the current time has reached the duration
    std::function<void(TWQTAudio& audio, bool atEnd)> didStopPlayingAudio;
    /// (didChangeLoadState:forAudio:)
    std::function<void(std::int32_t loadState, TWQTAudio& forAudio)> didChangeLoadState;
    /// Every updateUserInterfaceInterval() seconds from play() on.
    /// (updateUserInterfaceForAudio:)
    std::function<void(TWQTAudio& audio)> updateUserInterfaceForAudio;
    /// A marker's time has come.       (didFireMarkerForAudio:withIndex:)
    std::function<void(TWQTAudio& audio, std::uint32_t withIndex)> didFireMarkerForAudio;
};

/// All calls belong to the thread that made the player, except waitUntilLoaded().
///
/// The flags of the transport after each event ("=" for unchanged):
///
///     event                          playing  paused  stopped
///     creation                          no      no      no
///     play()                            yes     no      no
///     pause() that stops                =       yes     =       and then the rate falls
///     pause() that plays again          =       no      =       and then the rate rises
///     stop()                            no      no      yes
///     rate rises above 0                yes     no      no
///     rate falls to 0 before the end    no      =       =
///     rate falls to 0 at the end        no      no      yes
class TWQT_EXPORT TWQTAudio : public QTMovie {
  public:
    /// A list that may be nil, which is not the same as empty.
    using List = std::shared_ptr<const std::vector<std::shared_ptr<NSObject>>>;
    static List list(std::vector<std::shared_ptr<NSObject>> objects);

    /// Opens a file; loading goes on in the run loop. Null when there is no file that can be read.
    /// (audioWithFile:audioDevice:error:, initWithFile:audioDevice:error:)
    /// @param audioDevice  not used; see QTMovieSoundOutputAttribute
    /// @param error  may be null; nil on success
    static std::shared_ptr<TWQTAudio> audioWithFile(const NSString& file,
                                                    const NSString& audioDevice, NSError* error);
    static std::shared_ptr<TWQTAudio> initWithFile(const NSString& file,
                                                   const NSString& audioDevice, NSError* error);
    /// The same with the URL's path.
    /// (audioWithURL:audioDevice:error:, initWithURL:audioDevice:error:)
    static std::shared_ptr<TWQTAudio> audioWithURL(const NSURL& url, const NSString& audioDevice,
                                                   NSError* error);
    static std::shared_ptr<TWQTAudio> initWithURL(const NSURL& url, const NSString& audioDevice,
                                                  NSError* error);
    /// Stops a player that plays.
    ~TWQTAudio() override;

    /// Returns when the load state is 2000 or more, which it asks for once a second. It never gives
    /// up, on purpose, not even when loading has failed. Any thread; on another one than the
    /// player's the run loop of that one must run.
    void waitUntilLoaded();

    void play() override;
    /// Pauses a player that plays, else plays.
    void pause();
    void stop() override;
    bool isPlaying() const { return TW_playing; }
    /// Whether the playing flag is set and the stopped flag is clear. The paused flag does not
    /// count, on purpose.
    bool isPaused() const { return TW_playing && !TW_stopped; }
    /// Whether the playing flag is clear and the stopped flag is set; so not after creation.
    bool isStopped() const { return !TW_playing && TW_stopped; }

    /// Never starts or stops the playing.
    void setCurrentTime(QTTime time) override;
    double currentTimeInSeconds() const;
    void setCurrentTimeInSeconds(double seconds);
    /// Kept from the first time on that it is not 0.
    QTTime duration() const override;
    double durationInSeconds() const;

    /// The range that is played. A change takes effect at the next play(), the next pause() that
    /// plays again, or the next change of the load state, which also sets an indefinite out point
    /// to the duration. Getters may be called on any thread.
    QTTime inPoint() const;
    void setInPoint(QTTime inPoint);
    QTTime outPoint() const;
    void setOutPoint(QTTime outPoint);
    double inPointInSeconds() const;
    void setInPointInSeconds(double seconds);
    double outPointInSeconds() const;
    void setOutPointInSeconds(double seconds);
    /// Whether the range is played again and again.
    bool audioLoops() const { return TW_loops; }
    void setAudioLoops(bool audioLoops);

    /// Frame rate of the video that the sound accompanies: markers fire half a frame early. 0 or
    /// less: they do not.
    double videoFrameRate() const { return TW_videoFrameRate; }
    void setVideoFrameRate(double videoFrameRate) { TW_videoFrameRate = videoFrameRate; }
    double updateUserInterfaceInterval() const { return TW_updateUserInterfaceInterval; }
    void setUpdateUserInterfaceInterval(double seconds) {
        TW_updateUserInterfaceInterval = seconds;
    }

    /// The movie's volume through the inverse gamma.
    float volume() const override;
    /// Sets the movie's volume through the gamma: volume ^ volumeGamma().
    void setVolume(float volume) override;
    /// Scales everything that envelopes and fade-outs do. Takes effect at their next step.
    double referenceVolume() const { return TW_referenceVolume; }
    void setReferenceVolume(double referenceVolume) { TW_referenceVolume = referenceVolume; }
    double volumeGamma() const { return TW_volumeGamma; }
    void setVolumeGamma(double volumeGamma) { TW_volumeGamma = volumeGamma; }

    /// Points in ascending order of time; the order is not checked. Any thread.
    List volumeEnvelope() const { return atomicVolumeEnvelope(); }
    /// Used from the next play(), or from the end of the present segment on.
    /// Raises "TWQTAudioException" for a list with anything but a TWQTVolumeEnvelopePoint.
    void setVolumeEnvelope(const List& volumeEnvelope);
    /// Lowers the volume to 0, linearly from what it is now. With no envelope list at all (nil)
    /// every step ends at the reference volume, on purpose; an empty list lets a fade-out alone be
    /// heard.       (fadeoutWithDuration:andStop:)
    /// @param duration  seconds
    /// @param andStop   whether to stop at the end
    void fadeoutWithDuration(double duration, bool andStop);

    /// In ascending order of time; the order is not checked. Any thread.
    List markers() const { return atomicMarkers(); }
    /// The marker that is waited for stays the same until it has fired or the time is set.
    /// Raises "TWQTAudioException" for a list with anything but a TWQTAudioMarker.
    void setMarkers(const List& markers);
    /// The last marker that fired: its index, 0x7FFFFFFF before the first; the current time at
    /// which it did, and how much later than it should, in seconds, -1 before the first.
    std::uint32_t lastMarkerIndex() const { return TW_lastMarkerIndex; }
    double lastMarkerTime() const { return TW_lastMarkerTime; }
    double lastMarkerDelay() const { return TW_lastMarkerDelay; }

  protected:
    TWQTAudio() = default;
    /// What initWithFile does, for classes that are derived from this one.
    bool openFile(const NSString& file, NSError* error);

    // The player's own operations.
    std::int32_t TW_loadState() const;
    void TW_prepareForPlayback();
    void TW_updateSelection();
    void TW_updateUserInterface();
    void TW_didChangeRate(const NSNotification& notification);
    void TW_didChangeLoadState(const NSNotification& notification);
    /// In the duration's scale; held within 64 bits, 0 for what is no number.
    /// (TW_timeFromSeconds:, TW_secondsFromTime:)
    QTTime TW_timeFromSeconds(double seconds) const;
    double TW_secondsFromTime(QTTime time) const;

    /// The envelope's segment around a time; its end does not belong to it.
    /// (TW_volumeRampForCurrentTime:start:end:)
    /// @param start, end  may be null; left alone when there is no segment
    bool TW_volumeRampForCurrentTime(double currentTime,
                                     std::shared_ptr<TWQTVolumeEnvelopePoint>* start,
                                     std::shared_ptr<TWQTVolumeEnvelopePoint>* end) const;
    void TW_prepareNextVolumeEnvelopeFade();
    void TW_performVolumeFade();

    /// When the first marker after a time fires; -1, and the index 0x7FFFFFFF, when there is none.
    /// (TW_nextMarkerTimeForCurrentTime:index:)
    /// @param index  may be null
    double TW_nextMarkerTimeForCurrentTime(double currentTime, std::uint32_t* index) const;
    void TW_waitForNextMarker();
    /// (TW_fireNextMarkerWithCurrentTime:)
    void TW_fireNextMarkerWithCurrentTime(double currentTime);

    QTTime TW_inPoint = QTZeroTime;
    QTTime TW_outPoint = QTIndefiniteTime;
    mutable QTTime TW_duration = QTZeroTime;
    bool TW_loops = false;
    double TW_videoFrameRate = 0.0;
    double TW_updateUserInterfaceInterval = 0.25;
    bool TW_playing = false;
    bool TW_paused = false;
    bool TW_stopped = false;
    double TW_referenceVolume = 1.0;
    double TW_volumeGamma = kDefaultVolumeGamma;
    List TW_volumeEnvelope;
    // A start time below 0: there is no segment, no fade-out.
    double TW_envelopeStartTime = 0.0;
    double TW_envelopeStartVolume = 0.0;
    double TW_envelopeEndTime = 0.0;
    double TW_envelopeEndVolume = 0.0;
    double TW_fadeoutStartTime = 0.0;
    double TW_fadeoutStartVolume = 0.0;
    double TW_fadeoutEndTime = 0.0;
    double TW_fadeoutEndVolume = 0.0;
    bool TW_fadeoutStop = false;
    List TW_markers;
    std::uint32_t TW_nextMarkerIndex = kNoMarker;
    double TW_nextMarkerTime = -1.0;
    std::uint32_t TW_lastMarkerIndex = kNoMarker;
    double TW_lastMarkerTime = -1.0;
    double TW_lastMarkerDelay = -1.0;

  private:
    static constexpr std::uint32_t kNoMarker = 0x7FFFFFFF;

    List atomicVolumeEnvelope() const;
    void setAtomicVolumeEnvelope(const List& volumeEnvelope);
    List atomicMarkers() const;
    void setAtomicMarkers(const List& markers);

    void performAfterDelay(const char* selector, void (TWQTAudio::*method)(), double seconds);
    void cancelPendingPerforms();
    void resetNextMarker();

    /// For the values that other threads may read: range and lists.
    mutable std::mutex mutex_;
};

}  // namespace TWQuickTime
