#include "CodecInformation.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "Components.h"
#include "Engines/codec/CodecNames.h"
#include "Engines/moviefile/MovieText.h"
#include "Private/ToolboxCall.h"

namespace TWQuickTime {
namespace {

/// As much of the text as the field takes, cut between characters.
void putPascalString(std::uint8_t* field, std::size_t fieldSize, std::string_view text) {
    std::size_t count = std::min(text.size(), fieldSize - 1);
    while (count < text.size() && count > 0 &&
           (static_cast<unsigned char>(text[count]) & 0xC0) == 0x80)
        --count;
    field[0] = static_cast<std::uint8_t>(count);
    std::memcpy(field + 1, text.data(), count);
}

}  // namespace

OSErr GetCodecInfo(CodecInfo* info, CodecType type, CodecComponent codec) {
    ToolboxCall call("GetCodecInfo");
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!info)
        return call.fail(paramErr);
    if (codec) {
        ComponentDescription description;
        if (GetComponentInfo(codec, &description, nullptr, nullptr, nullptr) != noErr ||
            description.componentSubType != type)
            return call.fail(noCodecErr);
    }
    const codec::CodecName* known = codec::findVideoCodecName(type);
    const bool decodes = known && codec::decoderExists(*known);
    const bool encodes = known && codec::encoderExists(*known);
    if (!decodes && !encodes)
        return call.fail(noCodecErr);
    *info = CodecInfo();
    putPascalString(info->typeName, sizeof info->typeName, known->name);
    info->version = 1;
    info->revisionLevel = 1;
    info->vendor = kAppleManufacturer;
    if (decodes)
        info->decompressFlags = codecInfoDoes32 | codecInfoDoesTemporal;
    if (encodes)
        info->compressFlags = codecInfoDoes32 | codecInfoDoesTemporal;
    info->minimumHeight = 1;
    info->minimumWidth = 1;
    return call.succeed();
}

OSErr GetCompressionName(OSType compressionType, std::uint8_t* name) {
    ToolboxCall call("GetCompressionName");
    if (name)
        name[0] = 0;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!name)
        return call.fail(paramErr);
    const codec::CodecName* known = codec::findSoundCodecName(compressionType);
    if (!known)
        known = codec::findVideoCodecName(compressionType);
    if (!known)
        return call.fail(noCodecErr);
    putPascalString(name, 256, known->name);
    return call.succeed();
}

TextEncoding GetApplicationTextEncoding() {
    ToolboxCall call("GetApplicationTextEncoding");
    // A call without a status: a planned one stands for another encoding.
    if (call.faulted())
        return static_cast<TextEncoding>(call.status());
    return kCFStringEncodingUTF8;
}

NSStringEncoding CFStringConvertEncodingToNSStringEncoding(TextEncoding encoding) {
    switch (encoding) {
        case kCFStringEncodingUTF8:
            return NSUTF8StringEncoding;
        case kCFStringEncodingMacRoman:
            return NSClassicRomanStringEncoding;
        default:
            return 0;
    }
}

NSString stringWithPascalString(const std::uint8_t* text, NSStringEncoding encoding) {
    if (!text)
        return nullptr;
    const std::string_view bytes(reinterpret_cast<const char*>(text + 1), text[0]);
    if (encoding == NSClassicRomanStringEncoding)
        return NSString(moviefile::fromClassicRoman(bytes));
    if (encoding != NSUTF8StringEncoding)
        return nullptr;
    const NSString string(bytes);
    // Ill-formed sequences turn into other characters on the way through UTF-16.
    return NSString::stringWithUTF16(string.utf16()) == string ? string : NSString();
}

}  // namespace TWQuickTime
