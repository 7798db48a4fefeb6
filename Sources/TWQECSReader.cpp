#include "TWQECSReader.h"

#include <utility>

#include "NSBundle.h"
#include "TWLog.h"
#include "TWPlistLocalizer.h"
#include "TWQECS.h"
#include "TWQECSFormat.h"

namespace TWQuickTime {

TWQECSReader::~TWQECSReader() {
    setQecsVersion(nullptr);
    setComponentSettingsDict(nullptr);
    setComponentSettingSequencesDict(nullptr);
}

std::shared_ptr<TWQECSReader> TWQECSReader::qecsReaderWithPath(const NSString& path) {
    return initWithPath(path);
}

std::shared_ptr<TWQECSReader> TWQECSReader::initWithPath(const NSString& path) {
    auto reader = std::make_shared<TWQECSReader>();
    return reader->loadQECSFromPath(path) ? reader : nullptr;
}

bool TWQECSReader::loadQECSFromPath(const NSString& path) {
    const NSString tableName =
        path.lastPathComponent().stringByDeletingPathExtension().stringByAppendingString(
            path.pathExtension().capitalizedString());
    const NSDictionary root = TWPlistLocalizer::localizePlist(
        NSDictionary::dictionaryWithContentsOfFile(path.stringByExpandingTildeInPath()), tableName,
        NSBundle::mainBundle());
    if (root.isNil())
        return false;

    setQecsVersion(root.objectForKey(TWQECSFormatVersion));
    setComponentSettingsDict(
        presetsFromList(root.objectForKey(TWQECSFormatSettingList).arrayValue(),
                        TWQECSFormatSettingID, "Can't load QECS Setting without SettingID."));
    setComponentSettingSequencesDict(
        presetsFromList(root.objectForKey(TWQECSFormatSequenceList).arrayValue(),
                        TWQECSFormatSequenceID, "Can't load QECSSequence without SequenceID."));
    return true;
}

std::shared_ptr<TWQECSDictionary> TWQECSReader::presetsFromList(
    const NSArray& list, const NSString& identifierKey, const char* messageWithoutIdentifier) {
    auto presets = std::make_shared<TWQECSDictionary>();
    presets->reserve(list.count());
    const auto self = std::static_pointer_cast<TWQECSReader>(weak_from_this().lock());
    for (const PropertyListValue& item : list) {
        const NSDictionary entry = item.dictionaryValue();
        const PropertyListValue identifier = entry.objectForKey(identifierKey);
        if (identifier.isNull())
            TWLog(messageWithoutIdentifier);
        else
            presets->setObject(TWQECS::QECSWithDictionary(entry, self), identifier);
    }
    return presets;
}

std::shared_ptr<TWQECS> TWQECSReader::componentSettingForID(
    const PropertyListValue& identifier) const {
    return componentSettingsDict_ ? handedOut(componentSettingsDict_->objectForKey(identifier))
                                  : nullptr;
}

std::shared_ptr<TWQECS> TWQECSReader::componentSettingForName(const NSString& name) const {
    return lastNamed(componentSettingsDict_.get(), name);
}

std::shared_ptr<TWQECS> TWQECSReader::componentSettingSequenceForID(
    const PropertyListValue& identifier) const {
    return componentSettingSequencesDict_
               ? handedOut(componentSettingSequencesDict_->objectForKey(identifier))
               : nullptr;
}

std::shared_ptr<TWQECS> TWQECSReader::componentSettingSequenceForName(const NSString& name) const {
    return lastNamed(componentSettingSequencesDict_.get(), name);
}

std::vector<std::shared_ptr<TWQECS>> TWQECSReader::componentSettings() const {
    return allHandedOut(componentSettingsDict_.get());
}

std::vector<std::shared_ptr<TWQECS>> TWQECSReader::componentSettingSequences() const {
    return allHandedOut(componentSettingSequencesDict_.get());
}

void TWQECSReader::setQecsVersion(const PropertyListValue& qecsVersion) {
    qecsVersion_ = qecsVersion;
}

void TWQECSReader::setComponentSettingsDict(
    const std::shared_ptr<const TWQECSDictionary>& componentSettingsDict) {
    componentSettingsDict_ = ownedCopy(componentSettingsDict);
}

void TWQECSReader::setComponentSettingSequencesDict(
    const std::shared_ptr<const TWQECSDictionary>& componentSettingSequencesDict) {
    componentSettingSequencesDict_ = ownedCopy(componentSettingSequencesDict);
}

std::shared_ptr<const TWQECSDictionary> TWQECSReader::ownedCopy(
    const std::shared_ptr<const TWQECSDictionary>& presets) {
    if (!presets)
        return nullptr;
    // A sequence owns its reader; one in this reader's tables would keep both alive for ever.
    for (const std::shared_ptr<TWQECS>& preset : presets->allValues())
        if (preset->reader().get() == this)
            preset->readerOwnsThis();
    return std::make_shared<const TWQECSDictionary>(*presets);
}

/// A preset that still needs this reader is handed out together with it.
std::shared_ptr<TWQECS> TWQECSReader::handedOut(std::shared_ptr<TWQECS> preset) const {
    if (!preset || !preset->needsItsReader() || preset->reader().get() != this)
        return preset;
    struct PresetAndReader {
        std::shared_ptr<TWQECS> preset;
        std::shared_ptr<TWQECSReader> reader;
    };
    TWQECS* const object = preset.get();
    const std::shared_ptr<TWQECSReader> reader = object->reader();
    return {std::make_shared<PresetAndReader>(PresetAndReader{std::move(preset), reader}), object};
}

/// Walks to the end on purpose: of several presets with the name, the last one counts.
std::shared_ptr<TWQECS> TWQECSReader::lastNamed(const TWQECSDictionary* presets,
                                                const NSString& name) const {
    std::shared_ptr<TWQECS> found;
    if (!presets || name.isNil())
        return found;
    for (const std::shared_ptr<TWQECS>& preset : presets->allValues())
        if (preset->name() == name)
            found = preset;
    return found ? handedOut(std::move(found)) : nullptr;
}

std::vector<std::shared_ptr<TWQECS>> TWQECSReader::allHandedOut(
    const TWQECSDictionary* presets) const {
    std::vector<std::shared_ptr<TWQECS>> all;
    if (!presets)
        return all;
    all.reserve(presets->count());
    for (const std::shared_ptr<TWQECS>& preset : presets->allValues())
        all.push_back(handedOut(preset));
    return all;
}

}  // namespace TWQuickTime
