// The string of the whole interface: an immutable value that may be nil.
//
// A string holds UTF-8 and is looked at in UTF-16 units, as the platform counts them. Nil is
// different from empty, and every operation on nil gives a neutral answer (nil, 0, "") instead of
// failing. Copies share their bytes and may be used on any thread.
//
//     NSString path = NSString("~/Movies").stringByAppendingPathComponent("a.mov");
//     if (path.pathExtension() == "mov") open(path.stringByExpandingTildeInPath());
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT NSString {
  public:
    /// Nil.
    NSString() noexcept = default;
    NSString(std::nullptr_t) noexcept {}
    /// UTF-8 text; a null pointer gives nil.
    NSString(const char* utf8);
    NSString(std::string utf8);
    NSString(std::string_view utf8);

    bool isNil() const noexcept { return rep_ == nullptr; }
    explicit operator bool() const noexcept { return rep_ != nullptr; }

    /// The bytes as they were given, never re-encoded; empty for nil.
    const std::string& utf8() const noexcept;
    /// The bytes for system calls (fileSystemRepresentation); empty for nil.
    const char* fileSystemRepresentation() const noexcept { return utf8().c_str(); }

    /// Number of UTF-16 units; each ill-formed byte sequence counts as one U+FFFD.
    std::size_t length() const noexcept;
    /// @param index below length(); beyond it the unit 0 is returned.
    char16_t characterAtIndex(std::size_t index) const noexcept;
    std::u16string utf16() const;
    static NSString stringWithUTF16(std::u16string_view units);

    NSString stringByAppendingString(const NSString& other) const;
    NSString substringWithRange(std::size_t locationUTF16, std::size_t lengthUTF16) const;
    bool hasPrefix(const NSString& prefix) const noexcept;
    bool hasSuffix(const NSString& suffix) const noexcept;
    NSString stringByTrimmingWhitespace() const;
    NSString lowercaseString() const;
    NSString uppercaseString() const;
    /// First letter of every word upper case, the others lower case; words are what white space,
    /// digits' ends and punctuation other than the apostrophe separate.
    NSString capitalizedString() const;

    /// Leading number of the text, 0 when there is none, limited to the type's range.
    std::int32_t intValue() const noexcept;
    std::int64_t longLongValue() const noexcept;
    double doubleValue() const noexcept;
    /// True for a leading Y, y, T, t or a non-zero digit after an optional sign and zeros.
    bool boolValue() const noexcept;

    // Paths, by the platform's rules: "/" separates, repeated and trailing separators do not count.
    NSString lastPathComponent() const;
    NSString pathExtension() const;
    NSString stringByDeletingPathExtension() const;
    NSString stringByDeletingLastPathComponent() const;
    NSString stringByAppendingPathComponent(const NSString& component) const;
    NSString stringByAppendingPathExtension(const NSString& extension) const;
    /// "~" and "~user" at the start become home directories; an unknown user leaves the path.
    NSString stringByExpandingTildeInPath() const;
    /// Tilde expanded, "//" and "/./" reduced, ".." resolved in absolute paths.
    NSString stringByStandardizingPath() const;

    /// Literal comparison by UTF-16 units; nil comes before everything.
    std::strong_ordering compare(const NSString& other) const noexcept;

    friend bool operator==(const NSString& a, const NSString& b) noexcept {
        return a.rep_ == b.rep_ || (a.rep_ && b.rep_ && a.utf8() == b.utf8());
    }

    /// The text as it is, "(null)" for nil.
    friend TWQT_EXPORT std::ostream& operator<<(std::ostream& to, const NSString& text);

  private:
    struct Rep;
    std::shared_ptr<const Rep> rep_;
};

}  // namespace TWQuickTime

template <>
struct std::hash<TWQuickTime::NSString> {
    std::size_t operator()(const TWQuickTime::NSString& s) const noexcept {
        return std::hash<std::string>()(s.utf8());
    }
};
