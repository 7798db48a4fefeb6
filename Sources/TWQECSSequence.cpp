#include "TWQECSSequence.h"

#include <algorithm>

#include "ClassRegistry.h"
#include "TWQECSFormat.h"
#include "TWQECSReader.h"

namespace TWQuickTime {
namespace {

constexpr const char* kClassName = "TWQECSSequence";

std::shared_ptr<TWQECS> makeSequence(const NSDictionary& dictionary,
                                     const std::shared_ptr<TWQECSReader>& reader) {
    return TWQECSSequence::initWithDictionary(dictionary, reader);
}
[[maybe_unused]] const bool isRegistered =
    ClassRegistry<TWQECSClass>::add(kClassName, makeSequence);

/// Sequences may stand among the settings and so inside one another, but no deeper than this.
constexpr int kDeepestNesting = 32;
/// How many sequences of this thread are resolving their steps right now, each for the one before.
thread_local int sequencesResolving = 0;

/// The reader's own object: what it hands out could keep the reader alive through these steps.
std::shared_ptr<TWQECS> settingOf(const TWQECSReader& reader, const PropertyListValue& identifier) {
    const auto settings = reader.componentSettingsDict();
    return settings ? settings->objectForKey(identifier) : nullptr;
}

}  // namespace

TWQECSSequence::~TWQECSSequence() = default;

std::shared_ptr<TWQECS> TWQECSSequence::QECSWithDictionary(
    const NSDictionary& dictionary, const std::shared_ptr<TWQECSReader>& reader) {
    return makeFor(kClassName, dictionary, reader);
}

std::shared_ptr<TWQECS> TWQECSSequence::QECSWithDictionary(const NSDictionary& dictionary) {
    return makeWithoutReaderFor(kClassName, dictionary);
}

std::shared_ptr<TWQECSSequence> TWQECSSequence::initWithDictionary(const NSDictionary& dictionary) {
    return initWithDictionary(dictionary, nullptr);
}

std::shared_ptr<TWQECSSequence> TWQECSSequence::initWithDictionary(
    const NSDictionary& dictionary, const std::shared_ptr<TWQECSReader>& reader) {
    auto sequence = std::make_shared<TWQECSSequence>();
    return sequence->fillWith(dictionary, reader) ? sequence : nullptr;
}

PropertyListValue TWQECSSequence::identifier() const {
    return objectForKey(TWQECSFormatSequenceID);
}

void TWQECSSequence::setReader(const std::shared_ptr<TWQECSReader>& reader) {
    TWQECS::setReader(reader);
    _ownedReader = reader;
}

void TWQECSSequence::readerOwnsThis() {
    _ownedReader = nullptr;
}

bool TWQECSSequence::needsItsReader() const {
    return !_ownedReader && reader();
}

int TWQECSSequence::nestingDepth() {
    if (_isResolving || sequencesResolving >= kDeepestNesting)
        return kDeepestNesting;
    int deepest = 0;
    if (steps())
        for (const std::shared_ptr<TWQECS>& step : *_steps)
            deepest = std::max(deepest, step->nestingDepth());
    return deepest + 1;
}

const std::optional<TWQECSSequence::Steps>& TWQECSSequence::steps() {
    if (!_steps)
        loadSteps();
    return _steps;
}

void TWQECSSequence::loadSteps() {
    if (_isResolving)
        return;
    const std::shared_ptr<TWQECSReader> presets = reader();
    if (QECSDict() && presets) {
        _isResolving = true;
        ++sequencesResolving;
        Resolution resolved = resolution(*presets);
        --sequencesResolving;
        _isResolving = false;
        if (resolved.steps) {
            _steps = std::move(resolved.steps);
            _stepChoices = std::move(resolved.choices);
        }
    }
    setReader(nullptr);
}

bool TWQECSSequence::isNestedTooDeeply(TWQECS& setting) {
    return setting.nestingDepth() >= kDeepestNesting;
}

TWQECSSequence::Resolution TWQECSSequence::resolution(const TWQECSReader& reader) const {
    const NSArray list = objectForKey(TWQECSFormatSequenceStepList).arrayValue();
    if (list.count() == 0) {
        std::shared_ptr<TWQECS> setting = settingOf(reader, identifier());
        if (!setting || isNestedTooDeeply(*setting))
            return {};
        return {Steps{std::move(setting)}, {{.used = identifier()}}};
    }
    Resolution resolved{Steps(), {}};
    for (const PropertyListValue& step : list) {
        const NSArray fallbacks =
            step.dictionaryValue().objectForKey(TWQECSFormatSequenceStepFallbackList).arrayValue();
        if (fallbacks.count() == 0)
            continue;
        TWQECSExportStep& choice = resolved.choices.emplace_back();
        std::shared_ptr<TWQECS> setting = firstInstalled(reader, fallbacks, choice);
        if (!setting)
            return {Steps(), std::move(resolved.choices)};
        resolved.steps->push_back(std::move(setting));
    }
    return resolved;
}

std::shared_ptr<TWQECS> TWQECSSequence::firstInstalled(const TWQECSReader& reader,
                                                       const NSArray& fallbacks,
                                                       TWQECSExportStep& choice) {
    for (const PropertyListValue& fallback : fallbacks) {
        const PropertyListValue identifier =
            fallback.dictionaryValue().objectForKey(TWQECSFormatSequenceStepFallbackSettingID);
        const auto reject = [&](const NSString& reason, OSStatus status) {
            choice.rejected.push_back({identifier, reason, status});
        };
        std::shared_ptr<TWQECS> setting = settingOf(reader, identifier);
        if (!identifier) {
            reject("no identifier", paramErr);
        } else if (!setting) {
            reject("not in the preset file", fnfErr);
        } else if (isNestedTooDeeply(*setting)) {
            reject("nested too deeply", paramErr);
        } else if (setting->isInstalled()) {
            choice.used = identifier;
            return setting;
        } else if (const ComponentInstallationFault fault = setting->installationFault()) {
            reject(fault.description(), fault.status);
        } else {
            reject("not installed", badComponentType);
        }
    }
    return nullptr;
}

const std::vector<TWQECSExportStep>& TWQECSSequence::stepChoices() {
    steps();
    return _stepChoices;
}

std::shared_ptr<TWQECS> TWQECSSequence::lastStep() {
    return steps() && !_steps->empty() ? _steps->back() : nullptr;
}

bool TWQECSSequence::isSingleStep() {
    return steps() && _steps->size() == 1;
}

NSComparisonResult TWQECSSequence::nameCompare(const TWQECS& other) const {
    const std::strong_ordering order = name().compare(other.name());
    return order < 0 ? NSOrderedAscending : order > 0 ? NSOrderedDescending : NSOrderedSame;
}

bool TWQECSSequence::exportQTMovie(const std::shared_ptr<QTMovie>&, const NSString&, NSError*) {
    return false;
}

bool TWQECSSequence::componentHasUserInterface() {
    return isSingleStep() && lastStep()->componentHasUserInterface();
}

OSStatus TWQECSSequence::customizeComponentSettingsWithComponentDialogForMovie(Movie movie) {
    return isSingleStep() ? lastStep()->customizeComponentSettingsWithComponentDialogForMovie(movie)
                          : OSStatus{noErr};
}

bool TWQECSSequence::everyStep(bool (TWQECS::*answer)()) {
    return steps() && !_steps->empty() &&
           std::ranges::all_of(*_steps, [&](const auto& step) { return ((*step).*answer)(); });
}

bool TWQECSSequence::isInstalled() {
    return everyStep(&TWQECS::isInstalled);
}

ComponentInstallationFault TWQECSSequence::installationFault() const {
    if (!_steps || _steps->empty())
        return {ComponentInstallationFault::Kind::stepWithoutPreset, badComponentType};
    for (const std::shared_ptr<TWQECS>& step : *_steps)
        if (const ComponentInstallationFault fault = step->installationFault())
            return fault;
    return {};
}

bool TWQECSSequence::isThreadSafe() {
    return everyStep(&TWQECS::isThreadSafe);
}

bool TWQECSSequence::usesExportComponentWithSubtype(OSType subtype, OSType manufacturer) {
    return steps() && std::ranges::any_of(*_steps, [&](const auto& step) {
               return step->usesExportComponentWithSubtype(subtype, manufacturer);
           });
}

NSString TWQECSSequence::exportedMovieFileExtension() {
    const std::shared_ptr<TWQECS> last = lastStep();
    return last ? last->exportedMovieFileExtension() : NSString("mov");
}

std::int32_t TWQECSSequence::exportedMovieHeight() {
    const std::shared_ptr<TWQECS> last = lastStep();
    return last ? last->exportedMovieHeight() : 0;
}

void TWQECSSequence::setExportedMovieHeight(std::int32_t height) {
    if (const std::shared_ptr<TWQECS> last = lastStep())
        last->setExportedMovieHeight(height);
}

std::int32_t TWQECSSequence::exportedMovieWidth() {
    const std::shared_ptr<TWQECS> last = lastStep();
    return last ? last->exportedMovieWidth() : 0;
}

void TWQECSSequence::setExportedMovieWidth(std::int32_t width) {
    if (const std::shared_ptr<TWQECS> last = lastStep())
        last->setExportedMovieWidth(width);
}

double TWQECSSequence::exportedMovieFrameRate() {
    const std::shared_ptr<TWQECS> last = lastStep();
    return last ? last->exportedMovieFrameRate() : 0.0;
}

void TWQECSSequence::setExportedMovieFrameRate(double frameRate) {
    if (const std::shared_ptr<TWQECS> last = lastStep())
        last->setExportedMovieFrameRate(frameRate);
}

}  // namespace TWQuickTime
