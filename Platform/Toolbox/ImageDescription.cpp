#include "ImageDescription.h"

#include <cstring>
#include <optional>
#include <span>

#include "Handles.h"
#include "Private/BigEndianBytes.h"
#include "Private/ToolboxCall.h"

namespace TWQuickTime {
namespace {

// Version 7.6.0, the generation of the calls that are offered.
constexpr std::int32_t kToolboxVersion = 0x07608000;

constexpr std::size_t kRecordBytes = sizeof(ImageDescription);

/// The record and its extensions, or nothing when the handle holds no whole record.
std::optional<std::span<const std::byte>> descriptionBytes(ImageDescriptionHandle description) {
    const Handle handle = reinterpret_cast<Handle>(description);
    if (!IsHandleValid(handle))
        return std::nullopt;
    const auto held = static_cast<std::size_t>(GetHandleSize(handle));
    if (held < kRecordBytes)
        return std::nullopt;
    const std::int32_t stated = (*description)->idSize;
    if (stated < static_cast<std::int32_t>(kRecordBytes) || static_cast<std::size_t>(stated) > held)
        return std::nullopt;
    return std::span(reinterpret_cast<const std::byte*>(*handle), static_cast<std::size_t>(stated));
}

std::optional<std::span<const std::byte>> findExtension(std::span<const std::byte> description,
                                                        OSType type, std::int32_t index) {
    std::size_t offset = kRecordBytes;
    // A description may end in a few bytes that are no atom.
    while (description.size() - offset >= 8) {
        const std::size_t size = readBigEndian32(description, offset);
        if (size < 8 || size > description.size() - offset)
            return std::nullopt;
        if (readBigEndian32(description, offset + 4) == type && --index == 0)
            return description.subspan(offset + 8, size - 8);
        offset += size;
    }
    return std::nullopt;
}

}  // namespace

OSErr AddImageDescriptionExtension(ImageDescriptionHandle description, Handle extension,
                                   OSType type) {
    ToolboxCall call("AddImageDescriptionExtension");
    if (call.faulted())
        return call.fail(call.status());
    const Handle handle = reinterpret_cast<Handle>(description);
    if (!IsHandleValid(handle) || !IsHandleValid(extension))
        return call.fail(paramErr);
    const auto bytes = descriptionBytes(description);
    if (!bytes)
        return call.fail(badImageDescription);
    const std::size_t length = bytes->size();
    const Size dataLength = GetHandleSize(extension);
    if (dataLength > 0x7FFFFFFF - static_cast<Size>(length) - 8)
        return call.fail(paramErr);
    SetHandleSize(handle, static_cast<Size>(length) + 8 + dataLength);
    if (MemError() != noErr)
        return call.fail(MemError());
    const std::span<std::byte> grown(reinterpret_cast<std::byte*>(*handle),
                                     length + 8 + static_cast<std::size_t>(dataLength));
    writeBigEndian32(grown, length, static_cast<std::uint32_t>(dataLength + 8));
    writeBigEndian32(grown, length + 4, type);
    std::memcpy(&grown[length] + 8, *extension, static_cast<std::size_t>(dataLength));
    (*description)->idSize = static_cast<std::int32_t>(grown.size());
    return call.succeed();
}

OSErr GetImageDescriptionExtension(ImageDescriptionHandle description, Handle* extension,
                                   OSType type, std::int32_t index) {
    ToolboxCall call("GetImageDescriptionExtension");
    if (extension)
        *extension = nullptr;
    if (call.faulted())
        return call.fail(call.status());
    if (!extension || index < 1)
        return call.fail(paramErr);
    const auto bytes = descriptionBytes(description);
    if (!bytes)
        return call.fail(badImageDescription);
    const auto found = findExtension(*bytes, type, index);
    if (!found)
        return call.fail(cannotFindAtomErr);
    return call.finish(PtrToHand(found->data(), extension, static_cast<Size>(found->size())));
}

OSStatus ICMImageDescriptionGetProperty(ImageDescriptionHandle description, OSType propertyClass,
                                        OSType propertyID, std::size_t valueSizeInBytes,
                                        void* value, std::size_t* usedInBytes) {
    ToolboxCall call("ICMImageDescriptionGetProperty");
    if (usedInBytes)
        *usedInBytes = 0;
    if (call.faulted())
        return call.fail(call.status());
    const bool known = propertyClass == kICMImageDescriptionPropertyClass &&
                       propertyID == kImageDescriptionExtensionPixelAspectRatio;
    if (!value || !known || valueSizeInBytes < 8)
        return call.fail(paramErr);
    const auto bytes = descriptionBytes(description);
    if (!bytes)
        return call.fail(badImageDescription);
    const auto found = findExtension(*bytes, propertyID, 1);
    if (!found || found->size() < 8)
        return call.fail(cannotFindAtomErr);
    std::memcpy(value, found->data(), 8);
    if (usedInBytes)
        *usedInBytes = 8;
    return call.succeed();
}

OSErr Gestalt(OSType selector, std::int32_t* response) {
    ToolboxCall call("Gestalt");
    if (call.faulted())
        return call.fail(call.status());
    if (!response)
        return call.fail(paramErr);
    if (selector != gestaltQuickTime) {
        constexpr OSErr gestaltUnknownErr = -5550;
        return call.fail(gestaltUnknownErr);
    }
    *response = kToolboxVersion;
    return call.succeed();
}

}  // namespace TWQuickTime
