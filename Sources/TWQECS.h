// A way of exporting a movie, as a preset file describes it: the base of settings (one exporter)
// and sequences (several steps).
//
// A preset wraps its entry of the file: the standard fields have getters, every other key of the
// entry is reached with objectForKey or valueForKey. Exporting is what the two kinds add; here all
// of it answers "no". Not safe for use on several threads at once.
//
//     auto reader = TWQECSReader::qecsReaderWithPath("~/Presets.qecs");
//     auto preset = reader->componentSettingForID("h264");
//     NSError error;
//     if (!preset->exportMovie(movie, "/tmp/out.mov", &error)) show(error.localizedDescription());
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "ComponentInstallationFault.h"
#include "NSError.h"
#include "NSObject.h"
#include "NSString.h"
#include "PropertyListValue.h"
#include "TWQECSExportRecord.h"
#include "TWQTExport.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class QTMovie;
class TWQECSReader;

/// What a client hears of its exports; an empty member is a method that it does not have. Both are
/// called on the thread that exports.
struct TWQECSExportDelegate {
    /// @param message      0 opened, 1 progress, 2 closed
    /// @param percentDone  0.0 to 1.0
    /// @param error        place for the reason of a "no"; never null
    /// @return yes to go on, no to stop the export
    /// (exportCallbackForMovie:message:whatOperation:percentDone:error:)
    std::function<bool(Movie movie, std::int16_t message, std::int16_t whatOperation,
                       float percentDone, NSError* error)>
        exportCallbackForMovie;
    /// @return yes to go on
    /// (movie:shouldContinueOperation:withPhase:atPercent:withAttributes:)
    std::function<bool(const std::shared_ptr<QTMovie>& movie, const NSString& operation,
                       std::int32_t withPhase, float atPercent, const NSDictionary& withAttributes)>
        movieShouldContinueOperation;
};

class TWQT_EXPORT TWQECS : public NSObject {
  public:
    /// A preset without an entry; use one of the factories.
    TWQECS() = default;
    ~TWQECS() override;

    /// The preset of an entry: a TWQECSSequence when it has "SequenceID", else a TWQECSSetting when
    /// it has "SettingID". Without either, a bare TWQECS when asked of TWQECS itself; asked of a
    /// derived class it logs "Trying to init abstract TWQECS class" and gives null (the message
    /// speaks of the other case; on purpose).
    ///       (QECSWithDictionary:reader:)
    static std::shared_ptr<TWQECS> QECSWithDictionary(const NSDictionary& dictionary,
                                                      const std::shared_ptr<TWQECSReader>& reader);
    /// The same without a reader, which a sequence cannot do without: null for one, and a log line.
    ///       (QECSWithDictionary:)
    static std::shared_ptr<TWQECS> QECSWithDictionary(const NSDictionary& dictionary);

    /// Null for a nil dictionary.       (initWithDictionary:, initWithDictionary:reader:)
    static std::shared_ptr<TWQECS> initWithDictionary(const NSDictionary& dictionary);
    static std::shared_ptr<TWQECS> initWithDictionary(const NSDictionary& dictionary,
                                                      const std::shared_ptr<TWQECSReader>& reader);

    /// A preset of its own with the same entry and reader; delegate and error are not copied.
    ///       (copyWithZone:)
    virtual std::shared_ptr<TWQECS> copy() const;

    // The entry.

    /// Null for an absent key.       (objectForKey:)
    PropertyListValue objectForKey(const NSString& key) const;
    /// (setObject:forKey:)
    void setObject(const PropertyListValue& object, const NSString& forKey);
    /// (removeObjectForKey:)
    void removeObjectForKey(const NSString& key);
    /// Keys of the entry read like properties.       (valueForUndefinedKey:)
    PropertyListValue valueForUndefinedKey(const NSString& key) const override;

    /// String or number; null for none.
    virtual PropertyListValue identifier() const;
    NSString name() const;
    NSString comment() const;
    /// "<TWQECS: 0x…> -> ID: …	Name: …	Comment: …"
    NSString description() const override;

    // Properties.

