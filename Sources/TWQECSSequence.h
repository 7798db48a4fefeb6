// A preset of several steps: each exports what the step before it made, with the first of its
// fallbacks that is installed.
//
// Fallbacks name settings of the same preset file. They are looked up in the reader on first use;
// until then a sequence keeps its reader alive, afterwards it lets go of it.
//
//     auto sequence = TWQECSSequence::initWithDictionary(entry, reader);
//     if (sequence->isInstalled()) show(sequence->lastStep()->exportedMovieFileExtension());
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "NSComparisonResult.h"
#include "TWQECS.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT TWQECSSequence : public TWQECS {
  public:
    using Steps = std::vector<std::shared_ptr<TWQECS>>;

    ~TWQECSSequence() override;

    // As of the base class, sent to this class.
    static std::shared_ptr<TWQECS> QECSWithDictionary(const NSDictionary& dictionary,
                                                      const std::shared_ptr<TWQECSReader>& reader);
    static std::shared_ptr<TWQECS> QECSWithDictionary(const NSDictionary& dictionary);
    static std::shared_ptr<TWQECSSequence> initWithDictionary(const NSDictionary& dictionary);
    static std::shared_ptr<TWQECSSequence> initWithDictionary(
        const NSDictionary& dictionary, const std::shared_ptr<TWQECSReader>& reader);

    /// "SequenceID".
    PropertyListValue identifier() const override;
    /// Owned until the steps are resolved, unless the reader owns this sequence.
    void setReader(const std::shared_ptr<TWQECSReader>& reader) override;

    /// The settings to export with, in their order; nothing while there was no reader to resolve
    /// them, empty when a step has no installed fallback.
    const std::optional<Steps>& steps();
    /// Resolves the steps and lets go of the reader. A sequence without steps stands for the
    /// setting of the same identifier; a step without fallbacks is left out.
    void loadSteps();
    /// How the steps were chosen, without outputs: of every step with fallbacks the setting that
    /// it uses and those that it passes over. When the last one uses nothing there are no steps to
    /// export with. Resolves the steps if need be.
    const std::vector<TWQECSExportStep>& stepChoices();
    /// The step that is being exported; null for none.
    std::shared_ptr<TWQECS> activeStep() const { return _activeStep.lock(); }
    /// Null without steps.
    std::shared_ptr<TWQECS> lastStep();
    bool isSingleStep();
    /// Order by name, for lists.       (nameCompare:)
    NSComparisonResult nameCompare(const TWQECS& other) const;

    using TWQECS::exportMovie;
    /// Runs the steps in their order: each but the last writes a file "EPR<number>" in the
    /// temporary directory, which the next one reads and which is deleted after that; the first
    /// "no" ends the export. The output of a failed step is left.
    ///       (exportMovie:toFilePath:fromStartTime:withDuration:error:)
    bool exportMovie(Movie movie, const NSString& toFilePath, TimeValue fromStartTime,
                     TimeValue withDuration, NSError* error) override;
    /// What the steps ask: tells this sequence's delegate of the progress of all steps together.
    /// Without a delegate that has the callback the answer is no, which stops the export (on
    /// purpose: a sequence exports only for a delegate that follows it).
    ///       (exportCallbackForMovie:message:whatOperation:percentDone:error:)
    bool exportCallbackForMovie(Movie movie, std::int16_t message, std::int16_t whatOperation,
                                float percentDone, NSError* error);
    /// Sequences do not do this: always no, and no error.       (exportQTMovie:toFilePath:error:)
    bool exportQTMovie(const std::shared_ptr<QTMovie>& movie, const NSString& toFilePath,
                       NSError* error) override;
    /// That of the only step; no with several.
    bool componentHasUserInterface() override;
    /// Shows the dialog of the only step; 0 with several.
    OSStatus customizeComponentSettingsWithComponentDialogForMovie(Movie movie) override;
    /// Whether there are steps and all of them are installed.
    bool isInstalled() override;
    /// That of the first step that has one; the step that has no installed fallback is one too.
    ComponentInstallationFault installationFault() const override;
    /// Whether there are steps and all of them are thread-safe.
    bool isThreadSafe() override;
    /// Whether any step does.
    bool usesExportComponentWithSubtype(OSType subtype, OSType manufacturer) override;

    // Of the last step's output.
    NSString exportedMovieFileExtension() override;
    std::int32_t exportedMovieHeight() override;
    void setExportedMovieHeight(std::int32_t height) override;
    std::int32_t exportedMovieWidth() override;
    void setExportedMovieWidth(std::int32_t width) override;
    double exportedMovieFrameRate() override;
    void setExportedMovieFrameRate(double frameRate) override;

  private:
    void readerOwnsThis() override;
    bool needsItsReader() const override;
    int nestingDepth() override;
    /// The steps, and how they came about.
    struct Resolution {
        std::optional<Steps> steps;
        std::vector<TWQECSExportStep> choices;
    };
    Resolution resolution(const TWQECSReader& reader) const;
    static std::shared_ptr<TWQECS> firstInstalled(const TWQECSReader& reader,
                                                  const NSArray& fallbacks,
                                                  TWQECSExportStep& choice);
    static bool isNestedTooDeeply(TWQECS& setting);
    bool everyStep(bool (TWQECS::*answer)());
    bool exportStep(const std::shared_ptr<TWQECS>& step, Movie movie, const NSString& toFilePath,
                    TimeValue fromStartTime, TimeValue withDuration, NSError* error);

    std::shared_ptr<TWQECSReader> _ownedReader;
    std::weak_ptr<TWQECS> _activeStep;
    std::optional<Steps> _steps;
    std::vector<TWQECSExportStep> _stepChoices;
    bool _isResolving = false;
};

}  // namespace TWQuickTime
