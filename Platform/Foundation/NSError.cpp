#include "NSError.h"

#include "FormatString.h"

namespace TWQuickTime {

NSError NSError::errorWithDomain(NSString domain, std::int64_t code, NSDictionary userInfo) {
    NSError error;
    error.domain_ = std::move(domain);
    error.code_ = code;
    error.userInfo_ = std::move(userInfo);
    return error;
}

NSString NSError::localizedDescription() const {
    if (isNil())
        return nullptr;
    if (NSString text = userInfo_.objectForKey(NSLocalizedDescriptionKey).stringValue())
        return text;
    return formatString("The operation couldn’t be completed. (%@ error %ld.)", domain_, code_);
}

NSString NSError::description() const {
    if (isNil())
        return nullptr;
    return formatString("Error Domain=%@ Code=%ld \"%@\"", domain_, code_, localizedDescription());
}

}  // namespace TWQuickTime
