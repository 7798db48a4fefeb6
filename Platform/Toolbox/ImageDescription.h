// Descriptions of compressed and raw pictures: the 86-byte record of QuickTime files, and the
// extension atoms that may follow it.
//
// The record lies big-endian in its handle, as it stands in files. Extensions are atoms {size,
// type, data} behind the record; several of one type are counted from 1.
//
//     ImageDescriptionHandle description = …;
//     int width = (*description)->width;
//     AddImageDescriptionExtension(description, aspectRatio, fourCC("pasp"));
#pragma once

#include <cstddef>
#include <cstdint>

#include "BigEndianValue.h"
#include "StandardCompression.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

struct ImageDescription {
    BigEndianValue<std::int32_t> idSize;  ///< bytes of record and extensions
    BigEndianValue<OSType> cType;         ///< codec type
    BigEndianValue<std::int32_t> resvd1;
    BigEndianValue<std::int16_t> resvd2;
    BigEndianValue<std::int16_t> dataRefIndex;
    BigEndianValue<std::int16_t> version;
    BigEndianValue<std::int16_t> revisionLevel;
    BigEndianValue<OSType> vendor;
    BigEndianValue<std::uint32_t> temporalQuality;
    BigEndianValue<std::uint32_t> spatialQuality;
    BigEndianValue<std::int16_t> width;   ///< pixels
    BigEndianValue<std::int16_t> height;  ///< pixels
    BigEndianValue<Fixed> hRes;           ///< dots per inch
    BigEndianValue<Fixed> vRes;
    BigEndianValue<std::int32_t> dataSize;  ///< bytes of a frame; 0 when not known
    BigEndianValue<std::int16_t> frameCount;
    std::uint8_t name[32];  ///< Pascal string
    BigEndianValue<std::int16_t> depth;
    BigEndianValue<std::int16_t> clutID;
};
static_assert(sizeof(ImageDescription) == 86);

using ImageDescriptionPtr = ImageDescription*;
using ImageDescriptionHandle = ImageDescription**;

constexpr OSType kRawCodecType = fourCC("raw ");
constexpr OSType kImageDescriptionExtensionPixelAspectRatio = fourCC("pasp");
constexpr OSType kICMImageDescriptionPropertyClass = fourCC("idsc");
constexpr OSType gestaltQuickTime = fourCC("qtim");

/// Appends a copy of the handle's bytes as an extension.
/// @return paramErr for null and foreign handles, badImageDescription for a record that is none
TWQT_EXPORT OSErr AddImageDescriptionExtension(ImageDescriptionHandle description, Handle extension,
                                               OSType type);
/// @param extension  set to a new handle that the caller disposes of; null on failure
/// @param index  from 1
/// @return cannotFindAtomErr when there is none, badImageDescription for a damaged record
TWQT_EXPORT OSErr GetImageDescriptionExtension(ImageDescriptionHandle description,
                                               Handle* extension, OSType type, std::int32_t index);
/// Reads a property of the description; the class 'idsc' offers 'pasp', 8 bytes big-endian.
/// @param valueSizeInBytes  of the caller's place
/// @param usedInBytes  set to the bytes written; may be null
TWQT_EXPORT OSStatus ICMImageDescriptionGetProperty(ImageDescriptionHandle description,
                                                    OSType propertyClass, OSType propertyID,
                                                    std::size_t valueSizeInBytes, void* value,
                                                    std::size_t* usedInBytes);

/// What the system offers: 'qtim' answers the toolbox's version in binary-coded decimals, the major
/// one in the top byte.
TWQT_EXPORT OSErr Gestalt(OSType selector, std::int32_t* response);

}  // namespace TWQuickTime
