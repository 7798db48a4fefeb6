#include "PresetFileCheck.h"

#include <Components.h>
#include <TWQECSFormat.h>
#include <TWQECSSetting.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "AtomTree.h"
#include "CommandFailure.h"
#include "ExporterFields.h"
#include "FourCharCodeText.h"

namespace twqt {

using namespace TWQuickTime;

namespace {

/// What stands where in the file, for messages.
class Place {
  public:
    explicit Place(std::string path) : path_(std::move(path)) {}
    Place operator[](std::size_t index) const {
        return Place(path_ + "[" + std::to_string(index) + "]");
    }
    Place operator/(const NSString& key) const {
        return Place(path_.empty() ? key.utf8() : path_ + "." + key.utf8());
    }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

const char* kindName(const PropertyListValue& value) {
    switch (value.kind()) {
        case PropertyListValue::Kind::null:
            return "nothing";
        case PropertyListValue::Kind::boolean:
            return "a boolean";
        case PropertyListValue::Kind::integer:
        case PropertyListValue::Kind::real:
            return "a number";
        case PropertyListValue::Kind::string:
            return "a string";
        case PropertyListValue::Kind::data:
            return "data";
        case PropertyListValue::Kind::date:
            return "a date";
        case PropertyListValue::Kind::uid:
            return "a reference";
        case PropertyListValue::Kind::array:
            return "an array";
        case PropertyListValue::Kind::dictionary:
            return "a dictionary";
    }
    return "nothing";
}

bool isArray(const PropertyListValue& value) {
    return value.kind() == PropertyListValue::Kind::array;
}
bool isDictionary(const PropertyListValue& value) {
    return value.kind() == PropertyListValue::Kind::dictionary;
}
bool isData(const PropertyListValue& value) {
    return value.kind() == PropertyListValue::Kind::data;
}
bool isText(const PropertyListValue& value) {
    return value.isString();
}
bool isIdentifier(const PropertyListValue& value) {
    return value.isString() || value.isNumber();
}
bool isNumber(const PropertyListValue& value) {
    return value.isNumber();
}
/// Codes are 32 bits, and are stored with or without a sign.
bool isCode(const PropertyListValue& value) {
    return value.kind() == PropertyListValue::Kind::integer &&
           value == PropertyListValue(value.longLongValue()) &&
           value.longLongValue() >= std::numeric_limits<std::int32_t>::min() &&
           value.longLongValue() <= std::numeric_limits<std::uint32_t>::max();
}

struct KnownKey {
    NSString key;
    bool (*isRight)(const PropertyListValue&);
    const char* wanted;
};
using KnownKeys = std::vector<KnownKey>;

constexpr const char* kIdentifierWanted = "a string or a number";

const KnownKeys& rootKeys() {
    static const KnownKeys keys{{TWQECSFormatVersion, isNumber, "a number"},
                                {TWQECSFormatSettingList, isArray, "an array"},
                                {TWQECSFormatSequenceList, isArray, "an array"}};
    return keys;
}

const KnownKeys& settingKeys() {
    constexpr const char* code = "a number, a four-character code";
    static const KnownKeys keys{{TWQECSFormatSettingID, isIdentifier, kIdentifierWanted},
                                {TWQECSFormatSettingName, isText, "a string"},
                                {TWQECSFormatSettingComment, isText, "a string"},
                                {TWQECSFormatSettingComponentType, isCode, code},
                                {TWQECSFormatSettingComponentSubType, isCode, code},
                                {TWQECSFormatSettingComponentManufacturer, isCode, code},
                                {TWQECSFormatSettingComponentAtomData, isData, "data"}};
    return keys;
}

const KnownKeys& sequenceKeys() {
    static const KnownKeys keys{{TWQECSFormatSequenceID, isIdentifier, kIdentifierWanted},
                                {TWQECSFormatSequenceName, isText, "a string"},
                                {TWQECSFormatSequenceComment, isText, "a string"},
                                {TWQECSFormatSequenceStepList, isArray, "an array"}};
    return keys;
}

const KnownKeys& stepKeys() {
    static const KnownKeys keys{{TWQECSFormatSequenceStepName, isText, "a string"},
                                {TWQECSFormatSequenceStepFallbackList, isArray, "an array"}};
    return keys;
}

const KnownKeys& fallbackKeys() {
    static const KnownKeys keys{
        {TWQECSFormatSequenceStepFallbackName, isText, "a string"},
        {TWQECSFormatSequenceStepFallbackSettingID, isIdentifier, kIdentifierWanted}};
    return keys;
}

std::string withStatus(const std::string& text, std::int32_t status) {
    return text + " (" + std::to_string(status) + ")";
}

/// A message of a failure without the operation that it names.
std::string reasonIn(const CommandFailure& failure) {
    const std::string text = failure.what();
    const std::size_t colon = text.find(" : ");
    return colon == std::string::npos ? text : text.substr(colon + 3);
}

bool hasCompressor(OSType componentType, OSType codec) {
    const ComponentDescription wanted{.componentType = componentType, .componentSubType = codec};
    return FindNextComponent(nullptr, &wanted) != nullptr;
}

/// The identifiers of a list of entries.
class Identifiers {
  public:
    Identifiers(const NSArray& list, const NSString& identifierKey) {
        for (std::size_t i = 0; i < list.count(); ++i) {
            const PropertyListValue& identifier =
                list.objectAtIndex(i).dictionaryValue().objectForKey(identifierKey);
            if (!isIdentifier(identifier))
                continue;
            lastIndexes_[identifier] = i;
            texts_.insert(identifier.description().utf8());
        }
    }
    bool has(const PropertyListValue& identifier) const {
        return lastIndexes_.contains(identifier);
    }
    /// Whether an identifier looks like that, of whatever kind it is.
    bool hasText(const std::string& text) const { return texts_.contains(text); }
    /// Whether a later entry has the identifier of the entry at the index.
    bool isReplaced(const PropertyListValue& identifier, std::size_t index) const {
        const auto last = lastIndexes_.find(identifier);
        return last != lastIndexes_.end() && last->second > index;
    }

