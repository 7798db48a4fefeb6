#include "PropertyList.h"

#include <optional>

#include "Private/PropertyListFormats.h"
#include "Private/TextEncoding.h"

namespace TWQuickTime {

PropertyListValue propertyListFromData(const NSData& data) {
    if (looksLikeBinaryPropertyList(data.bytes()))
        return readBinaryPropertyList(data.bytes());
    return readXMLPropertyList(data.bytes());
}

PropertyListValue propertyListFromOldStyleText(const NSData& data) {
    if (data.isNil())
        return nullptr;
    const std::optional<DecodedText> text = decodeText(data.bytes());
    return text ? readOldStylePropertyList(text->view()) : nullptr;
}

NSData dataFromPropertyList(const PropertyListValue& value, PropertyListFormat format) {
    return format == PropertyListFormat::xml ? writeXMLPropertyList(value)
                                             : writeBinaryPropertyList(value);
}

NSDictionary NSDictionary::dictionaryWithContentsOfFile(const NSString& path) {
    return propertyListFromData(NSData::dataWithContentsOfFile(path)).dictionaryValue();
}

bool NSDictionary::writeToFile(const NSString& path, bool atomically) const {
    const NSData bytes = writeXMLPropertyList(*this);
    return bytes && bytes.writeToFile(path, atomically);
}

}  // namespace TWQuickTime
