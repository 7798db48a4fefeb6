// The component manager: finding, opening and closing what can be exchanged (exporters, codecs,
// media handlers).
//
// A component is named by type, subtype and manufacturer; 0 in a description matches any. Flags
// match when they are equal under the description's mask. Components are found in one fixed order.
//
//     ComponentDescription wanted{.componentType = MovieExportType};
//     for (Component c = FindNextComponent(nullptr, &wanted); c; c = FindNextComponent(c, &wanted))
//         list(c);
//
// All calls may be made on any thread; one instance is used by one thread at a time.
#pragma once

#include <cstdint>

#include "ToolboxTypes.h"

namespace TWQuickTime {

struct ComponentDescription {
    OSType componentType = 0;
    OSType componentSubType = 0;
    OSType componentManufacturer = 0;
    std::uint32_t componentFlags = 0;
    std::uint32_t componentFlagsMask = 0;
    friend bool operator==(const ComponentDescription&, const ComponentDescription&) = default;
};

// Component types.
constexpr OSType MovieExportType = fourCC("spit");
constexpr OSType MovieImportType = fourCC("eat ");
constexpr OSType MediaHandlerType = fourCC("mhlr");
constexpr OSType compressorComponentType = fourCC("imco");
constexpr OSType decompressorComponentType = fourCC("imdc");
constexpr OSType kSoundCompressor = fourCC("scom");
constexpr OSType kSoundDecompressor = fourCC("sdec");
constexpr OSType kAppleManufacturer = fourCC("appl");

// Component flags.
constexpr std::uint32_t cmpThreadSafe = 0x10000000;
constexpr std::uint32_t cmpIsMissing = 0x20000000;
constexpr std::uint32_t canMovieExportHandles = 0x08;
constexpr std::uint32_t canMovieExportFiles = 0x10;
constexpr std::uint32_t hasMovieExportUserInterface = 0x20;
constexpr std::uint32_t canMovieExportAuxDataHandle = 0x80;
constexpr std::uint32_t canMovieExportFromProcedures = 0x8000;
constexpr std::uint32_t canMovieExportValidateMovie = 0x10000;
constexpr std::uint32_t movieExportNeedsResourceFork = 0x20000;
constexpr std::uint32_t movieExportMustGetSourceMediaType = 0x80000;

// Statuses of the component manager.
constexpr OSErr invalidComponentID = -3000;
constexpr OSErr componentDidNotOpen = -3002;

/// The first component after the given one (null: the first of all) that matches; null at the end,
/// for a null description, and when the given one is no component.
TWQT_EXPORT Component FindNextComponent(Component after, const ComponentDescription* looking);
/// How many components match.
TWQT_EXPORT std::int32_t CountComponents(const ComponentDescription* looking);

/// A new instance that the caller closes; null when the component is none or cannot be opened.
TWQT_EXPORT ComponentInstance OpenComponent(Component component);
/// The same with a status: invalidComponentID, or componentDidNotOpen.
TWQT_EXPORT OSErr OpenAComponent(Component component, ComponentInstance* instance);
/// The first component of that type and subtype that opens; null when there is none.
TWQT_EXPORT ComponentInstance OpenDefaultComponent(OSType componentType, OSType componentSubType);
/// badInstance for what is no open instance.
TWQT_EXPORT ComponentResult CloseComponent(ComponentInstance instance);

/// @param description  filled with the component's codes and flags, mask 0; may be null
/// @param name, info   handles that are resized to a Pascal string (name, information), to nothing
/// when
///     the component has none; may be null
/// @param icon         resized to nothing: components here have no icons; may be null
/// @return invalidComponentID for what is no component
TWQT_EXPORT OSErr GetComponentInfo(Component component, ComponentDescription* description,
                                   Handle name, Handle info, Handle icon);

}  // namespace TWQuickTime
