// The catalogue of installed movie exporters, and answers about single components.
//
//     for (const PropertyListValue& entry :
//          TWUQuickTimeComponent::allAvailableMovieExportComponents())
//         show(entry.dictionaryValue().objectForKey(TWQuickTimeComponentName));
//
// Takes no lock; meant for the main thread.
#pragma once

#include "ComponentInstallationFault.h"
#include "Components.h"
#include "NSData.h"
#include "NSString.h"
#include "PropertyListValue.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

// Keys of a catalogue entry.
/// String: the exporter's name, "-" when it has none.
TWQT_EXPORT extern const NSString TWQuickTimeComponentName;
/// Number: always 'spit'.
TWQT_EXPORT extern const NSString TWQuickTimeComponentType;
/// Number.
TWQT_EXPORT extern const NSString TWQuickTimeComponentSubType;
/// String of four characters. The text of the key begins with a capital on purpose.
TWQT_EXPORT extern const NSString TWQuickTimeComponentSubTypeFourCharCode;
/// Number.
TWQT_EXPORT extern const NSString TWQuickTimeComponentManufacturer;
/// Boolean: whether it has a settings dialog.
TWQT_EXPORT extern const NSString TWQuickTimeComponentHasUserInterface;
/// String: extension of the files that it writes; absent when it gives none.
TWQT_EXPORT extern const NSString TWQuickTimeComponentFileExtension;

class TWQT_EXPORT TWUQuickTimeComponent {
  public:
    /// An entry for each exporter to files that names no source media type or video, in the order
    /// in which they are found. One that cannot be opened is listed without an extension.
    static NSArray allAvailableMovieExportComponents();
    /// The length-prefixed name that GetComponentInfo filled in; "-" when it filled in none.
    static NSString nameFromHandle(Handle handle);
    /// Without blanks at its ends; nil for no instance, and for an exporter that gives none.
    static NSString filenameExtensionForComponent(ComponentInstance component);
    /// Whether some matching component is thread-safe.
    ///     (isComponentThreadSafe:withComponentSubType:)
    static bool isComponentThreadSafe(OSType componentType, OSType withComponentSubType);

    /// (isComponentInstalledWithType:subType:manufacturer:withComponentData:)
    /// @param fault  told what is missing; may be null
    static bool isComponentInstalledWithType(OSType type, OSType subType, OSType manufacturer,
                                             const NSData& withComponentData,
                                             ComponentInstallationFault* fault = nullptr);
    /// (findComponentForType:subType:manufacturer:flags:flagsMask:)
    static Component findComponentForType(OSType type, OSType subType, OSType manufacturer,
                                          std::uint32_t flags, std::uint32_t flagsMask);
    /// (openComponentForType:subType:manufacturer:flags:flagsMask:)
    static ComponentInstance openComponentForType(OSType type, OSType subType, OSType manufacturer,
                                                  std::uint32_t flags, std::uint32_t flagsMask);
    /// Null when it cannot be opened.       (openComponent:)
    static ComponentInstance openComponent(Component component);
    /// Null afterwards, whatever the status.       (closeComponent:)
    static OSErr closeComponent(ComponentInstance* component);
    /// Nil on failure.       (getSettingsOfComponent:)
    static NSData getSettingsOfComponent(ComponentInstance component);
    /// (setSettings:ofComponent:)
    static OSErr setSettings(const NSData& settings, ComponentInstance ofComponent);
};

}  // namespace TWQuickTime
