// What is known of a codec by its type: its name, and whether it is installed.
//
//     CodecInfo info;
//     if (GetCodecInfo(&info, fourCC("jpeg"), 0) == noErr)
//         NSString name = stringWithPascalString(info.typeName, GetApplicationTextEncoding());
//
// May be called on any thread.
#pragma once

#include <cstdint>

#include "NSString.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

using CodecType = OSType;
/// A certain codec, or one of the special choices; here always any codec of the type (0).
using CodecComponent = Component;

// Bits of decompressFlags and compressFlags.
constexpr std::uint32_t codecInfoDoes32 = 0x20;
constexpr std::uint32_t codecInfoDoesTemporal = 0x40;

#pragma pack(push, 2)
struct CodecInfo {
    std::uint8_t typeName[32] = {};  ///< Pascal string in the application's text encoding
    std::int16_t version = 0;
    std::int16_t revisionLevel = 0;
    std::uint32_t vendor = 0;
    std::uint32_t decompressFlags = 0;  ///< 0: this machine has no decompressor
    std::uint32_t compressFlags = 0;    ///< 0: this machine has no compressor
    std::uint32_t formatFlags = 0;
    std::uint8_t compressionAccuracy = 0;
    std::uint8_t decompressionAccuracy = 0;
    std::uint16_t compressionSpeed = 0;
    std::uint16_t decompressionSpeed = 0;
    std::uint8_t compressionLevel = 0;
    std::uint8_t resvd = 0;
    std::int16_t minimumHeight = 0;
    std::int16_t minimumWidth = 0;
    std::int16_t decompressPipelineLatency = 0;
    std::int16_t compressPipelineLatency = 0;
    std::uint32_t privateData = 0;
};
#pragma pack(pop)
static_assert(sizeof(CodecInfo) == 72);

/// @param codec  0 for any codec of the type
/// @return noCodecErr when the machine has neither compressor nor decompressor of the type
TWQT_EXPORT OSErr GetCodecInfo(CodecInfo* info, CodecType type, CodecComponent codec);

/// The name of a sound or video compression type, whether or not it is installed.
/// @param name  room for 256 bytes; set to a Pascal string, an empty one on failure
/// @return noCodecErr for types that are not known, and for 0
TWQT_EXPORT OSErr GetCompressionName(OSType compressionType, std::uint8_t* name);

/// A text encoding by the numbers of the core foundation and of strings.
using TextEncoding = std::uint32_t;
using NSStringEncoding = std::uint64_t;
constexpr TextEncoding kCFStringEncodingMacRoman = 0;
constexpr TextEncoding kCFStringEncodingUTF8 = 0x08000100;
constexpr NSStringEncoding NSUTF8StringEncoding = 4;
constexpr NSStringEncoding NSClassicRomanStringEncoding = 30;

/// The encoding of the names that components and codecs give: UTF-8.
TWQT_EXPORT TextEncoding GetApplicationTextEncoding();
/// 0 for encodings that are not known.
TWQT_EXPORT NSStringEncoding CFStringConvertEncodingToNSStringEncoding(TextEncoding encoding);

/// The text of a Pascal string; nil for a null pointer, for encodings other than UTF-8 and classic
/// Roman, and for bytes that are no text in the encoding.
TWQT_EXPORT NSString stringWithPascalString(const std::uint8_t* text, NSStringEncoding encoding);

}  // namespace TWQuickTime
