#include <array>
#include <charconv>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Private/Base64.h"
#include "Private/CalendarDate.h"
#include "Private/PropertyListFormats.h"
#include "Private/TextEncoding.h"
#include "Private/WhiteSpace.h"
#include "Private/XMLScanner.h"

namespace TWQuickTime {
namespace {

/// Decimal or 0x hexadecimal, from the smallest signed to the largest unsigned 64-bit number.
PropertyListValue integerFromText(std::string_view text) {
    text = withoutOuterWhiteSpace(text);
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (isHexadecimal)
        text.remove_prefix(2);
    std::uint64_t magnitude = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), magnitude, isHexadecimal ? 16 : 10);
    if (error != std::errc() || end != text.data() + text.size())
        return nullptr;
    if (!isNegative)
        return magnitude;
    if (magnitude > std::uint64_t{1} << 63)
        return nullptr;
    return static_cast<std::int64_t>(0 - magnitude);
}

PropertyListValue realFromText(std::string_view text) {
    text = withoutOuterWhiteSpace(text);
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return nullptr;
    return value;
}

/// The same few keys come again in every entry of a list: they share one string.
class KeyCache {
  public:
    const NSString& keyFor(std::string_view text) {
        NSString& slot = slots_[std::hash<std::string_view>()(text) % slots_.size()];
        if (slot.isNil() || slot.utf8() != text)
            slot = NSString(text);
        return slot;
    }

  private:
    std::array<NSString, 256> slots_;
};

/// Builds the tree while the scanner moves on. Open containers keep their values together at the
/// end of one stack, so that each is made once, at its right size.
class XMLPropertyListReader {
  public:
    explicit XMLPropertyListReader(std::string_view document) : scanner_(document) {}

    PropertyListValue read() {
        if (!scanner_.skipProlog() || !readElements() || !scanner_.skipToEnd())
            return nullptr;
        return std::move(values_.front());
    }

  private:
    struct Container {
        bool isDictionary = false;
        std::size_t firstValue = 0;
        std::size_t firstKey = 0;
    };

    bool readElements() {
        XMLScanner::Tag tag;
        if (!scanner_.takeTag(tag))
            return false;
        if (tag.name != "plist")
            return readRoot(tag);
        if (tag.isEnd || tag.isEmpty || !scanner_.takeTag(tag) || !readRoot(tag))
            return false;
        return scanner_.takeTag(tag) && tag.isEnd && tag.name == "plist";
    }

    bool readRoot(XMLScanner::Tag& tag) {
        if (!takeElement(tag))
            return false;
        while (!containers_.empty()) {
            if (!scanner_.takeTag(tag) || !takeElement(tag))
                return false;
        }
        return values_.size() == 1;
    }

    bool takeElement(const XMLScanner::Tag& tag) {
        if (tag.isEnd)
            return closeContainer(tag.name);
        if (tag.name == "key")
            return takeKey(tag);
        if (expectsKey())
            return false;
        if (tag.name == "dict" || tag.name == "array")
            return openContainer(tag);
        return takeScalar(tag);
    }

    bool expectsKey() const {
        if (containers_.empty() || !containers_.back().isDictionary)
            return false;
        const Container& dictionary = containers_.back();
        return keys_.size() - dictionary.firstKey == values_.size() - dictionary.firstValue;
    }

    bool takeKey(const XMLScanner::Tag& tag) {
        std::string_view text;
        if (!expectsKey() || (!tag.isEmpty && !scanner_.takeTextUntilEnd(tag.name, text)))
            return false;
        keys_.push_back(keyCache_.keyFor(text));
        return true;
    }

    bool openContainer(const XMLScanner::Tag& tag) {
        if (containers_.size() >= kMaximumPropertyListDepth)
            return false;
        containers_.push_back({tag.name == "dict", values_.size(), keys_.size()});
        return !tag.isEmpty || closeContainer(tag.name);
    }

    bool closeContainer(std::string_view name) {
        if (containers_.empty())
            return false;
        const Container container = containers_.back();
        if (name != (container.isDictionary ? "dict" : "array"))
            return false;
        if (container.isDictionary && !expectsKey())
            return false;
        PropertyListValue value =
            container.isDictionary ? takeDictionary(container) : takeArray(container);
        containers_.pop_back();
        values_.push_back(std::move(value));
        return true;
    }

