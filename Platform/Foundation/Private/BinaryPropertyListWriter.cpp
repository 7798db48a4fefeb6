#include <bit>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "Private/PropertyListFormats.h"

namespace TWQuickTime {
namespace {

using Kind = PropertyListValue::Kind;

void appendBigEndian(std::string& bytes, std::uint64_t value, std::size_t size) {
    for (std::size_t i = size; i-- > 0;)
        bytes.push_back(static_cast<char>(value >> (8 * i)));
}

/// 0 to 3: the power of two that is the number's size in bytes.
unsigned sizePower(std::uint64_t value) {
    return value <= UINT8_MAX ? 0 : value <= UINT16_MAX ? 1 : value <= UINT32_MAX ? 2 : 3;
}

void appendSizedNumber(std::string& bytes, unsigned markerKind, std::uint64_t value) {
    const unsigned power = sizePower(value);
    bytes.push_back(static_cast<char>(markerKind | power));
    appendBigEndian(bytes, value, std::size_t{1} << power);
}

/// Marker and count of data, text and containers.
void appendCounted(std::string& bytes, unsigned markerKind, std::size_t count) {
    if (count < 15) {
        bytes.push_back(static_cast<char>(markerKind | count));
        return;
    }
    bytes.push_back(static_cast<char>(markerKind | 0xF));
    appendSizedNumber(bytes, 0x10, count);
}

void appendInteger(std::string& bytes, const PropertyListValue& value) {
    const std::int64_t number = value.longLongValue();
    const std::uint64_t magnitude = value.unsignedLongLongValue();
    const bool isUnsigned = !(value == PropertyListValue(number));
    if (isUnsigned) {
        bytes.push_back(0x14);
        appendBigEndian(bytes, 0, 8);
        appendBigEndian(bytes, magnitude, 8);
    } else if (number < 0) {
        bytes.push_back(0x13);
        appendBigEndian(bytes, static_cast<std::uint64_t>(number), 8);
    } else {
        appendSizedNumber(bytes, 0x10, magnitude);
    }
}

void appendString(std::string& bytes, const NSString& text) {
    const std::string& utf8 = text.utf8();
    bool isASCII = true;
    for (const char character : utf8)
        isASCII = isASCII && static_cast<unsigned char>(character) < 0x80;
    if (isASCII) {
        appendCounted(bytes, 0x50, utf8.size());
        bytes.append(utf8);
        return;
    }
    const std::u16string units = text.utf16();
    appendCounted(bytes, 0x60, units.size());
    for (const char16_t unit : units)
        appendBigEndian(bytes, unit, 2);
}

/// Marker and payload of a value that is no container; nothing for one that cannot be written.
std::optional<std::string> encodedScalar(const PropertyListValue& value) {
    std::string bytes;
    switch (value.kind()) {
        case Kind::boolean:
            bytes.push_back(value.boolValue() ? 0x09 : 0x08);
            return bytes;
        case Kind::integer:
            appendInteger(bytes, value);
            return bytes;
        case Kind::real:
            bytes.push_back(0x23);
            appendBigEndian(bytes, std::bit_cast<std::uint64_t>(value.doubleValue()), 8);
            return bytes;
        case Kind::date: {
            const double seconds = value.dateValue().secondsSinceReferenceDate;
            if (!std::isfinite(seconds))
                return std::nullopt;
            bytes.push_back(0x33);
            appendBigEndian(bytes, std::bit_cast<std::uint64_t>(seconds), 8);
            return bytes;
        }
        case Kind::uid: {
            const std::uint64_t uid = value.uidValue().value;
            const std::size_t size = std::size_t{1} << sizePower(uid);
            bytes.push_back(static_cast<char>(0x80 | (size - 1)));
            appendBigEndian(bytes, uid, size);
            return bytes;
        }
        case Kind::string:
            appendString(bytes, value.stringValue());
            return bytes;
        case Kind::data: {
            const NSData data = value.dataValue();
            appendCounted(bytes, 0x40, data.length());
            bytes.append(reinterpret_cast<const char*>(data.bytes().data()), data.length());
            return bytes;
        }
        case Kind::null:
        case Kind::array:
        case Kind::dictionary:
            return std::nullopt;
    }
    return std::nullopt;
}

/// Numbers all objects depth first, then writes them in that order. Equal scalars share a number;
/// they are told apart by their encoded bytes, so 1, 1.0 and true stay three objects.
class BinaryPropertyListWriter {
  public:
    NSData write(const PropertyListValue& root) {
        if (!number(root, 0))
            return nullptr;
        const std::size_t referenceSize = sizeFor(objects_.size() - 1);
        std::string file = "bplist00";
        std::vector<std::size_t> offsets;
        offsets.reserve(objects_.size());
        for (const Object& object : objects_) {
            offsets.push_back(file.size());
            if (object.scalar) {
                file.append(*object.scalar);
                continue;
            }
            const std::size_t count = object.references.size();
            appendCounted(file, object.isDictionary ? 0xD0 : 0xA0,
                          object.isDictionary ? count / 2 : count);
            for (const std::size_t reference : object.references)
                appendBigEndian(file, reference, referenceSize);
        }
        const std::size_t table = file.size();
        const std::size_t offsetSize = sizeFor(table);
        for (const std::size_t offset : offsets)
            appendBigEndian(file, offset, offsetSize);
        file.append(6, '\0');
        file.push_back(static_cast<char>(offsetSize));
        file.push_back(static_cast<char>(referenceSize));
        appendBigEndian(file, objects_.size(), 8);
        appendBigEndian(file, 0, 8);
        appendBigEndian(file, table, 8);
        return NSData::dataWithBytes(file.data(), file.size());
    }

