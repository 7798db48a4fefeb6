#include "NSURL.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

namespace TWQuickTime {
namespace {

constexpr std::string_view lettersAndDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::string_view hexadecimalDigits = "0123456789ABCDEFabcdef";

bool contains(std::string_view set, char c) {
    return set.find(c) != std::string_view::npos;
}

/// The parts of a well-formed URL, still escaped.
struct Parts {
    std::optional<std::string_view> scheme;
    std::optional<std::string_view> authority;
    std::string_view path;
};

std::optional<std::string_view> schemeOf(std::string_view text) {
    const std::size_t end = text.find_first_of(":/?#");
    if (end == std::string_view::npos || text[end] != ':' || end == 0)
        return std::nullopt;
    const std::string_view scheme = text.substr(0, end);
    const bool startsWithLetter = contains(lettersAndDigits.substr(0, 52), scheme.front());
    const bool isScheme = startsWithLetter && std::ranges::all_of(scheme, [](char c) {
                              return contains(lettersAndDigits, c) || contains("+-.", c);
                          });
    return isScheme ? std::optional(scheme) : std::nullopt;
}

Parts partsOf(std::string_view text) {
    Parts parts;
    parts.scheme = schemeOf(text);
    if (parts.scheme)
        text.remove_prefix(parts.scheme->size() + 1);
    if (text.starts_with("//")) {
        text.remove_prefix(2);
        parts.authority = text.substr(0, text.find_first_of("/?#"));
        text.remove_prefix(parts.authority->size());
    }
    parts.path = text.substr(0, text.find_first_of("?#"));
    return parts;
}

int valueOfHexadecimal(char digit) {
    const std::size_t place = hexadecimalDigits.find(digit);
    return static_cast<int>(place < 16 ? place : place - 6);
}

/// The text must be well formed.
std::string withoutEscapes(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] == '%') {
            decoded += static_cast<char>(valueOfHexadecimal(text[index + 1]) * 16 +
                                         valueOfHexadecimal(text[index + 2]));
            index += 2;
        } else {
            decoded += text[index];
        }
    }
    return decoded;
}

std::string escapedPath(std::string_view path) {
    constexpr std::string_view digits = hexadecimalDigits.substr(0, 16);
    std::string escaped;
    escaped.reserve(path.size());
    for (const char c : path) {
        if (contains(lettersAndDigits, c) || contains("/-._~!$&'()*+,=:@", c)) {
            escaped += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            escaped += '%';
            escaped += digits[byte >> 4];
            escaped += digits[byte & 0xF];
        }
    }
    return escaped;
}

bool isWellFormed(std::string_view text) {
    for (std::size_t index = 0; index < text.size(); ++index) {
        const char c = text[index];
        if (c == '%') {
            const std::string_view digits = text.substr(index + 1, 2);
            if (digits.size() < 2 || !contains(hexadecimalDigits, digits[0]) ||
                !contains(hexadecimalDigits, digits[1]))
                return false;
        } else if (!contains(lettersAndDigits, c) && !contains("-._~:/?#[]@!$&'()*+,;=", c)) {
            return false;
        }
    }
    return true;
}

bool isDirectory(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

NSURL NSURL::fileURLWithPath(const NSString& path) {
    if (path.utf8().empty() || path.utf8().find('\0') != std::string::npos)
        return nullptr;
    std::string absolute = path.utf8();
    if (!absolute.starts_with('/')) {
        std::error_code failure;
        const std::filesystem::path folder = std::filesystem::current_path(failure);
        if (failure)
            return nullptr;
        absolute = (folder / absolute).string();
    }
    if (!absolute.ends_with('/') && isDirectory(absolute))
        absolute += '/';
    return NSURL(NSString("file://" + escapedPath(absolute)));
}

NSURL NSURL::URLWithString(const NSString& text) {
    if (text.utf8().empty() || !isWellFormed(text.utf8()))
        return nullptr;
    return NSURL(text);
}

NSString NSURL::scheme() const {
    const Parts parts = partsOf(text_.utf8());
    return parts.scheme ? NSString(*parts.scheme) : NSString();
}

NSString NSURL::host() const {
    const Parts parts = partsOf(text_.utf8());
    if (!parts.authority)
        return nullptr;
    std::string_view host = *parts.authority;
    if (const std::size_t at = host.rfind('@'); at != std::string_view::npos)
        host.remove_prefix(at + 1);
    const std::size_t portColon = host.find(':', host.starts_with('[') ? host.find(']') : 0);
    host = host.substr(0, portColon);
    return host.empty() ? NSString() : NSString(withoutEscapes(host));
}

NSString NSURL::path() const {
    if (isNil())
        return nullptr;
    std::string path = withoutEscapes(partsOf(text_.utf8()).path);
    if (path.find('\0') != std::string::npos)
        return nullptr;
    while (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
    return NSString(std::move(path));
}

bool NSURL::isFileURL() const noexcept {
    const std::optional<std::string_view> scheme = partsOf(text_.utf8()).scheme;
    return scheme && std::ranges::equal(*scheme, std::string_view("file"),
                                        [](char a, char b) { return (a | 0x20) == b; });
}

}  // namespace TWQuickTime
