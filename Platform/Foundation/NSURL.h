// A uniform resource locator (RFC 3986) as a nullable value; here mostly one of a file.
//
//     NSURL url = NSURL::fileURLWithPath("/media/a clip.mov");
//     url.absoluteString();   // "file:///media/a%20clip.mov"
//     url.path();             // "/media/a clip.mov"
#pragma once

#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT NSURL {
  public:
    /// Nil.
    NSURL() noexcept = default;
    NSURL(std::nullptr_t) noexcept {}
    /// The file URL of a path; a relative one is taken from the current directory. An existing
    /// directory gets a trailing slash.       (fileURLWithPath:, initFileURLWithPath:)
    /// @return nil for a nil or empty path, or one with a NUL character
    static NSURL fileURLWithPath(const NSString& path);
    /// @return nil for nil, an empty text, or one that is no well-formed URL: characters outside
    /// the
    ///         standard's set, or a "%" that two hexadecimal digits do not follow
    ///         (URLWithString:)
    static NSURL URLWithString(const NSString& text);

    bool isNil() const noexcept { return text_.isNil(); }
    explicit operator bool() const noexcept { return !isNil(); }

    /// The text as it was given or made, escapes and all.
    const NSString& absoluteString() const noexcept { return text_; }
    /// As written, without the colon; nil for a URL that has none.
    NSString scheme() const;
    /// Without user and port, escapes decoded; nil when there is none.
    NSString host() const;
    /// Escapes decoded, without a trailing slash; bytes that are no UTF-8 stay as they are. Empty
    /// when there is none; nil for a path that hides a NUL character in an escape.
    NSString path() const;
    /// Whether the scheme is "file", in any case.
    bool isFileURL() const noexcept;

    friend bool operator==(const NSURL& a, const NSURL& b) noexcept { return a.text_ == b.text_; }
    /// What "%@" prints for it: the absolute string.
    NSString description() const { return text_; }

  private:
    explicit NSURL(NSString text) : text_(std::move(text)) {}
    NSString text_;
};

}  // namespace TWQuickTime
