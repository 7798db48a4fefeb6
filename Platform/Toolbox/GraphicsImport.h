// Graphics importers: components that read a picture file.
//
//     GraphicsImportComponent importer = nullptr;
//     if (GetGraphicsImporterForDataRef(file.GetDataRef(), file.GetType(), &importer) == noErr) {
//         Rect bounds;
//         GraphicsImportGetNaturalBounds(importer, &bounds);
//         CloseComponent(importer);
//     }
//
// An importer is used by one thread at a time.
#pragma once

#include <cstdint>

#include "CGImage.h"
#include "ImageDescription.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

constexpr OSType GraphicsImporterComponentType = fourCC("grip");

using GraphicsImportComponent = ComponentInstance;

/// Judge by the file's type and extension alone.
constexpr std::uint32_t kQTDontUseDataToFindImporter = 1;
constexpr std::uint32_t kGraphicsImportCreateCGImageUsingCurrentSettings = 1;

/// Opens the importer for the file; the caller closes it with CloseComponent.
/// @return couldNotResolveDataRef for what names no file, fnfErr for a missing file,
///         noCodecErr when no importer reads it, codecBadDataErr when it is damaged
TWQT_EXPORT OSErr GetGraphicsImporterForDataRef(Handle dataRef, OSType dataRefType,
                                                ComponentInstance* importer);
/// Which of importers and movies could open a file; each answer's place may be null.
/// @param flags  kQTDontUseDataToFindImporter or 0
TWQT_EXPORT OSErr CanQuickTimeOpenDataRef(Handle dataRef, OSType dataRefType,
                                          Boolean* canOpenWithGraphicsImporter,
                                          Boolean* canOpenAsMovie, Boolean* preferGraphicsImporter,
                                          std::uint32_t flags);
/// @param quality  0 … codecLosslessQuality; pictures are always decoded at full quality
TWQT_EXPORT ComponentResult GraphicsImportSetQuality(ComponentInstance importer,
                                                     std::uint32_t quality);
TWQT_EXPORT ComponentResult GraphicsImportGetQuality(ComponentInstance importer,
                                                     std::uint32_t* quality);
/// The picture; released by the caller with CGImageRelease.
/// @param flags  kGraphicsImportCreateCGImageUsingCurrentSettings or 0
TWQT_EXPORT ComponentResult GraphicsImportCreateCGImage(ComponentInstance importer,
                                                        CGImageRef* image, std::uint32_t flags);
/// Pixels from 0, 0; sides beyond 32767 are stated as that.
TWQT_EXPORT ComponentResult GraphicsImportGetNaturalBounds(ComponentInstance importer,
                                                           Rect* bounds);

}  // namespace TWQuickTime
