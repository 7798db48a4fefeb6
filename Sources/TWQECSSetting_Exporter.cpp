// The exporter of a setting: finding and opening it, what it tells of itself, and the parts of its
// settings that look like properties of the preset.
#include "CodecInformation.h"
#include "Handles.h"
#include "MovieExport.h"
#include "Movies.h"
#include "NSImage.h"
#include "TWQECSFormat.h"
#include "TWQECSSetting.h"
#include "TWQuickTimeAtom.h"
#include "TWUQuickTimeComponent.h"

namespace TWQuickTime {
namespace {

/// What the dialog call returns when the exporter gives no settings afterwards: '????'.
constexpr OSStatus kNoSettings = 0x3F3F3F3F;
/// The NTSC rate as some settings store it, times 100.
constexpr double kStoredNTSCRate = 2997.0;

/// A handle for a string of GetComponentInfo, disposed of with the object.
class StringHandle {
  public:
    StringHandle() : handle_(NewHandle(0)) {}
    ~StringHandle() { DisposeHandle(handle_); }
    StringHandle(const StringHandle&) = delete;
    StringHandle& operator=(const StringHandle&) = delete;

    Handle get() const { return handle_; }
    NSString string() const {
        if (!handle_ || GetHandleSize(handle_) == 0)
            return nullptr;
        return stringWithPascalString(
            reinterpret_cast<const std::uint8_t*>(*handle_),
            CFStringConvertEncodingToNSStringEncoding(GetApplicationTextEncoding()));
    }

  private:
    Handle handle_;
};

}  // namespace

Component TWQECSSetting::component() {
    if (!_component) {
        _component = TWUQuickTimeComponent::findComponentForType(
            componentType(), componentSupType(), componentManufacturer(), 0, cmpIsMissing);
    }
    return _component;
}

ComponentInstance TWQECSSetting::componentInstance() {
    if (_componentInstance)
        return _componentInstance;
    _componentInstance = TWUQuickTimeComponent::openComponent(component());
    setDefaultExporterComponentSetting(
        TWUQuickTimeComponent::getSettingsOfComponent(_componentInstance));
    const NSData settings = componentSettingsAtomData();
    if (!settings.isNil() &&
        TWUQuickTimeComponent::setSettings(settings, _componentInstance) != noErr) {
        closePrivateComponentInstance();
        _component = nullptr;
    }
    return _componentInstance;
}

ComponentInstance TWQECSSetting::createNewComponentInstance() {
    const ComponentInstance instance = TWUQuickTimeComponent::openComponent(component());
    const NSData settings = componentSettingsAtomData();
    if (!settings.isNil())
        TWUQuickTimeComponent::setSettings(settings, instance);
    return instance;
}

void TWQECSSetting::closePrivateComponentInstance() {
    if (_componentInstance)
        TWUQuickTimeComponent::closeComponent(&_componentInstance);
}

void TWQECSSetting::setDefaultExporterComponentSetting(
    const NSData& defaultExporterComponentSetting) {
    _defaultExporterComponentSetting = defaultExporterComponentSetting;
}

ComponentDescription TWQECSSetting::componentDescription() {
    ComponentDescription description;
    const Component found = component();
    if (found && GetComponentInfo(found, &description, nullptr, nullptr, nullptr) == noErr)
        return description;
    description = {};
    description.componentType = componentType();
    description.componentSubType = componentSupType();
    description.componentManufacturer = componentManufacturer();
    return description;
}

bool TWQECSSetting::componentHasUserInterface() {
    ComponentDescription description;
    return GetComponentInfo(component(), &description, nullptr, nullptr, nullptr) == noErr &&
           (description.componentFlags & hasMovieExportUserInterface) != 0;
}

bool TWQECSSetting::isThreadSafe() {
    return (componentDescription().componentFlags & cmpThreadSafe) != 0;
}

bool TWQECSSetting::isInstalled() {
    return TWUQuickTimeComponent::isComponentInstalledWithType(
        componentType(), componentSupType(), componentManufacturer(), componentSettingsAtomData(),
        &_installationFault);
}

NSString TWQECSSetting::componentName() {
    const StringHandle name;
    if (GetComponentInfo(component(), nullptr, name.get(), nullptr, nullptr) != noErr)
        return nullptr;
    return name.string();
}

NSString TWQECSSetting::componentInfo() {
    const StringHandle info;
    if (GetComponentInfo(component(), nullptr, nullptr, info.get(), nullptr) != noErr)
        return nullptr;
    return info.string();
}

std::shared_ptr<NSImage> TWQECSSetting::componentIcon() const {
    return nullptr;
}

NSString TWQECSSetting::exportedMovieFileExtension() {
    return TWUQuickTimeComponent::filenameExtensionForComponent(componentInstance());
}

std::int32_t TWQECSSetting::exportedMovieHeight() {
    const auto atom = TWQuickTimeAtom::initWithQTAtomContainerData(componentSettingsAtomData());
    return atom ? atom->height() : 0;
}

void TWQECSSetting::setExportedMovieHeight(std::int32_t height) {
    const auto atom = TWQuickTimeAtom::initWithQTAtomContainerData(componentSettingsAtomData());
    if (!atom)
        return;
    atom->setHeight(height);
    setComponentSettingsAtomData(atom->getData());
}

std::int32_t TWQECSSetting::exportedMovieWidth() {
    const auto atom = TWQuickTimeAtom::initWithQTAtomContainerData(componentSettingsAtomData());
    return atom ? atom->width() : 0;
}

void TWQECSSetting::setExportedMovieWidth(std::int32_t width) {
    const auto atom = TWQuickTimeAtom::initWithQTAtomContainerData(componentSettingsAtomData());
    if (!atom)
        return;
    atom->setWidth(width);
    setComponentSettingsAtomData(atom->getData());
}

double TWQECSSetting::exportedMovieFrameRate() {
    const auto atom = TWQuickTimeAtom::initWithQTAtomContainerData(componentSettingsAtomData());
    const double rate = atom ? atom->frameRate() : 0.0;
    return rate == kStoredNTSCRate ? kStoredNTSCRate / 100.0 : rate;
}

void TWQECSSetting::setExportedMovieFrameRate(double frameRate) {
    const auto atom = TWQuickTimeAtom::initWithQTAtomContainerData(componentSettingsAtomData());
    if (!atom)
        return;
    atom->setFrameRate(frameRate);
    setComponentSettingsAtomData(atom->getData());
}

OSStatus TWQECSSetting::customizeComponentSettingsWithComponentDialogForMovie(Movie movie) {
    const TimeValue duration = movie ? GetMovieDuration(movie) : 0;
    Boolean canceled = false;
    const OSStatus status =
        MovieExportDoUserDialog(componentInstance(), movie, nullptr, 0, duration, &canceled);
    if (status != noErr)
        return status;
    if (canceled)
        return noErr;
    const NSData settings = TWUQuickTimeComponent::getSettingsOfComponent(componentInstance());
    if (settings.isNil())
        return kNoSettings;
    // Not through the setter: the instance has these settings already.
    setObject(settings, TWQECSFormatSettingComponentAtomData);
    return noErr;
}

}  // namespace TWQuickTime
