#include "TWQECSSetting.h"

#include "ClassRegistry.h"
#include "TWQECSFormat.h"
#include "TWUQuickTimeComponent.h"

namespace TWQuickTime {
namespace {

constexpr const char* kClassName = "TWQECSSetting";
constexpr OSType kMovieExportType = fourCC("spit");

std::shared_ptr<TWQECS> makeSetting(const NSDictionary& dictionary,
                                    const std::shared_ptr<TWQECSReader>& reader) {
    return TWQECSSetting::initWithDictionary(dictionary, reader);
}
[[maybe_unused]] const bool isRegistered = ClassRegistry<TWQECSClass>::add(kClassName, makeSetting);

/// Codes are stored as signed or unsigned numbers; both have the same low 32 bits.
OSType codeOf(const PropertyListValue& value) {
    return static_cast<OSType>(value.longLongValue());
}

}  // namespace

TWQECSSetting::~TWQECSSetting() {
    _component = nullptr;
    closePrivateComponentInstance();
}

std::shared_ptr<TWQECS> TWQECSSetting::QECSWithDictionary(
    const NSDictionary& dictionary, const std::shared_ptr<TWQECSReader>& reader) {
    return makeFor(kClassName, dictionary, reader);
}

std::shared_ptr<TWQECS> TWQECSSetting::QECSWithDictionary(const NSDictionary& dictionary) {
    return makeWithoutReaderFor(kClassName, dictionary);
}

std::shared_ptr<TWQECSSetting> TWQECSSetting::initWithDictionary(const NSDictionary& dictionary) {
    return initWithDictionary(dictionary, nullptr);
}

std::shared_ptr<TWQECSSetting> TWQECSSetting::initWithDictionary(
    const NSDictionary& dictionary, const std::shared_ptr<TWQECSReader>& reader) {
    auto setting = std::make_shared<TWQECSSetting>();
    return setting->fillWith(dictionary, reader) ? setting : nullptr;
}

std::shared_ptr<TWQECS> TWQECSSetting::copy() const {
    return QECSWithDictionary(QECSDict());
}

OSType TWQECSSetting::componentType() const {
    const PropertyListValue type = objectForKey(TWQECSFormatSettingComponentType);
    return type ? codeOf(type) : kMovieExportType;
}

OSType TWQECSSetting::componentSupType() const {
    return codeOf(objectForKey(TWQECSFormatSettingComponentSubType));
}

OSType TWQECSSetting::componentManufacturer() const {
    return codeOf(objectForKey(TWQECSFormatSettingComponentManufacturer));
}

NSData TWQECSSetting::componentSettingsAtomData() const {
    return objectForKey(TWQECSFormatSettingComponentAtomData).dataValue();
}

void TWQECSSetting::setComponentSettingsAtomData(const NSData& componentSettingsAtomData) {
    if (componentSettingsAtomData.isNil()) {
        removeObjectForKey(TWQECSFormatSettingComponentAtomData);
        return;
    }
    setObject(componentSettingsAtomData, TWQECSFormatSettingComponentAtomData);
    if (_componentInstance)
        TWUQuickTimeComponent::setSettings(componentSettingsAtomData, _componentInstance);
}

bool TWQECSSetting::usesExportComponentWithSubtype(OSType subtype, OSType manufacturer) {
    return componentType() == kMovieExportType && componentSupType() == subtype &&
           componentManufacturer() == manufacturer;
}

}  // namespace TWQuickTime
