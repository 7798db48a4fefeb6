#include "DataReferences.h"

#include <cstring>
#include <filesystem>

#include "NSURL.h"
#include "Private/DataReferencePath.h"
#include "Private/HandleBytes.h"
#include "Private/ToolboxCall.h"

namespace TWQuickTime {
namespace {

/// Alias records tell their size in 16 bits; a path of the system's longest length fits.
constexpr std::size_t kLongestPath = 4096;

}  // namespace

NSString dataReferencePath(Handle dataRef, OSType dataRefType) {
    const std::span<const std::byte> bytes = handleBytes(dataRef);
    std::string path;
    if (dataRefType == AliasDataHandlerSubType) {
        path = aliasRecordPath(bytes);
    } else if (dataRefType == URLDataHandlerSubType) {
        const auto* text = reinterpret_cast<const char*>(bytes.data());
        const std::string url = bytes.empty() ? "" : std::string(text, strnlen(text, bytes.size()));
        const NSURL file = NSURL::URLWithString(url);
        if (file.isFileURL())
            return file.path();
    }
    return path.empty() ? NSString() : NSString(path);
}

OSErr QTNewDataReferenceFromFullPathCFString(const NSString& filePath, QTPathStyle pathStyle,
                                             std::uint32_t flags, Handle* dataRef,
                                             OSType* dataRefType) {
    ToolboxCall call("QTNewDataReferenceFromFullPathCFString");
    if (dataRef)
        *dataRef = nullptr;
    if (dataRefType)
        *dataRefType = 0;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    const std::string& path = filePath.utf8();
    const bool styleIsKnown =
        pathStyle == kQTNativeDefaultPathStyle || pathStyle == kQTPOSIXPathStyle;
    if (!dataRef || !dataRefType || !styleIsKnown || flags != 0 || path.empty() ||
        path.size() > kLongestPath || path.find('\0') != std::string::npos)
        return call.fail(paramErr);
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    if (error)
        return call.fail(couldNotResolveDataRef);
    *dataRef = newHandleWithBytes(makeAliasRecord(absolute.string()));
    if (!*dataRef)
        return call.fail(memFullErr);
    *dataRefType = AliasDataHandlerSubType;
    return call.succeed();
}

OSErr QTGetDataReferenceFullPathCFString(Handle dataRef, OSType dataRefType, QTPathStyle pathStyle,
                                         NSString* filePath) {
    ToolboxCall call("QTGetDataReferenceFullPathCFString");
    if (!filePath)
        return call.fail(paramErr);
    *filePath = nullptr;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (pathStyle != kQTNativeDefaultPathStyle && pathStyle != kQTPOSIXPathStyle)
        return call.fail(paramErr);
    if (!IsHandleValid(dataRef))
        return call.fail(invalidDataRef);
    *filePath = dataReferencePath(dataRef, dataRefType);
    return call.finish(filePath->isNil() ? couldNotResolveDataRef : noErr);
}

}  // namespace TWQuickTime
