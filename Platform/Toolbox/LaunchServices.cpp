#include "LaunchServices.h"

#include <fcntl.h>
#include <magic.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "Private/ContentSniffing.h"
#include "Private/FileRecords.h"
#include "Private/ToolboxCall.h"

namespace TWQuickTime {
namespace {

struct TypeParent {
    std::string_view type;
    std::string_view parent;
};

/// Each type and what it is a kind of.
constexpr std::array kTypeTree = {
    TypeParent{"public.movie", "public.audiovisual-content"},
    TypeParent{"public.audio", "public.audiovisual-content"},
    TypeParent{"public.audiovisual-content", "public.data"},
    TypeParent{"public.image", "public.data"},
    TypeParent{"public.text", "public.data"},
    TypeParent{"public.data", "public.item"},
    TypeParent{"public.folder", "public.item"},
    TypeParent{"com.apple.quicktime-movie", "public.movie"},
    TypeParent{"public.mpeg-4", "public.movie"},
    TypeParent{"public.3gpp", "public.movie"},
    TypeParent{"public.3gpp2", "public.movie"},
    TypeParent{"com.apple.m4v-video", "public.movie"},
    TypeParent{"public.avi", "public.movie"},
    TypeParent{"public.mpeg", "public.movie"},
    TypeParent{"public.mpeg-2-transport-stream", "public.movie"},
    TypeParent{"public.dv-movie", "public.movie"},
    TypeParent{"org.matroska.mkv", "public.movie"},
    TypeParent{"org.webmproject.webm", "public.movie"},
    TypeParent{"public.mpeg-4-audio", "public.audio"},
    TypeParent{"com.apple.m4a-audio", "public.mpeg-4-audio"},
    TypeParent{"com.microsoft.waveform-audio", "public.audio"},
    TypeParent{"public.aiff-audio", "public.audio"},
    TypeParent{"public.aifc-audio", "public.aiff-audio"},
    TypeParent{"com.apple.coreaudio-format", "public.audio"},
};

std::string_view parentOf(std::string_view type) {
    for (const TypeParent& entry : kTypeTree)
        if (entry.type == type)
            return entry.parent;
    return {};
}

struct MagicCloser {
    void operator()(magic_t cookie) const { magic_close(cookie); }
};

/// The type by the system's signatures, told by the first part of the MIME type.
std::string_view typeBySignature(std::span<const std::byte> head) {
    const std::unique_ptr<magic_set, MagicCloser> cookie(magic_open(MAGIC_MIME_TYPE));
    if (!cookie || magic_load(cookie.get(), nullptr) != 0)
        return "public.data";
    const char* mime = magic_buffer(cookie.get(), head.data(), head.size());
    const std::string_view type = mime ? mime : "";
    if (type.starts_with("video/"))
        return "public.movie";
    if (type.starts_with("audio/"))
        return "public.audio";
    if (type.starts_with("image/"))
        return "public.image";
    return type.starts_with("text/") ? "public.text" : "public.data";
}

/// Enough for the signatures, the atoms in front of a movie and two packets of a stream.
constexpr std::size_t kHeadInBytes = 64 * 1024;

OSErr contentTypeOfFile(const std::string& path, std::string& type) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        return statusForSystemError(errno);
    struct stat info {};
    OSErr status = noErr;
    if (fstat(file, &info) != 0) {
        status = statusForSystemError(errno);
    } else if (S_ISDIR(info.st_mode)) {
        type = "public.folder";
    } else if (S_ISREG(info.st_mode)) {
        std::vector<std::byte> head(kHeadInBytes);
        const ssize_t count = pread(file, head.data(), head.size(), 0);
        if (count < 0) {
            status = statusForSystemError(errno);
        } else {
            head.resize(static_cast<std::size_t>(count));
            const std::string_view known = contentTypeBySignature(head);
            type = known.empty() ? typeBySignature(head) : known;
        }
    }
    close(file);
    return status;
}

}  // namespace

OSStatus LSCopyItemAttributes(const FSRef* item, LSRolesMask, const NSArray& attributeNames,
                              NSDictionary* attributeValues) {
    ToolboxCall call("LSCopyItemAttributes");
    if (attributeValues)
        *attributeValues = nullptr;
    if (call.faulted())
        return call.status();
    if (!item || !attributeValues)
        return call.fail(paramErr);
    const NSString path = FSRefMakePath(item);
    if (!path)
        return call.fail(fnfErr);
    std::string type;
    const OSErr status = contentTypeOfFile(path.utf8(), type);
    if (status != noErr)
        return call.fail(status);
    *attributeValues = NSDictionary::dictionary();
    for (const PropertyListValue& name : attributeNames)
        if (name == PropertyListValue(kLSItemContentType) && !type.empty())
            attributeValues->setObject(NSString(type), kLSItemContentType);
    return call.succeed();
}

bool UTTypeConformsTo(const NSString& type, const NSString& conformsTo) {
    if (!type || !conformsTo)
        return false;
    for (std::string_view present = type.utf8(); !present.empty(); present = parentOf(present))
        if (present == conformsTo.utf8())
            return true;
    return false;
}

}  // namespace TWQuickTime
