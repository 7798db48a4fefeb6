// Keyed archives of property-list values: the form in which the platform keeps objects as data.
//
// An archive is a binary property list that holds every object once, in a flat list; objects refer
// to one another by number, and containers and dates name their class.
//
//     NSData data = NSKeyedArchiver::archivedDataWithRootObject(dictionary);
//     NSDictionary same = NSKeyedUnarchiver::unarchiveObjectWithData(data).dictionaryValue();
#pragma once

#include "NSData.h"
#include "PropertyListValue.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT NSKeyedArchiver {
  public:
    /// Null inside an array is kept, the null value itself archives as none. Any thread.
    ///       (archivedDataWithRootObject:)
    /// @return nil for a value with a UID, with a date that is not finite or with more than 512
    ///     levels
    static NSData archivedDataWithRootObject(const PropertyListValue& rootObject);
};

}  // namespace TWQuickTime