  private:
    std::unordered_map<PropertyListValue, std::size_t> lastIndexes_;
    std::unordered_set<std::string> texts_;
};

class Check {
  public:
    std::vector<PresetFault> run(const PropertyListValue& root) {
        const Place file("");
        if (!isDictionary(root)) {
            report(file, "not a property list whose root is a dictionary");
            return std::move(faults_);
        }
        const NSDictionary presets = root.dictionaryValue();
        checkKeys(presets, rootKeys(), file);
        const NSArray settings = presets.objectForKey(TWQECSFormatSettingList).arrayValue();
        settings_ = Identifiers(settings, TWQECSFormatSettingID);
        checkList(settings, file / TWQECSFormatSettingList, TWQECSFormatSettingID,
                  &Check::checkSetting);
        checkList(presets.objectForKey(TWQECSFormatSequenceList).arrayValue(),
                  file / TWQECSFormatSequenceList, TWQECSFormatSequenceID, &Check::checkSequence);
        return std::move(faults_);
    }

  private:
    void report(const Place& place, const std::string& problem) {
        faults_.push_back({place.path(), problem});
    }

    void checkKeys(const NSDictionary& dictionary, const KnownKeys& known, const Place& place) {
        for (const auto& [key, value] : dictionary) {
            const auto found = std::ranges::find(known, key, &KnownKey::key);
            if (found == known.end())
                report(place / key, "unknown key");
            else if (!found->isRight(value))
                report(place / key, std::string(kindName(value)) + ", not " + found->wanted);
        }
    }

    /// Entries without their identifier are skipped by readers, earlier ones of the same are lost.
    void checkList(const NSArray& list, const Place& place, const NSString& identifierKey,
                   void (Check::*checkEntry)(const NSDictionary&, const Place&)) {
        const Identifiers identifiers(list, identifierKey);
        for (std::size_t i = 0; i < list.count(); ++i) {
            const PropertyListValue& item = list.objectAtIndex(i);
            if (!isDictionary(item)) {
                report(place[i], std::string(kindName(item)) + ", not a dictionary");
                continue;
            }
            const NSDictionary entry = item.dictionaryValue();
            const PropertyListValue& identifier = entry.objectForKey(identifierKey);
            if (!identifier)
                report(place[i], "no \"" + identifierKey.utf8() + "\": the entry is skipped");
            else if (identifiers.isReplaced(identifier, i))
                report(place[i] / identifierKey,
                       "a later entry has the same identifier: this one is not used");
            (this->*checkEntry)(entry, place[i]);
        }
    }

