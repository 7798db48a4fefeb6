// A movie as an object: opened from a file or made around a movie of the toolbox, with attributes
// by name.
//
// The object owns its toolbox movie unless it was told not to, and disposes of it at its end.
//
//     NSError error;
//     std::shared_ptr<QTMovie> movie = QTMovie::movieWithFile(path, &error);
//     if (!movie) return show(error.localizedDescription());
//     QTTime duration = movie->duration();
//     movie->play();
//
// Playing, and opening with QTMovieOpenAsyncOKAttribute, happen on the run loop of the thread that
// asked for it; that loop must run, and the notifications are posted on it. A movie belongs to one
// thread at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include "CGGeometry.h"
#include "CGImage.h"
#include "NSError.h"
#include "NSString.h"
#include "PropertyListValue.h"
#include "QTAttributeValue.h"
#include "QTTime.h"
#include "TWQTExport.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class QTTrack;

// Attributes. Those marked with * are read only.
/// Path of the file (text).
inline constexpr const char* QTMovieFileNameAttribute = "QTMovieFileNameAttribute";
/// Whether opening may return before the movie is loaded, and go on on the run loop (bool). A movie
/// that is not loaded yet has no tracks and no length.
inline constexpr const char* QTMovieOpenAsyncOKAttribute = "QTMovieOpenAsyncOKAttribute";
/// Whether the movie may be changed (bool).
inline constexpr const char* QTMovieEditableAttribute = "QTMovieEditableAttribute";
/// Units per second (number).
inline constexpr const char* QTMovieTimeScaleAttribute = "QTMovieTimeScaleAttribute";
/// * Length (QTTime).
inline constexpr const char* QTMovieDurationAttribute = "QTMovieDurationAttribute";
/// Where the movie stands (QTTime).
inline constexpr const char* QTMovieCurrentTimeAttribute = "QTMovieCurrentTimeAttribute";
/// * How far loading has come (number): 1000 loading, 2000 loaded, 10000 playable, 20000 playing
/// will not run out of data, 100000 complete, -1 an error. May be asked on any thread.
inline constexpr const char* QTMovieLoadStateAttribute = "QTMovieLoadStateAttribute";
/// Start and length of the selection (QTTimeRange).
inline constexpr const char* QTMovieSelectionAttribute = "QTMovieSelectionAttribute";
/// Whether only the selection is played (bool). A movie that stands outside of it moves to its
/// start; one that plays goes on from there.
inline constexpr const char* QTMoviePlaysSelectionOnlyAttribute =
    "QTMoviePlaysSelectionOnlyAttribute";
/// Whether playing begins anew at the end, without a gap (bool). An empty selection ends all the
/// same.
inline constexpr const char* QTMovieLoopsAttribute = "QTMovieLoopsAttribute";
/// Where the sound goes, from the next play() on (text): the name of an output, as
/// soundOutputNames lists them, or "silent"; absent: the best there is. When it does not answer or
/// disappears, time runs on in silence until it is there. While the run loop has a clock that is
/// moved by hand, the output is silent.
inline constexpr const char* QTMovieSoundOutputAttribute = "QTMovieSoundOutputAttribute";
/// Path of a WAV file of 32-bit floats that gets, from the next play() on, what an output would get
/// (text); absent: no file.
inline constexpr const char* QTMovieSoundFileAttribute = "QTMovieSoundFileAttribute";
/// * The output in use (text): its own name; none before one has answered.
inline constexpr const char* QTMovieSoundOutputNameAttribute = "QTMovieSoundOutputNameAttribute";
/// One of the QTMovieApertureMode… names (text).
inline constexpr const char* QTMovieApertureModeAttribute = "QTMovieApertureModeAttribute";
/// * Whether any track has dimensions for the aperture modes (bool).
inline constexpr const char* QTMovieHasApertureModeDimensionsAttribute =
    "QTMovieHasApertureModeDimensionsAttribute";
/// * Whether there are enabled tracks of pictures, of sound (bool).
inline constexpr const char* QTMovieHasVideoAttribute = "QTMovieHasVideoAttribute";
inline constexpr const char* QTMovieHasAudioAttribute = "QTMovieHasAudioAttribute";

/// * Status of the output that was asked for (number): 0 while it plays, else why it does not.
inline constexpr const char* QTMovieSoundOutputStatusAttribute =
    "QTMovieSoundOutputStatusAttribute";

// Notifications; their object is the movie.
inline constexpr const char* QTMovieLoadStateDidChangeNotification =
    "QTMovieLoadStateDidChangeNotification";
