#include <errno.h>
#include <pwd.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#include "NSString.h"

namespace TWQuickTime {
namespace {

/// The path without repeated and trailing separators; "/" stays.
std::string withoutSpareSeparators(std::string_view path) {
    std::string reduced;
    reduced.reserve(path.size());
    for (const char c : path) {
        if (c != '/' || !reduced.ends_with('/'))
            reduced += c;
    }
    if (reduced.size() > 1 && reduced.ends_with('/'))
        reduced.pop_back();
    return reduced;
}

/// Of a path without spare separators: where its last component starts.
std::size_t lastComponentStart(std::string_view path) {
    const std::size_t separator = path.rfind('/');
    return separator == std::string_view::npos || path.size() == 1 ? 0 : separator + 1;
}

/// Of a path without spare separators: where the dot of its extension stands. A dot that begins
/// the name starts no extension, nor does one that ends it.
std::optional<std::size_t> extensionDot(std::string_view path) {
    const std::size_t dot = path.rfind('.');
    if (dot == std::string_view::npos || dot <= lastComponentStart(path) || dot + 1 == path.size())
        return std::nullopt;
    return dot;
}

using PasswordLookup = int (*)(const char* name, passwd*, char*, std::size_t, passwd**);

int lookUpCurrentUser(const char*, passwd* entry, char* buffer, std::size_t size, passwd** result) {
    return getpwuid_r(getuid(), entry, buffer, size, result);
}

std::optional<std::string> homeFromPasswords(PasswordLookup lookUp, const char* name) {
    std::vector<char> buffer(1024);
    passwd entry{};
    passwd* found = nullptr;
    while (lookUp(name, &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        if (buffer.size() >= (1u << 20))
            return std::nullopt;
        buffer.resize(buffer.size() * 2);
    }
    if (!found || !found->pw_dir || !*found->pw_dir)
        return std::nullopt;
    return std::string(found->pw_dir);
}

std::optional<std::string> homeOfUser(const std::string& user) {
    if (!user.empty())
        return homeFromPasswords(getpwnam_r, user.c_str());
    const char* home = getenv("HOME");
    if (home && *home == '/')
        return std::string(home);
    return homeFromPasswords(lookUpCurrentUser, nullptr);
}

/// The directory behind a path, symbolic links resolved; nothing when it does not exist.
std::optional<std::string> resolvedPath(const std::string& path) {
    const std::unique_ptr<char, decltype(&free)> resolved(realpath(path.c_str(), nullptr), free);
    return resolved ? std::optional<std::string>(resolved.get()) : std::nullopt;
}

std::string parentOf(std::string path) {
    const std::size_t separator = path.rfind('/');
    path.resize(separator == std::string::npos ? 0 : separator);
    return path;
}

}  // namespace

NSString NSString::lastPathComponent() const {
    if (isNil())
        return nullptr;
    const std::string path = withoutSpareSeparators(utf8());
    return NSString(path.substr(lastComponentStart(path)));
}

NSString NSString::pathExtension() const {
    if (isNil())
        return nullptr;
    const std::string path = withoutSpareSeparators(utf8());
    const std::optional<std::size_t> dot = extensionDot(path);
    return dot ? NSString(path.substr(*dot + 1)) : NSString("");
}

NSString NSString::stringByDeletingPathExtension() const {
    if (isNil())
        return nullptr;
    std::string path = withoutSpareSeparators(utf8());
    if (const std::optional<std::size_t> dot = extensionDot(path))
        path.resize(*dot);
    return NSString(std::move(path));
}

NSString NSString::stringByDeletingLastPathComponent() const {
    if (isNil())
        return nullptr;
    std::string path = withoutSpareSeparators(utf8());
    if (path == "/")
        return NSString(std::move(path));
    path.resize(lastComponentStart(path));
    return NSString(withoutSpareSeparators(path));
}

NSString NSString::stringByAppendingPathComponent(const NSString& component) const {
    if (isNil())
        return nullptr;
    if (utf8().empty())
        return NSString(withoutSpareSeparators(component.utf8()));
    return NSString(withoutSpareSeparators(utf8() + '/' + component.utf8()));
}

NSString NSString::stringByAppendingPathExtension(const NSString& extension) const {
    if (isNil())
        return nullptr;
    std::string path = withoutSpareSeparators(utf8());
    // There is no name that could take an extension.
    if (extension.isNil() || path.empty() || path == "/")
        return NSString(std::move(path));
    return NSString(path + '.' + extension.utf8());
}

NSString NSString::stringByExpandingTildeInPath() const {
    const std::string& path = utf8();
    if (!path.starts_with('~'))
        return *this;
    const std::size_t userEnd = std::min(path.find('/'), path.size());
    const std::optional<std::string> home = homeOfUser(path.substr(1, userEnd - 1));
    if (!home)
        return *this;
    return NSString(withoutSpareSeparators(*home + path.substr(userEnd)));
}

NSString NSString::stringByStandardizingPath() const {
    if (isNil())
        return nullptr;
    const std::string path = withoutSpareSeparators(stringByExpandingTildeInPath().utf8());
    const bool isAbsolute = path.starts_with('/');
    std::string standard;
    for (std::size_t start = isAbsolute ? 1 : 0; start < path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string_view component = std::string_view(path).substr(start, end - start);
        if (component == ".." && isAbsolute) {
            // The parent of what a symbolic link leads to is not the directory that holds the link.
            standard = parentOf(resolvedPath(standard).value_or(standard));
        } else if (component != "." || (!isAbsolute && start == 0)) {
            if (isAbsolute || start > 0)
                standard += '/';
            standard += component;
        }
        start = end + 1;
    }
    if (isAbsolute && standard.empty())
        standard = "/";
    return NSString(std::move(standard));
}

}  // namespace TWQuickTime