    void checkSetting(const NSDictionary& entry, const Place& place) {
        if (entry.hasKey(TWQECSFormatSequenceID)) {
            report(place / TWQECSFormatSequenceID,
                   "makes a sequence of a setting: its exporter is not used");
            NSDictionary rest = entry;
            rest.removeObjectForKey(TWQECSFormatSettingID);
            checkSequence(rest, place);
            return;
        }
        checkKeys(entry, settingKeys(), place);
        const NSData settings =
            entry.objectForKey(TWQECSFormatSettingComponentAtomData).dataValue();
        const Place settingsPlace = place / TWQECSFormatSettingComponentAtomData;
        if (settings.length() > 0) {
            try {
                atomTree(settings.bytes());
            } catch (const CommandFailure& failure) {
                report(settingsPlace, "unreadable: " + reasonIn(failure));
                return;
            }
        }
        checkExporter(*TWQECSSetting::initWithDictionary(entry), place);
    }

    void checkExporter(TWQECSSetting& setting, const Place& place) {
        using Kind = ComponentInstallationFault::Kind;
        const Place settings = place / TWQECSFormatSettingComponentAtomData;
        if (setting.isInstalled()) {
            checkEncoders(setting, settings);
            return;
        }
        const ComponentInstallationFault fault = setting.installationFault();
        if (fault.kind == Kind::exporter)
            report(place / TWQECSFormatSettingComponentSubType,
                   withStatus("exporter '" + fourCharCodeText(setting.componentSupType()) +
                                  "' not installed",
                              fault.status));
        else
            report(settings, withStatus(fault.description().utf8(), fault.status));
    }

    /// A codec may be here for reading alone.
    void checkEncoders(TWQECSSetting& setting, const Place& place) {
        const ExporterFields fields(setting);
        const auto check = [&](const std::optional<OSType>& codec, OSType componentType,
                               const char* kind) {
            if (codec && !hasCompressor(componentType, *codec))
                report(place, withStatus(std::string("no encoder for the ") + kind + " codec '" +
                                             fourCharCodeText(*codec) + "'",
                                         noCodecErr));
        };
        check(fields.videoCodec(), compressorComponentType, "video");
        check(fields.soundCodec(), kSoundCompressor, "sound");
    }

    void checkSequence(const NSDictionary& entry, const Place& place) {
        checkKeys(entry, sequenceKeys(), place);
        const NSArray steps = entry.objectForKey(TWQECSFormatSequenceStepList).arrayValue();
        const PropertyListValue& identifier = entry.objectForKey(TWQECSFormatSequenceID);
        if (steps.count() == 0 && identifier && !settings_.has(identifier))
            report(place, "no steps, and no setting has its identifier");
        for (std::size_t i = 0; i < steps.count(); ++i)
            checkStep(steps.objectAtIndex(i), (place / TWQECSFormatSequenceStepList)[i]);
    }

    void checkStep(const PropertyListValue& step, const Place& place) {
        if (!isDictionary(step)) {
            report(place, std::string(kindName(step)) + ", not a dictionary");
            return;
        }
        checkKeys(step.dictionaryValue(), stepKeys(), place);
        const NSArray fallbacks =
            step.dictionaryValue().objectForKey(TWQECSFormatSequenceStepFallbackList).arrayValue();
        if (fallbacks.count() == 0)
            report(place, "no fallbacks: the step is left out");
        for (std::size_t i = 0; i < fallbacks.count(); ++i)
            checkFallback(fallbacks.objectAtIndex(i),
                          (place / TWQECSFormatSequenceStepFallbackList)[i]);
    }

    void checkFallback(const PropertyListValue& fallback, const Place& place) {
        if (!isDictionary(fallback)) {
            report(place, std::string(kindName(fallback)) + ", not a dictionary");
            return;
        }
        checkKeys(fallback.dictionaryValue(), fallbackKeys(), place);
        const PropertyListValue& identifier =
            fallback.dictionaryValue().objectForKey(TWQECSFormatSequenceStepFallbackSettingID);
        if (!identifier)
            report(place, "no \"SettingID\": the fallback is skipped");
        else if (!settings_.has(identifier))
            report(place / TWQECSFormatSequenceStepFallbackSettingID,
                   problemOfDangling(identifier));
    }

    std::string problemOfDangling(const PropertyListValue& identifier) const {
        const std::string text = identifier.description().utf8();
        if (settings_.hasText(text))
            return "no setting has it: the string \"" + text + "\" and the number " + text +
                   " are different";
        return "no setting has the identifier " + text;
    }

    Identifiers settings_{NSArray(), NSString()};
    std::vector<PresetFault> faults_;
};

}  // namespace

std::vector<PresetFault> faultsOfPresets(const PropertyListValue& root) {
    return Check().run(root);
}

}  // namespace twqt
