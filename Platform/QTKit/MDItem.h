// What the file metadata store knows of a file, found out by looking into it.
//
//     if (auto item = MDItemCreate(path))
//         seconds = MDItemCopyAttributes(*item, names).objectForKey(kMDItemDurationSeconds)
//                       .doubleValue();
#pragma once

#include <optional>

#include "NSString.h"
#include "PropertyListValue.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// Length of a movie or sound in seconds (number).
inline constexpr const char* kMDItemDurationSeconds = "kMDItemDurationSeconds";

/// A file that was there when the item was made.
struct MDItem {
    NSString path;
};

/// None for a nil path and for what is no file.
TWQT_EXPORT std::optional<MDItem> MDItemCreate(const NSString& path);
/// The attributes of these names that the file has; never nil.
TWQT_EXPORT NSDictionary MDItemCopyAttributes(const MDItem& item, const NSArray& names);

}  // namespace TWQuickTime
