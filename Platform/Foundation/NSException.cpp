#include "NSException.h"

namespace TWQuickTime {

NSException::NSException(NSString name, NSString reason)
    : name_(std::move(name)),
      reason_(std::move(reason)),
      what_(name_.utf8() + ": " + reason_.utf8()) {}

}  // namespace TWQuickTime
