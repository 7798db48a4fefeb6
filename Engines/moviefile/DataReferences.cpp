#include "Engines/moviefile/DataReferences.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "Engines/moviefile/AtomFields.h"
#include "Engines/moviefile/FileStorage.h"
#include "Engines/moviefile/StorageSampleStore.h"

namespace TWQuickTime::moviefile {

using result::Expected;
using result::Failure;
using result::FailureKind;
using timeline::DataReference;

namespace {

constexpr FourCharCode kUrlType = fourCharCode("url ");
constexpr FourCharCode kAliasType = fourCharCode("alis");
constexpr std::string_view kFileScheme = "file:";
constexpr std::string_view kHexDigits = "0123456789ABCDEF";
// The alias record: a head of 150 bytes, then items of {tag, length, bytes padded to even}.
constexpr std::size_t kAliasHeadInBytes = 150;
constexpr std::uint16_t kAliasPathTag = 18;
constexpr std::uint16_t kAliasEndTag = 0xFFFF;

bool staysInUrl(unsigned char byte) {
    const bool alphanumeric = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                              (byte >= 'a' && byte <= 'z');
    return alphanumeric || std::string_view("/-._~!$&'()*+,;=:@").find(static_cast<char>(byte)) !=
                               std::string_view::npos;
}

std::string encoded(const std::string& path) {
    std::string url;
    for (const char character : path) {
        const auto byte = static_cast<unsigned char>(character);
        if (staysInUrl(byte)) {
            url.push_back(character);
        } else {
            url.push_back('%');
            url.push_back(kHexDigits[byte >> 4]);
            url.push_back(kHexDigits[byte & 15]);
        }
    }
    return url;
}

int hexValue(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

std::string decoded(std::string_view url) {
    std::string path;
    for (std::size_t i = 0; i < url.size(); ++i) {
        if (url[i] == '%' && i + 2 < url.size() && hexValue(url[i + 1]) >= 0 &&
            hexValue(url[i + 2]) >= 0) {
            path.push_back(static_cast<char>(hexValue(url[i + 1]) << 4 | hexValue(url[i + 2])));
            i += 2;
        } else {
            path.push_back(url[i]);
        }
    }
    return path;
}

Expected<std::string> checkedPath(std::string path, const std::string& movieFolder) {
    if (path.empty() || path.find('\0') != std::string::npos)
        return Failure{FailureKind::damaged, "a data reference without a usable path"};
    if (path.front() == '/')
        return path;
    if (movieFolder.empty())
        return Failure{FailureKind::notFound,
                       "'" + path + "' is relative to a movie that is in no folder"};
    return (std::filesystem::path(movieFolder) / path).lexically_normal().string();
}

Expected<std::string> pathOfUrl(std::string_view url, const std::string& movieFolder) {
    const std::size_t colon = url.find(':');
    const std::size_t slash = url.find('/');
    const bool hasScheme = colon != std::string_view::npos && colon > 0 &&
                           (slash == std::string_view::npos || colon < slash);
    if (!hasScheme)
        return checkedPath(decoded(url), movieFolder);
    if (url.substr(0, kFileScheme.size()) != kFileScheme)
        return Failure{
            FailureKind::unsupported,
            "data references to " + std::string(url.substr(0, colon + 1)) + " addresses"};
    url.remove_prefix(kFileScheme.size());
    if (url.substr(0, 2) == "//") {
        const std::size_t pathStart = url.find('/', 2);
        if (pathStart == std::string_view::npos)
            return Failure{FailureKind::damaged, "a data reference without a path"};
        url.remove_prefix(pathStart);
    }
    return checkedPath(decoded(url), movieFolder);
}

Expected<std::string> pathOfAlias(const SharedBytes& record, const std::string& movieFolder) {
    std::size_t offset = kAliasHeadInBytes;
    while (record.size() >= offset + 4) {
        const auto tag = loadBigEndian<std::uint16_t>(record.data() + offset);
        const std::size_t length = loadBigEndian<std::uint16_t>(record.data() + offset + 2);
        offset += 4;
        if (tag == kAliasEndTag || length > record.size() - offset)
            break;
        if (tag == kAliasPathTag) {
            const auto* text = reinterpret_cast<const char*>(record.data() + offset);
            return checkedPath("/" + std::string(text, length), movieFolder);
        }
        offset += length + length % 2;
    }
    return Failure{FailureKind::unsupported, "an alias record without a path of this system"};
}

std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

}  // namespace

DataReference makeFileReference(const std::string& absolutePath) {
    std::error_code ignored;
    const std::string path = std::filesystem::absolute(absolutePath, ignored).string();
    const std::string url = "file://" + encoded(path.empty() ? absolutePath : path);
    const auto* text = reinterpret_cast<const std::byte*>(url.c_str());
    DataReference reference;
    reference.type = kUrlType;
    reference.data = SharedBytes::copyOf({text, url.size() + 1});
    return reference;
}

DataReference makeSelfReference() {
    DataReference reference;
    reference.type = kUrlType;
    reference.flags = timeline::kDataReferenceIsSelf;
    return reference;
}

Expected<std::string> pathOfReference(const DataReference& reference,
                                      const std::string& movieFolder) {
    if (reference.type == kAliasType)
        return pathOfAlias(reference.data, movieFolder);
    if (reference.type != kUrlType)
        return Failure{FailureKind::unsupported,
                       "data references of type '" + timeline::textOf(reference.type) + "'"};
    const auto* text = reinterpret_cast<const char*>(reference.data.data());
    const auto* end = std::find(text, text + reference.data.size(), '\0');
    return pathOfUrl({text, static_cast<std::size_t>(end - text)}, movieFolder);
}

Expected<std::shared_ptr<timeline::SampleStore>> openDataReference(
    const DataReference& reference, const std::shared_ptr<timeline::SampleStore>& self) {
    if (reference.isSelf()) {
        if (!self)
            return Failure{FailureKind::notFound, "the movie is in no file"};
        return self;
    }
    auto path = pathOfReference(reference, self ? folderOf(self->path()) : std::string());
    if (!path)
        return path.failure();
    auto file = FileStorage::open(*path, Access::read);
    if (!file)
        return file.failure();
    std::shared_ptr<timeline::SampleStore> store =
        std::make_shared<StorageSampleStore>(std::move(*file), *path);
    return store;
}

}  // namespace TWQuickTime::moviefile