  private:
    struct Object {
        const std::string* scalar = nullptr;  ///< a key of scalarNumbers_
        bool isDictionary = false;
        std::vector<std::size_t> references;  ///< of a dictionary: all keys, then all values
    };

    static std::size_t sizeFor(std::uint64_t largest) {
        return std::size_t{1} << sizePower(largest);
    }

    std::optional<std::size_t> number(const PropertyListValue& value, int depth) {
        switch (value.kind()) {
            case Kind::array:
                return numberArray(value.arrayValue(), depth);
            case Kind::dictionary:
                return numberDictionary(value.dictionaryValue(), depth);
            default:
                return numberScalar(value);
        }
    }

    std::optional<std::size_t> numberScalar(const PropertyListValue& value) {
        std::optional<std::string> bytes = encodedScalar(value);
        if (!bytes)
            return std::nullopt;
        const auto [entry, isNew] = scalarNumbers_.emplace(std::move(*bytes), objects_.size());
        if (isNew)
            objects_.push_back({&entry->first, false, {}});
        return entry->second;
    }

    std::optional<std::size_t> numberArray(const NSArray& array, int depth) {
        if (depth >= kMaximumPropertyListDepth)
            return std::nullopt;
        const std::size_t own = objects_.size();
        objects_.emplace_back();
        std::vector<std::size_t> references;
        references.reserve(array.count());
        for (const PropertyListValue& element : array) {
            const std::optional<std::size_t> reference = number(element, depth + 1);
            if (!reference)
                return std::nullopt;
            references.push_back(*reference);
        }
        objects_[own].references = std::move(references);
        return own;
    }

    std::optional<std::size_t> numberDictionary(const NSDictionary& dictionary, int depth) {
        if (depth >= kMaximumPropertyListDepth)
            return std::nullopt;
        const std::size_t own = objects_.size();
        objects_.emplace_back().isDictionary = true;
        std::vector<std::size_t> references;
        references.reserve(2 * dictionary.count());
        for (const NSDictionary::Entry& entry : dictionary)
            references.push_back(*numberScalar(entry.first));
        for (const NSDictionary::Entry& entry : dictionary) {
            const std::optional<std::size_t> reference = number(entry.second, depth + 1);
            if (!reference)
                return std::nullopt;
            references.push_back(*reference);
        }
        objects_[own].references = std::move(references);
        return own;
    }

    std::vector<Object> objects_;
    std::unordered_map<std::string, std::size_t> scalarNumbers_;
};

}  // namespace

NSData writeBinaryPropertyList(const PropertyListValue& value) {
    return BinaryPropertyListWriter().write(value);
}

}  // namespace TWQuickTime
