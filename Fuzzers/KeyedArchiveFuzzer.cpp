// Keyed archives: any bytes may fail, none may crash; what is read archives again to the same
// value.
#include "FuzzProperty.h"
#include "NSKeyedArchiver.h"
#include "NSKeyedUnarchiver.h"

using namespace TWQuickTime;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const PropertyListValue value =
        NSKeyedUnarchiver::unarchiveObjectWithData(NSData::dataWithBytes(bytes, size));
    if (!value)
        return 0;
    const NSData archive = NSKeyedArchiver::archivedDataWithRootObject(value);
    FUZZ_PROPERTY(archive);
    const PropertyListValue again = NSKeyedUnarchiver::unarchiveObjectWithData(archive);
    FUZZ_PROPERTY(NSKeyedArchiver::archivedDataWithRootObject(again) == archive);
    return 0;
}
