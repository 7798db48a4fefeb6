// Binary property lists: any bytes may fail, none may crash; what is read can be written and reads
// back as the same list.
#include <algorithm>
#include <cstring>
#include <vector>

#include "FuzzProperty.h"
#include "PropertyList.h"

using namespace TWQuickTime;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    // Every input gets the signature, so that no time goes into finding it.
    std::vector<std::byte> file(std::max<std::size_t>(size, 8));
    if (size > 0)
        std::memcpy(file.data(), bytes, size);
    std::memcpy(file.data(), "bplist00", 8);
    const PropertyListValue list = propertyListFromData(NSData(std::move(file)));
    if (!list)
        return 0;
    const NSData written = dataFromPropertyList(list, PropertyListFormat::binary);
    FUZZ_PROPERTY(written);
    const PropertyListValue again = propertyListFromData(written);
    FUZZ_PROPERTY(dataFromPropertyList(again, PropertyListFormat::binary) == written);
    return 0;
}
