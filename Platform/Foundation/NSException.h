// The platform's exception: thrown only where an interface says so.
#pragma once

#include <exception>

#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

inline constexpr const char* NSRangeException = "NSRangeException";
inline constexpr const char* NSInvalidArgumentException = "NSInvalidArgumentException";
inline constexpr const char* NSUndefinedKeyException = "NSUnknownKeyException";

class TWQT_EXPORT NSException : public std::exception {
  public:
    NSException(NSString name, NSString reason);
    const NSString& name() const noexcept { return name_; }
    const NSString& reason() const noexcept { return reason_; }
    /// "name: reason", UTF-8.
    const char* what() const noexcept override { return what_.c_str(); }

  private:
    NSString name_;
    NSString reason_;
    std::string what_;
};

}  // namespace TWQuickTime
