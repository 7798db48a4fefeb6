// A preset that exports with one movie exporter, configured by settings kept in the entry.
//
//     auto setting = TWQECSSetting::initWithDictionary(entry);
//     NSError error;
//     if (!setting->exportMovie(movie, "/films/out.mov", 0, GetMovieDuration(movie), &error))
//         show(error.localizedDescription());
//
// The exporter is looked up at first need; an instance of it stays open until the preset goes or
// closePrivateComponentInstance() is called. Takes no lock of its own.
#pragma once

#include <memory>

#include "Components.h"
#include "NSData.h"
#include "TWQECS.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class NSImage;

class TWQT_EXPORT TWQECSSetting : public TWQECS {
  public:
    ~TWQECSSetting() override;

    // As of the base class, sent to this class.
    static std::shared_ptr<TWQECS> QECSWithDictionary(const NSDictionary& dictionary,
                                                      const std::shared_ptr<TWQECSReader>& reader);
    static std::shared_ptr<TWQECS> QECSWithDictionary(const NSDictionary& dictionary);
    static std::shared_ptr<TWQECSSetting> initWithDictionary(const NSDictionary& dictionary);
    static std::shared_ptr<TWQECSSetting> initWithDictionary(
        const NSDictionary& dictionary, const std::shared_ptr<TWQECSReader>& reader);

    /// Has no reader.       (copyWithZone:)
    std::shared_ptr<TWQECS> copy() const override;

    /// Writes the movie through its own object; the preset is the movie's delegate meanwhile, and
    /// the movie's own delegate serves as export delegate when there is none.
    ///       (exportQTMovie:toFilePath:error:)
    bool exportQTMovie(const std::shared_ptr<QTMovie>& movie, const NSString& toFilePath,
                       NSError* error) override;
    /// As a movie's delegate: the export delegate's answer, yes without one.
    ///       (movie:shouldContinueOperation:withPhase:atPercent:withAttributes:)
    bool movieShouldContinueOperation(const std::shared_ptr<QTMovie>& movie,
                                      const NSString& operation, std::int32_t withPhase,
                                      float atPercent, const NSDictionary& withAttributes);
    /// As a movie's delegate: always no.       (movieShouldTask:)
    bool movieShouldTask(const std::shared_ptr<QTMovie>& movie);

    /// "QTExpComponentType"; movie exporters ('spit') when absent.
    OSType componentType() const;
    /// "QTExpComponentSubType", 0 when absent. The name is spelled so on purpose.
    OSType componentSupType() const;
    /// "QTExpComponentManufacturer", 0 when absent.
    OSType componentManufacturer() const;
    /// "QTExpSettings", the flat bytes of an atom container; nil when absent.
    NSData componentSettingsAtomData() const;
    /// Nil takes the settings away; others are given to an open private instance at once.
    void setComponentSettingsAtomData(const NSData& componentSettingsAtomData);

    // The exporter.

    /// Found once and kept, not owned; null when it is missing.
    Component component();
    /// The preset's own instance, opened on first use with the preset's settings; null when it is
    /// missing or refuses the settings, in which case the next call looks again.
    ComponentInstance componentInstance();
    /// A further instance with the preset's settings, which the caller closes; null for none.
    ComponentInstance createNewComponentInstance();
    void closePrivateComponentInstance();
    /// The exporter's own settings as they were when the private instance was opened.
    const NSData& defaultExporterComponentSetting() const {
        return _defaultExporterComponentSetting;
    }
    void setDefaultExporterComponentSetting(const NSData& defaultExporterComponentSetting);

    /// The exporter's own description; the preset's codes without flags when there is none.
    ComponentDescription componentDescription();
    /// Nil when the exporter cannot be asked.
    NSString componentName();
    /// Nil when the exporter cannot be asked.
    NSString componentInfo();
    /// Always null: exporters have no icons.
    std::shared_ptr<NSImage> componentIcon() const;

    bool componentHasUserInterface() override;
    bool isInstalled() override;
    ComponentInstallationFault installationFault() const override { return _installationFault; }
    bool isThreadSafe() override;
    bool usesExportComponentWithSubtype(OSType subtype, OSType manufacturer) override;
    NSString exportedMovieFileExtension() override;
    // Kept inside the settings data. A rate of exactly 2997 reads as 29.97 (on purpose: some
    // settings store the NTSC rate times 100).
    std::int32_t exportedMovieHeight() override;
    void setExportedMovieHeight(std::int32_t height) override;
    std::int32_t exportedMovieWidth() override;
    void setExportedMovieWidth(std::int32_t width) override;
    double exportedMovieFrameRate() override;
    void setExportedMovieFrameRate(double frameRate) override;

    /// @return 0 also when the user gave up; 0x3F3F3F3F when the exporter gives no settings
    /// afterwards       (customizeComponentSettingsWithComponentDialogForMovie:)
    OSStatus customizeComponentSettingsWithComponentDialogForMovie(Movie movie) override;

    using TWQECS::exportMovie;
    /// (exportMovie:toFilePath:fromStartTime:withDuration:error:)
    bool exportMovie(Movie movie, const NSString& toFilePath, TimeValue fromStartTime,
                     TimeValue withDuration, NSError* error) override;
    /// What the progress procedure asks: 0 to go on, -1 to stop.
    ///       (exportCallbackForMovie:message:whatOperation:percentDone:)
    OSErr exportCallbackForMovie(Movie movie, std::int16_t message, std::int16_t whatOperation,
                                 float percentDone);

  private:
    OSErr exportWith(ComponentInstance instance, Movie movie, const NSString& toFilePath,
                     TimeValue fromStartTime, TimeValue withDuration);

    Component _component = nullptr;
    ComponentInstance _componentInstance = nullptr;
    NSData _defaultExporterComponentSetting;
    ComponentInstallationFault _installationFault;
};

/// Progress procedure of exports with a preset.
/// @param refCon  the preset, as a TWQECSSetting*
TWQT_EXPORT OSErr ExportMovieProgressProc(Movie movie, std::int16_t message,
                                          std::int16_t whatOperation, Fixed percentDone,
                                          std::intptr_t refCon);

}  // namespace TWQuickTime