    PropertyListValue takeArray(const Container& container) {
        const auto first = values_.begin() + static_cast<std::ptrdiff_t>(container.firstValue);
        NSArray array(std::vector<PropertyListValue>(std::make_move_iterator(first),
                                                     std::make_move_iterator(values_.end())));
        values_.erase(first, values_.end());
        return array;
    }

    PropertyListValue takeDictionary(const Container& container) {
        std::vector<NSDictionary::Entry> entries;
        const std::size_t count = values_.size() - container.firstValue;
        entries.reserve(count);
        for (std::size_t i = 0; i < count; ++i)
            entries.emplace_back(std::move(keys_[container.firstKey + i]),
                                 std::move(values_[container.firstValue + i]));
        keys_.resize(container.firstKey);
        values_.resize(container.firstValue);
        // A dictionary that stands for a UID, when the form has none.
        if (count == 1 && entries.front().first == kPropertyListUIDKey &&
            entries.front().second.kind() == PropertyListValue::Kind::integer)
            return PropertyListUID{entries.front().second.unsignedLongLongValue()};
        return NSDictionary::dictionaryWithEntries(std::move(entries));
    }

    bool takeScalar(const XMLScanner::Tag& tag) {
        std::string_view text;
        if (!tag.isEmpty && !scanner_.takeTextUntilEnd(tag.name, text))
            return false;
        PropertyListValue value = scalarFromText(tag.name, text);
        if (value.isNull())
            return false;
        values_.push_back(std::move(value));
        return true;
    }

    PropertyListValue scalarFromText(std::string_view element, std::string_view text) {
        if (element == "string")
            return text.empty() ? emptyString_ : NSString(text);
        if (element == "integer")
            return integerFromText(text);
        if (element == "real")
            return realFromText(text);
        if (element == "true" || element == "false") {
            if (!withoutOuterWhiteSpace(text).empty())
                return nullptr;
            return element == "true";
        }
        if (element == "data") {
            std::optional<std::vector<std::byte>> bytes = bytesFromBase64(text);
            return bytes ? PropertyListValue(NSData(std::move(*bytes))) : nullptr;
        }
        if (element == "date") {
            const std::optional<NSDate> date = dateFromISO8601(text);
            return date ? PropertyListValue(*date) : nullptr;
        }
        return nullptr;
    }

    XMLScanner scanner_;
    std::vector<Container> containers_;
    std::vector<PropertyListValue> values_;
    std::vector<NSString> keys_;
    KeyCache keyCache_;
    const NSString emptyString_ = "";
};

std::string lowercase(std::string_view text) {
    std::string result(text);
    for (char& character : result)
        if (character >= 'A' && character <= 'Z')
            character = static_cast<char>(character | 0x20);
    return result;
}

/// The encoding that `<?xml … encoding="…"?>` names, in lower case; "utf-8" when it names none.
std::string declaredEncoding(std::string_view document) {
    if (!document.starts_with("<?xml"))
        return "utf-8";
    const std::string_view declaration = document.substr(0, document.substr(0, 1024).find("?>"));
    const std::size_t keyword = declaration.find("encoding");
    if (keyword == std::string_view::npos)
        return "utf-8";
    const std::size_t open = declaration.find_first_of("\"'", keyword);
    if (open == std::string_view::npos)
        return "";
    const std::size_t close = declaration.find(declaration[open], open + 1);
    return lowercase(declaration.substr(open + 1, close - open - 1));
}

/// A one-byte encoding that the document declares; the others show in the bytes themselves.
std::optional<DecodedText> decodeDocument(std::span<const std::byte> bytes) {
    if (isUnmarkedByteText(bytes)) {
        const std::string encoding = declaredEncoding(textOf(bytes));
        if (encoding == "iso-8859-1" || encoding == "latin1")
            return DecodedText(utf8FromLatin1(textOf(bytes)));
        if (encoding != "utf-8" && encoding != "utf8" && encoding != "us-ascii" &&
            encoding != "ascii")
            return std::nullopt;
        return DecodedText(textOf(bytes));
    }
    return decodeText(bytes);
}

}  // namespace

PropertyListValue readXMLPropertyList(std::span<const std::byte> bytes) {
    const std::optional<DecodedText> document = decodeDocument(bytes);
    if (!document || !isXMLText(document->view()))
        return nullptr;
    return XMLPropertyListReader(document->view()).read();
}

}  // namespace TWQuickTime
