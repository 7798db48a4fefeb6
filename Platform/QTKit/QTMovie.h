// A movie as an object: opened from a file or made around a movie of the toolbox, with attributes
// by name.
//
// The object owns its toolbox movie unless it was told not to, and disposes of it at its end.
//
//     NSError error;
//     std::shared_ptr<QTMovie> movie = QTMovie::movieWithFile(path, &error);
//     if (!movie) return show(error.localizedDescription());
//     QTTime duration = movie->duration();
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
/// Whether opening may go on in the background (bool).
inline constexpr const char* QTMovieOpenAsyncOKAttribute = "QTMovieOpenAsyncOKAttribute";
/// Whether the movie may be changed (bool).
inline constexpr const char* QTMovieEditableAttribute = "QTMovieEditableAttribute";
/// Units per second (number).
inline constexpr const char* QTMovieTimeScaleAttribute = "QTMovieTimeScaleAttribute";
/// * Length (QTTime).
inline constexpr const char* QTMovieDurationAttribute = "QTMovieDurationAttribute";
/// Where the movie stands (QTTime).
inline constexpr const char* QTMovieCurrentTimeAttribute = "QTMovieCurrentTimeAttribute";
/// * How far loading has come: 2000 loaded, 100000 complete, -1 an error (number).
inline constexpr const char* QTMovieLoadStateAttribute = "QTMovieLoadStateAttribute";
/// Start and length of the selection (QTTimeRange).
inline constexpr const char* QTMovieSelectionAttribute = "QTMovieSelectionAttribute";
/// Whether only the selection is played (bool).
inline constexpr const char* QTMoviePlaysSelectionOnlyAttribute =
    "QTMoviePlaysSelectionOnlyAttribute";
/// Whether playing begins anew at the end (bool).
inline constexpr const char* QTMovieLoopsAttribute = "QTMovieLoopsAttribute";
/// One of the QTMovieApertureMode… names (text).
inline constexpr const char* QTMovieApertureModeAttribute = "QTMovieApertureModeAttribute";
/// * Whether any track has dimensions for the aperture modes (bool).
inline constexpr const char* QTMovieHasApertureModeDimensionsAttribute =
    "QTMovieHasApertureModeDimensionsAttribute";
/// * Whether there are enabled tracks of pictures, of sound (bool).
inline constexpr const char* QTMovieHasVideoAttribute = "QTMovieHasVideoAttribute";
inline constexpr const char* QTMovieHasAudioAttribute = "QTMovieHasAudioAttribute";

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

class QTMovie;

/// What a client hears of a movie; an empty member is a method that it does not have.
struct QTMovieDelegate {
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
    /// Opens what QTMovieFileNameAttribute names; other attributes are kept as they are given.
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
    virtual QTTime currentTime() const;
    /// Limited to the movie's extent.
    virtual void setCurrentTime(QTTime time);

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

    Movie movie_ = nullptr;
    std::weak_ptr<QTMovieDelegate> delegate_;
    bool disposesOfMovie_ = false;
    std::unordered_map<NSString, QTAttributeValue> attributes_;
};

}  // namespace TWQuickTime
