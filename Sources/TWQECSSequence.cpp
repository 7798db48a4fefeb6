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
        std::optional<Steps> resolved = resolvedSteps(*presets);
        --sequencesResolving;
        _isResolving = false;
        if (resolved)
            _steps = std::move(resolved);
    }
    setReader(nullptr);
}

std::optional<TWQECSSequence::Steps> TWQECSSequence::resolvedSteps(
    const TWQECSReader& reader) const {
    const auto usable = [](const std::shared_ptr<TWQECS>& setting) {
        return setting && setting->nestingDepth() < kDeepestNesting;
    };
    const NSArray list = objectForKey(TWQECSFormatSequenceStepList).arrayValue();
    if (list.count() == 0) {
        std::shared_ptr<TWQECS> setting = settingOf(reader, identifier());
        return usable(setting) ? std::optional(Steps{std::move(setting)}) : std::nullopt;
    }
    const auto firstInstalled = [&](const NSArray& fallbacks) -> std::shared_ptr<TWQECS> {
        for (const PropertyListValue& fallback : fallbacks) {
            std::shared_ptr<TWQECS> setting = settingOf(
                reader,
                fallback.dictionaryValue().objectForKey(TWQECSFormatSequenceStepFallbackSettingID));
            if (usable(setting) && setting->isInstalled())
                return setting;
        }
        return nullptr;
    };
    Steps steps;
    for (const PropertyListValue& step : list) {
        const NSArray fallbacks =
            step.dictionaryValue().objectForKey(TWQECSFormatSequenceStepFallbackList).arrayValue();
        if (fallbacks.count() == 0)
            continue;
        std::shared_ptr<TWQECS> setting = firstInstalled(fallbacks);
        if (!setting)
            return Steps();
        steps.push_back(std::move(setting));
    }
    return steps;
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
