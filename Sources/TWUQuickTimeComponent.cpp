#include "TWUQuickTimeComponent.h"

#include "CodecInformation.h"
#include "Handles.h"
#include "MovieExport.h"
#include "OSTypeStrings.h"
#include "TWLog.h"
#include "UQuickTimeComponent.h"

namespace TWQuickTime {

const NSString TWQuickTimeComponentName = "componentName";
const NSString TWQuickTimeComponentType = "componentType";
const NSString TWQuickTimeComponentSubType = "componentSubType";
const NSString TWQuickTimeComponentSubTypeFourCharCode = "ComponentSubTypeFourCharCode";
const NSString TWQuickTimeComponentManufacturer = "componentManufacturer";
const NSString TWQuickTimeComponentHasUserInterface = "componentHasUserInterface";
const NSString TWQuickTimeComponentFileExtension = "exportedMovieFileExtension";

namespace {

/// What an exporter says of itself when it is opened.
struct Answers {
    ComponentResult mediaTypeStatus = noErr;
    OSType mediaType = 0;
    NSString extension;
};

Answers answersOf(Component component) {
    Answers answers;
    ComponentInstance instance = OpenComponent(component);
    if (!instance)
        return answers;
    answers.mediaTypeStatus = MovieExportGetSourceMediaType(instance, &answers.mediaType);
    answers.extension = TWUQuickTimeComponent::filenameExtensionForComponent(instance);
    CloseComponent(instance);
    return answers;
}

/// Nil when the component is not one for the catalogue.
NSDictionary entryFor(Component component, Handle name) {
    const Answers answers = answersOf(component);
    if (answers.mediaTypeStatus != noErr ||
        (answers.mediaType != 0 && answers.mediaType != fourCC("vide")))
        return nullptr;
    ComponentDescription description;
    if (GetComponentInfo(component, &description, name, nullptr, nullptr) != noErr)
        return nullptr;
    NSDictionary entry{
        {TWQuickTimeComponentName, TWUQuickTimeComponent::nameFromHandle(name)},
        {TWQuickTimeComponentType, MovieExportType},
        {TWQuickTimeComponentSubType, description.componentSubType},
        {TWQuickTimeComponentSubTypeFourCharCode, QTStringForOSType(description.componentSubType)},
        {TWQuickTimeComponentManufacturer, description.componentManufacturer},
        {TWQuickTimeComponentHasUserInterface,
         (description.componentFlags & hasMovieExportUserInterface) != 0}};
    if (answers.extension)
        entry.setObject(answers.extension, TWQuickTimeComponentFileExtension);
    return entry;
}

}  // namespace

NSArray TWUQuickTimeComponent::allAvailableMovieExportComponents() {
    constexpr std::uint32_t flags = canMovieExportFiles | movieExportMustGetSourceMediaType;
    const ComponentDescription wanted{MovieExportType, 0, 0, flags, flags};
    NSArray catalogue = NSArray::array();
    if (CountComponents(&wanted) == 0)
        return catalogue;
    for (Component component = FindNextComponent(nullptr, &wanted); component;
         component = FindNextComponent(component, &wanted)) {
        Handle name = NewHandle(0);
        if (const NSDictionary entry = entryFor(component, name))
            catalogue.addObject(entry);
        DisposeHandle(name);
    }
    return catalogue;
}

NSString TWUQuickTimeComponent::nameFromHandle(Handle handle) {
    if (GetHandleSize(handle) == 0)
        return "-";
    HLock(handle);
    const NSString name = stringWithPascalString(
        reinterpret_cast<const std::uint8_t*>(*handle),
        CFStringConvertEncodingToNSStringEncoding(GetApplicationTextEncoding()));
    HUnlock(handle);
    return name;
}

NSString TWUQuickTimeComponent::filenameExtensionForComponent(ComponentInstance component) {
    if (!component)
        return nullptr;
    OSType extension = 0;
    const ComponentResult status = MovieExportGetFileNameExtension(component, &extension);
    if (status == noErr)
        return QTStringForOSType(extension).stringByTrimmingWhitespace();
    if (status != badComponentSelector)
        TWLog("%s - Error getting file extension: %d",
              "+[TWUQuickTimeComponent filenameExtensionForComponent:]", status);
    return nullptr;
}

bool TWUQuickTimeComponent::isComponentThreadSafe(OSType componentType,
                                                  OSType withComponentSubType) {
    const ComponentDescription wanted{componentType, withComponentSubType, 0, 0, cmpIsMissing};
    for (Component component = FindNextComponent(nullptr, &wanted); component;
         component = FindNextComponent(component, &wanted)) {
        ComponentDescription description;
        if (GetComponentInfo(component, &description, nullptr, nullptr, nullptr) == noErr &&
            (description.componentFlags & cmpThreadSafe))
            return true;
    }
    return false;
}

bool TWUQuickTimeComponent::isComponentInstalledWithType(OSType type, OSType subType,
                                                         OSType manufacturer,
                                                         const NSData& withComponentData,
                                                         ComponentInstallationFault* fault) {
    return UQuickTimeComponent::IsComponentInstalled(type, subType, manufacturer, withComponentData,
                                                     fault);
}

Component TWUQuickTimeComponent::findComponentForType(OSType type, OSType subType,
                                                      OSType manufacturer, std::uint32_t flags,
                                                      std::uint32_t flagsMask) {
    return UQuickTimeComponent::FindComponentWithParameters(type, subType, manufacturer, flags,
                                                            flagsMask);
}

ComponentInstance TWUQuickTimeComponent::openComponentForType(OSType type, OSType subType,
                                                              OSType manufacturer,
                                                              std::uint32_t flags,
                                                              std::uint32_t flagsMask) {
    return UQuickTimeComponent::OpenComponentWithParameters(type, subType, manufacturer, flags,
                                                            flagsMask);
}

ComponentInstance TWUQuickTimeComponent::openComponent(Component component) {
    return UQuickTimeComponent::OpenComponent(component);
}

OSErr TWUQuickTimeComponent::closeComponent(ComponentInstance* component) {
    return UQuickTimeComponent::CloseComponent(component);
}

NSData TWUQuickTimeComponent::getSettingsOfComponent(ComponentInstance component) {
    return UQuickTimeComponent::GetComponentSettings(component);
}

OSErr TWUQuickTimeComponent::setSettings(const NSData& settings, ComponentInstance ofComponent) {
    return UQuickTimeComponent::SetComponentSettings(ofComponent, settings);
}

}  // namespace TWQuickTime