/// Also at the end of what is played.
inline constexpr const char* QTMovieRateDidChangeNotification = "QTMovieRateDidChangeNotification";
/// What is played has ended and does not loop; comes behind the change of the rate.
inline constexpr const char* QTMovieDidEndNotification = "QTMovieDidEndNotification";
/// The time was set; not while it runs by itself.
inline constexpr const char* QTMovieTimeDidChangeNotification = "QTMovieTimeDidChangeNotification";
inline constexpr const char* QTMovieVolumeDidChangeNotification =
    "QTMovieVolumeDidChangeNotification";
/// Another output plays, because one came or went.
inline constexpr const char* QTMovieSoundOutputDidChangeNotification =
    "QTMovieSoundOutputDidChangeNotification";

// Aperture modes.
inline constexpr const char* QTMovieApertureModeClassic = "QTMovieApertureModeClassic";
inline constexpr const char* QTMovieApertureModeClean = "QTMovieApertureModeClean";
inline constexpr const char* QTMovieApertureModeProduction = "QTMovieApertureModeProduction";
inline constexpr const char* QTMovieApertureModeEncodedPixels = "QTMovieApertureModeEncodedPixels";

// Attributes of frame images.
/// What kind of object the image is.
inline constexpr const char* QTMovieFrameImageType = "QTMovieFrameImageType";
inline constexpr const char* QTMovieFrameImageTypeCGImageRef = "QTMovieFrameImageTypeCGImageRef";
/// Its size; see QTMovie::frameImageSizeValue.
inline constexpr const char* QTMovieFrameImageSize = "QTMovieFrameImageSize";

// Attributes of writing.
/// Whether to write through an exporter (bool); without it the movie is flattened.
inline constexpr const char* QTMovieExport = "QTMovieExport";
/// Subtype of the exporter (number).
inline constexpr const char* QTMovieExportType = "QTMovieExportType";
/// Manufacturer of the exporter, 0 or absent for any (number).
inline constexpr const char* QTMovieExportManufacturer = "QTMovieExportManufacturer";
/// The exporter's settings as the flat bytes of an atom container (data); absent: its own.
inline constexpr const char* QTMovieExportSettings = "QTMovieExportSettings";

// Phases of an operation that a delegate follows.
inline constexpr std::int32_t QTMovieOperationBeginPhase = 0;
inline constexpr std::int32_t QTMovieOperationUpdatePercentPhase = 1;
inline constexpr std::int32_t QTMovieOperationEndPhase = 2;

class MovieLoader;
class MoviePlayback;
class QTMovie;

/// What a client hears of a movie; an empty member is a method that it does not have.
/// Classes of movies that tell more derive delegates of their own from it.
struct TWQT_EXPORT QTMovieDelegate {
    QTMovieDelegate() = default;
    virtual ~QTMovieDelegate();
    QTMovieDelegate(const QTMovieDelegate&) = default;
    QTMovieDelegate& operator=(const QTMovieDelegate&) = default;

    /// Called on the thread that the operation runs on.
    /// @param operation  "Export" or "Flatten"
    /// @param atPercent  0.0 to 1.0
    /// @return yes to go on
    /// (movie:shouldContinueOperation:withPhase:atPercent:withAttributes:)
    std::function<bool(const std::shared_ptr<QTMovie>& movie, const NSString& operation,
                       std::int32_t withPhase, float atPercent, const NSDictionary& withAttributes)>
        movieShouldContinueOperation;
    /// Whether the movie may be given time of its own.       (movieShouldTask:)
    std::function<bool(const std::shared_ptr<QTMovie>& movie)> movieShouldTask;
};

class TWQT_EXPORT QTMovie : public std::enable_shared_from_this<QTMovie> {
  public:
    virtual ~QTMovie();
    QTMovie(const QTMovie&) = delete;
    QTMovie& operator=(const QTMovie&) = delete;

    /// Null when the file cannot be opened.       (movieWithFile:error:, initWithFile:error:)
    /// @param error  may be null; nil on success, else of the domain NSOSStatusErrorDomain
    static std::shared_ptr<QTMovie> movieWithFile(const NSString& fileName, NSError* error);
    static std::shared_ptr<QTMovie> initWithFile(const NSString& fileName, NSError* error);
    /// Opens what QTMovieFileNameAttribute names; other attributes are set as they are given. With
    /// QTMovieOpenAsyncOKAttribute only a file that cannot be read at all gives none.
    /// (initWithAttributes:error:)
    static std::shared_ptr<QTMovie> initWithAttributes(const NSDictionary& attributes,
                                                       NSError* error);
    /// (movieWithQuickTimeMovie:disposeWhenDone:error:)
    /// @param movie  null gives no object and the error -2010
    static std::shared_ptr<QTMovie> movieWithQuickTimeMovie(Movie movie, bool disposeWhenDone,
                                                            NSError* error);

