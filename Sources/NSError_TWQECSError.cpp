#include "NSError_TWQECSError.h"

#include "NSBundle.h"
#include "TWQuickTimeBundle.h"

namespace TWQuickTime {

const NSString TWQECSErrorDomain = "TWQECSErrorDomain";

NSError NSError_TWQECSError::errorWitQECSErrorCode(std::int32_t code) {
    if (code == 0)
        return nullptr;
    // The wording is the key of the translations; "a internal" and "occured" stay on purpose.
    NSString text = code == TWQECSNotInstalledError
                        ? "Can't export, because the requested QuickTime exporter is not installed."
                        : "While exporting a internal QuickTime error occured.";
    if (const auto bundle = NSBundle::bundleWithIdentifier(TWQuickTimeBundleIdentifier))
        text = bundle->localizedStringForKey(text, "", TWQuickTimeStringsTable);
    return NSError::errorWithDomain(TWQECSErrorDomain, code,
                                    NSDictionary{{NSLocalizedDescriptionKey, text}});
}

}  // namespace TWQuickTime
