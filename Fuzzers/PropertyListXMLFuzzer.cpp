// XML and text property lists: any bytes may fail, none may crash; what is read can be written and
// reads back as the same list.
#include "FuzzProperty.h"
#include "PropertyList.h"

using namespace TWQuickTime;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const NSData input = NSData::dataWithBytes(bytes, size);
    const PropertyListValue list = propertyListFromData(input);
    if (list) {
        const NSData written = dataFromPropertyList(list, PropertyListFormat::xml);
        FUZZ_PROPERTY(written);
        const PropertyListValue again = propertyListFromData(written);
        FUZZ_PROPERTY(dataFromPropertyList(again, PropertyListFormat::xml) == written);
    }
    const PropertyListValue text = propertyListFromOldStyleText(input);
    if (text)
        FUZZ_PROPERTY(dataFromPropertyList(text, PropertyListFormat::binary));
    return 0;
}