    /// The toolbox's movie; stays this object's.
    Movie quickTimeMovie() const { return movie_; }

    virtual QTTime duration() const;
    /// While the movie plays: what is heard now, in units of a frame of sound. It never goes back
    /// but for a loop and a set time.
    virtual QTTime currentTime() const;
    /// Limited to the movie's extent. A movie that plays goes on from there.
    virtual void setCurrentTime(QTTime time);

    /// Movie seconds per second; 0 while the movie stands.
    virtual float rate() const;
    /// Plays at any rate above 0 (outside of 1/100 to 100 at the nearest of these), or stops. A
    /// movie at the end of what is played begins anew; one that is not loaded yet starts when it
    /// is.
    /// @return -50 for a negative rate, which is not supported, and for what is no number; else the
    ///     status of a sound that cannot be decoded. The rate is unchanged then
    virtual OSErr setRate(float rate);
    /// Sets the rate 1, and 0.
    virtual void play();
    virtual void stop();

    /// 0 to 1; a new movie has its preferred volume. A change is heard as a ramp of a few
    /// milliseconds.
    virtual float volume() const;
    /// Values outside of 0 to 1 are limited.
    virtual void setVolume(float volume);
    /// The greatest absolute sample that was played since the last call; full scale is 1.
    float takeSoundPeak();
    /// Names for QTMovieSoundOutputAttribute of what is there now. Asks the sound server, which may
    /// take half a second; any thread.
    static std::vector<NSString> soundOutputNames();

    std::vector<std::shared_ptr<QTTrack>> tracks();
    /// (tracksOfMediaType:)
    std::vector<std::shared_ptr<QTTrack>> tracksOfMediaType(OSType mediaType);

    /// None for an attribute that was never set and that the movie does not know by itself.
    /// (attributeForKey:)
    virtual QTAttributeValue attributeForKey(const NSString& attributeKey) const;
    /// Read-only attributes are left alone.       (setAttribute:forKey:)
    virtual void setAttribute(const QTAttributeValue& value, const NSString& forKey);

    /// The frame that the movie shows at a time, transparent where nothing covers the movie box;
    /// null on failure. Decoders stay where they are between calls, so that frames one after
    /// another are decoded once each.       (frameImageAtTime:withAttributes:error:)
    /// @param withAttributes  QTMovieFrameImageType must be QTMovieFrameImageTypeCGImageRef or
    ///     absent; QTMovieFrameImageSize is optional
    /// @param error  may be null; nil on success, else of the domain NSOSStatusErrorDomain
    /// @return released by the caller with CGImageRelease
    CGImageRef frameImageAtTime(QTTime time, const NSDictionary& withAttributes, NSError* error);
    /// A size as the value of QTMovieFrameImageSize.
    static NSArray frameImageSizeValue(NSSize size);

    /// Null for none.
    std::shared_ptr<QTMovieDelegate> delegate() const { return delegate_.lock(); }
    /// Not owned.
    void setDelegate(const std::shared_ptr<QTMovieDelegate>& delegate) { delegate_ = delegate; }

    /// Writes all of the movie, replacing the file when it is complete; the delegate may stop it.
    ///       (writeToFile:withAttributes:error:)
    /// @param withAttributes  the attributes of writing
    /// @param error  may be null; nil on success, else of the domain NSOSStatusErrorDomain with the
    ///     toolbox's status: -2003 for an exporter that is missing, -128 for a stop
    bool writeToFile(const NSString& fileName, const NSDictionary& withAttributes, NSError* error);

    /// Gives all video tracks dimensions for the aperture modes.
    void generateApertureModeDimensions();

  protected:
    QTMovie() = default;

    /// Opens what the attributes name; false, and an error, when that fails. For classes that are
    /// derived from this one.
    bool openWithAttributes(const NSDictionary& attributes, NSError* error);

  private:
    void adopt(Movie movie, bool disposeWhenDone);
    void startLoading();
    void loadStateDidChange();
    void applyRange();
    std::function<void(const char*)> notifier();

    Movie movie_ = nullptr;
    std::shared_ptr<MoviePlayback> playback_;
    std::shared_ptr<MovieLoader> loader_;
    std::weak_ptr<QTMovieDelegate> delegate_;
    bool disposesOfMovie_ = false;
    std::unordered_map<NSString, QTAttributeValue> attributes_;
};

}  // namespace TWQuickTime
