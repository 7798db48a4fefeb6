// Reads a preset file ("*.qecs") and answers for its presets.
//
// The file is a property list in XML or binary form (keys: TWQECSFormat.h); texts in it are
// translated through the main bundle's strings table that is named after the file, "PresetsQecs"
// for Presets.qecs. The reader owns its presets; one that is handed out stays alive, but a setting
// then may have lost its reader. A sequence that is handed out keeps the reader alive while it
// needs it. Not safe for use on several threads at once.
//
//     auto reader = TWQECSReader::qecsReaderWithPath("~/Presets.qecs");
//     if (!reader) return;
//     for (const auto& preset : reader->componentSettings()) show(preset->name());
#pragma once

#include <memory>
#include <vector>

#include "NSObject.h"
#include "NSString.h"
#include "PropertyListValue.h"
#include "TWQECSDictionary.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQECS;

class TWQT_EXPORT TWQECSReader : public NSObject {
  public:
    /// A reader that has loaded nothing. Presets get it as their reader only when it is held by a
    /// std::shared_ptr.
    TWQECSReader() = default;
    ~TWQECSReader() override;

    /// Null when the file could not be loaded.       (qecsReaderWithPath:, initWithPath:)
    static std::shared_ptr<TWQECSReader> qecsReaderWithPath(const NSString& path);
    static std::shared_ptr<TWQECSReader> initWithPath(const NSString& path);

    /// Replaces what was loaded before.       (loadQECSFromPath:)
    /// @param path  "~" at its start is the user's home directory
    /// @return false, and nothing is changed, for a file that is missing, unreadable or no
    ///     dictionary; entries without their identifier are logged and left out
    bool loadQECSFromPath(const NSString& path);

    /// The setting filed under the identifier; null for none. It is a sequence when its entry has
    /// "SequenceID" besides (on purpose).       (componentSettingForID:)
    std::shared_ptr<TWQECS> componentSettingForID(const PropertyListValue& identifier) const;
    /// The last of those that have the name; null for none.       (componentSettingForName:)
    std::shared_ptr<TWQECS> componentSettingForName(const NSString& name) const;
    /// (componentSettingSequenceForID:)
    std::shared_ptr<TWQECS> componentSettingSequenceForID(
        const PropertyListValue& identifier) const;
    /// (componentSettingSequenceForName:)
    std::shared_ptr<TWQECS> componentSettingSequenceForName(const NSString& name) const;
    /// All settings, in the order of the file; empty before loading.
    std::vector<std::shared_ptr<TWQECS>> componentSettings() const;
    /// All sequences, in the order of the file; empty before loading.
    std::vector<std::shared_ptr<TWQECS>> componentSettingSequences() const;

    /// The file's "Export Presets Version" as it stands there; null for none.
    const PropertyListValue& qecsVersion() const { return qecsVersion_; }
    void setQecsVersion(const PropertyListValue& qecsVersion);
    /// Null before loading.
    std::shared_ptr<const TWQECSDictionary> componentSettingsDict() const {
        return componentSettingsDict_;
    }
    /// Stores a copy; null clears.
    void setComponentSettingsDict(
        const std::shared_ptr<const TWQECSDictionary>& componentSettingsDict);
    /// Null before loading.
    std::shared_ptr<const TWQECSDictionary> componentSettingSequencesDict() const {
        return componentSettingSequencesDict_;
    }
    /// Stores a copy; null clears.
    void setComponentSettingSequencesDict(
        const std::shared_ptr<const TWQECSDictionary>& componentSettingSequencesDict);

  private:
    std::shared_ptr<TWQECSDictionary> presetsFromList(const NSArray& list,
                                                      const NSString& identifierKey,
                                                      const char* messageWithoutIdentifier);
    std::shared_ptr<const TWQECSDictionary> ownedCopy(
        const std::shared_ptr<const TWQECSDictionary>& presets);
    std::shared_ptr<TWQECS> handedOut(std::shared_ptr<TWQECS> preset) const;
    std::shared_ptr<TWQECS> lastNamed(const TWQECSDictionary* presets, const NSString& name) const;
    std::vector<std::shared_ptr<TWQECS>> allHandedOut(const TWQECSDictionary* presets) const;

    PropertyListValue qecsVersion_;
    std::shared_ptr<const TWQECSDictionary> componentSettingsDict_;
    std::shared_ptr<const TWQECSDictionary> componentSettingSequencesDict_;
};

}  // namespace TWQuickTime
