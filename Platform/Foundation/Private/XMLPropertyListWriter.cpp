#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

#include "Private/Base64.h"
#include "Private/CalendarDate.h"
#include "Private/PropertyListFormats.h"
#include "Private/TextEncoding.h"
#include "Private/UTF8Decoder.h"

namespace TWQuickTime {
namespace {

using Kind = PropertyListValue::Kind;

constexpr std::string_view kHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

class XMLPropertyListWriter {
  public:
    NSData write(const PropertyListValue& root) {
        text_ = kHeader;
        if (!append(root, 0))
            return nullptr;
        text_.append("</plist>\n");
        return NSData::dataWithBytes(text_.data(), text_.size());
    }

  private:
    bool append(const PropertyListValue& value, int depth) {
        switch (value.kind()) {
            case Kind::boolean:
                return appendLine(value.boolValue() ? "<true/>" : "<false/>", depth);
            case Kind::integer:
                return appendInteger(value, depth);
            case Kind::real:
                return appendReal(value.doubleValue(), depth);
            case Kind::string:
                return appendText("string", value.stringValue(), depth);
            case Kind::data:
                return appendData(value.dataValue(), depth);
            case Kind::date: {
                const std::string date = iso8601FromDate(value.dateValue());
                return !date.empty() && appendElement("date", date, depth);
            }
            case Kind::uid:
                return append(
                    NSDictionary{{kPropertyListUIDKey, PropertyListValue(value.uidValue().value)}},
                    depth);
            case Kind::array:
                return appendArray(value.arrayValue(), depth);
            case Kind::dictionary:
                return appendDictionary(value.dictionaryValue(), depth);
            case Kind::null:
                return false;
        }
        return false;
    }

    void indent(int depth) { text_.append(static_cast<std::size_t>(depth), '\t'); }

    bool appendLine(std::string_view line, int depth) {
        indent(depth);
        text_.append(line).push_back('\n');
        return true;
    }

    bool appendElement(std::string_view name, std::string_view content, int depth) {
        indent(depth);
        text_.append("<").append(name).append(">").append(content);
        text_.append("</").append(name).append(">\n");
        return true;
    }

    bool appendInteger(const PropertyListValue& value, int depth) {
        const std::int64_t number = value.longLongValue();
        const bool isUnsigned = !(value == PropertyListValue(number));
        return appendElement(
            "integer",
            isUnsigned ? std::to_string(value.unsignedLongLongValue()) : std::to_string(number),
            depth);
    }

    bool appendReal(double value, int depth) {
        if (std::isnan(value))
            return appendElement("real", "nan", depth);
        if (std::isinf(value))
            return appendElement("real", value < 0 ? "-infinity" : "+infinity", depth);
        char digits[32];
        const auto [end, error] = std::to_chars(digits, digits + sizeof digits, value);
        return error == std::errc() && appendElement("real", {digits, end}, depth);
    }

    /// False for text that no XML document can hold.
    bool appendText(std::string_view name, const NSString& string, int depth) {
        indent(depth);
        text_.append("<").append(name).append(">");
        const std::string_view utf8 = string.utf8();
        std::size_t position = 0;
        while (position < utf8.size()) {
            const auto [character, length] = unicode::decodeFirst(utf8.substr(position));
            if (!isXMLCharacter(character))
                return false;
            if (character == '&')
                text_.append("&amp;");
            else if (character == '<')
                text_.append("&lt;");
            else if (character == '>')
                text_.append("&gt;");
            else if (character == '\r')
                text_.append("&#13;");  // a bare return would be read as a line feed
            else
                unicode::appendUTF8(text_, character);
            position += length;
        }
        text_.append("</").append(name).append(">\n");
        return true;
    }

    bool appendData(const NSData& data, int depth) {
        appendLine("<data>", depth);
        // Lines end at about 76 columns with tabs of 8, but keep at least 12 characters.
        const int columns = std::max(12, 76 - 8 * depth);
        appendBase64Lines(text_, data.bytes(), std::string(static_cast<std::size_t>(depth), '\t'),
                          static_cast<std::size_t>(columns / 4 * 3));
        return appendLine("</data>", depth);
    }

    bool appendArray(const NSArray& array, int depth) {
        if (depth >= kMaximumPropertyListDepth)
            return false;
        if (array.count() == 0)
            return appendLine("<array/>", depth);
        appendLine("<array>", depth);
        for (const PropertyListValue& element : array)
            if (!append(element, depth + 1))
                return false;
        return appendLine("</array>", depth);
    }

    bool appendDictionary(const NSDictionary& dictionary, int depth) {
        if (depth >= kMaximumPropertyListDepth)
            return false;
        if (dictionary.count() == 0)
            return appendLine("<dict/>", depth);
        appendLine("<dict>", depth);
        for (const auto& [key, value] : dictionary)
            if (!appendText("key", key, depth + 1) || !append(value, depth + 1))
                return false;
        return appendLine("</dict>", depth);
    }

    std::string text_;
};

}  // namespace

NSData writeXMLPropertyList(const PropertyListValue& value) {
    return XMLPropertyListWriter().write(value);
}

}  // namespace TWQuickTime
