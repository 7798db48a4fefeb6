// Why an operation failed, as the value handed back through a caller's error place.
//
//     NSError error;
//     if (!preset->exportMovie(movie, path, &error)) show(error.localizedDescription());
#pragma once

#include <cstdint>

#include "NSString.h"
#include "PropertyListValue.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// Key of the user info's description text.
inline constexpr const char* NSLocalizedDescriptionKey = "NSLocalizedDescription";
/// Domain of errors whose code is a toolbox status.
inline constexpr const char* NSOSStatusErrorDomain = "NSOSStatusErrorDomain";

class TWQT_EXPORT NSError {
  public:
    /// Nil: no error.
    NSError() noexcept = default;
    NSError(std::nullptr_t) noexcept {}
    static NSError errorWithDomain(NSString domain, std::int64_t code,
                                   NSDictionary userInfo = nullptr);

    bool isNil() const noexcept { return domain_.isNil(); }
    explicit operator bool() const noexcept { return !isNil(); }
    const NSString& domain() const noexcept { return domain_; }
    std::int64_t code() const noexcept { return code_; }
    const NSDictionary& userInfo() const noexcept { return userInfo_; }
    /// The user info's text, or a plain one made from domain and code.
    NSString localizedDescription() const;
    /// What "%@" prints for it: domain, code and text; nil gives nil.
    NSString description() const;

    friend bool operator==(const NSError&, const NSError&) = default;

  private:
    NSString domain_;
    std::int64_t code_ = 0;
    NSDictionary userInfo_;
};

}  // namespace TWQuickTime
