// Reads keyed archives of property-list values; see NSKeyedArchiver.h.
#pragma once

#include "NSData.h"
#include "PropertyListValue.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT NSKeyedUnarchiver {
  public:
    /// The archived value, from an archive in binary or XML form. Mutable and immutable classes
    /// read alike, sets as arrays, an NSNull as null (a dictionary leaves such an entry out). Any
    /// thread.
    ///       (unarchiveObjectWithData:)
    /// @return null for data that are no archive, for a damaged or hostile one (objects that
    /// contain
    ///     themselves, shared objects that expand without measure) and for one with an object of
    ///     any other class
    static PropertyListValue unarchiveObjectWithData(const NSData& data);
};

}  // namespace TWQuickTime