    std::shared_ptr<TWQECSExportDelegate> exportDelegate() const { return _exportDelegate.lock(); }
    /// Not owned.
    void setExportDelegate(const std::shared_ptr<TWQECSExportDelegate>& exportDelegate);
    /// Null once the reader is gone.
    std::shared_ptr<TWQECSReader> reader() const { return _reader.lock(); }
    /// Not owned, except by a sequence.
    virtual void setReader(const std::shared_ptr<TWQECSReader>& reader);
    /// Why the last export failed; nil for none.
    const NSError& exportError() const { return _exportError; }
    void setExportError(const NSError& exportError);
    /// What happened in the last export, whether it succeeded or not; no steps before the first.
    const TWQECSExportRecord& exportRecord() const { return _exportRecord; }
    /// The entry.
    const NSDictionary& QECSDict() const { return _QECSDict; }
    void setQECSDict(const NSDictionary& QECSDict);

    // Exporting, for the derived classes to do.

    /// @param toFilePath     POSIX path of the file to make
    /// @param fromStartTime  units of the movie's time scale
    /// @param withDuration   units of the movie's time scale
    /// @param error          may be null
    ///       (exportMovie:toFilePath:fromStartTime:withDuration:error:)
    virtual bool exportMovie(Movie movie, const NSString& toFilePath, TimeValue fromStartTime,
                             TimeValue withDuration, NSError* error);
    /// The whole movie.       (exportMovie:toFilePath:error:)
    bool exportMovie(Movie movie, const NSString& toFilePath, NSError* error);
    /// (exportQTMovie:toFilePath:error:)
    virtual bool exportQTMovie(const std::shared_ptr<QTMovie>& movie, const NSString& toFilePath,
                               NSError* error);
    virtual bool componentHasUserInterface();
    /// @param movie  may be null
    /// @return status of the toolbox       (customizeComponentSettingsWithComponentDialogForMovie:)
    virtual OSStatus customizeComponentSettingsWithComponentDialogForMovie(Movie movie);
    virtual bool isInstalled();
    /// What was missing when isInstalled() was asked last; none before.
    virtual ComponentInstallationFault installationFault() const;
    virtual bool isThreadSafe();
    /// (usesExportComponentWithSubtype:manufacturer:)
    virtual bool usesExportComponentWithSubtype(OSType subtype, OSType manufacturer);
    /// Without a dot; "mov" where nothing else is known, nil for an exporter without one.
    virtual NSString exportedMovieFileExtension();
    /// Pixels; 0 for none.
    virtual std::int32_t exportedMovieHeight();
    virtual void setExportedMovieHeight(std::int32_t height);
    virtual std::int32_t exportedMovieWidth();
    virtual void setExportedMovieWidth(std::int32_t width);
    /// Frames per second; 0.0 for none.
    virtual double exportedMovieFrameRate();
    virtual void setExportedMovieFrameRate(double frameRate);

  protected:
    void setExportRecord(TWQECSExportRecord exportRecord);
    const KeyValueTable& keyValueTable() const override;
    /// What every initialiser does; false for a nil dictionary.
    bool fillWith(const NSDictionary& dictionary, const std::shared_ptr<TWQECSReader>& reader);
    /// The factories, told which class they were sent to.
    static std::shared_ptr<TWQECS> makeFor(const NSString& receivingClass,
                                           const NSDictionary& dictionary,
                                           const std::shared_ptr<TWQECSReader>& reader);
    static std::shared_ptr<TWQECS> makeWithoutReaderFor(const NSString& receivingClass,
                                                        const NSDictionary& dictionary);

  private:
    friend class TWQECSReader;
    friend class TWQECSSequence;
    /// A preset in its reader's own tables must not own that reader in turn.
    virtual void readerOwnsThis() {}
    /// Whether the preset cannot do without its reader and does not own it.
    virtual bool needsItsReader() const { return false; }
    /// How many sequences stand inside one another here.
    virtual int nestingDepth() { return 0; }

    std::weak_ptr<TWQECSExportDelegate> _exportDelegate;
    std::weak_ptr<TWQECSReader> _reader;
    NSError _exportError;
    NSDictionary _QECSDict;
    TWQECSExportRecord _exportRecord;
};

/// How the kinds of presets enter themselves in ClassRegistry, each under its class's name.
using TWQECSClass = std::shared_ptr<TWQECS>(const NSDictionary& dictionary,
                                            const std::shared_ptr<TWQECSReader>& reader);

}  // namespace TWQuickTime
