#include <bit>
#include <cmath>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Private/PropertyListFormats.h"
#include "Private/TextEncoding.h"

namespace TWQuickTime {
namespace {

constexpr std::size_t kHeaderLength = 8;
constexpr std::size_t kTrailerLength = 32;

std::uint64_t bigEndian(std::span<const std::byte> bytes) {
    std::uint64_t value = 0;
    for (const std::byte byte : bytes)
        value = value << 8 | std::to_integer<std::uint64_t>(byte);
    return value;
}

/// The fixed part at the end of the file, checked against the file's length.
struct Trailer {
    std::size_t offsetSize = 0;
    std::size_t referenceSize = 0;
    std::uint64_t objectCount = 0;
    std::uint64_t topObject = 0;
    std::uint64_t offsetTable = 0;

    static std::optional<Trailer> read(std::span<const std::byte> file) {
        if (file.size() < kHeaderLength + 1 + 1 + kTrailerLength)
            return std::nullopt;
        const auto trailer = file.last(kTrailerLength);
        Trailer result;
        result.offsetSize = std::to_integer<std::size_t>(trailer[6]);
        result.referenceSize = std::to_integer<std::size_t>(trailer[7]);
        result.objectCount = bigEndian(trailer.subspan(8, 8));
        result.topObject = bigEndian(trailer.subspan(16, 8));
        result.offsetTable = bigEndian(trailer.subspan(24, 8));
        const std::size_t end = file.size() - kTrailerLength;
        const auto isSize = [](std::size_t size) {
            return size == 1 || size == 2 || size == 4 || size == 8 || size == 3;
        };
        if (!isSize(result.offsetSize) || !isSize(result.referenceSize) ||
            result.offsetTable <= kHeaderLength || result.offsetTable >= end ||
            result.objectCount > (end - result.offsetTable) / result.offsetSize ||
            result.objectCount > UINT32_MAX - 2 || result.topObject >= result.objectCount)
            return std::nullopt;
        return result;
    }
};

/// Reads every object once, however often it is referred to. Two sums stay below what the file's
/// length justifies: the encoded bytes of all objects read (objects that overlap in the file would
/// exceed it) and the number of values of the expanded tree.
class BinaryPropertyListReader {
  public:
    BinaryPropertyListReader(std::span<const std::byte> file, const Trailer& trailer)
        : objects_(file.first(trailer.offsetTable)),
          offsets_(file.subspan(trailer.offsetTable)),
          trailer_(trailer),
          unspentBytes_(trailer.offsetTable),
          mostExpandedValues_(mostExpandedPropertyListValues(file.size())),
          slots_(trailer.objectCount, kUnread) {}

    PropertyListValue read() {
        const ReadObject* root = object(trailer_.topObject, 0);
        return root ? root->value : nullptr;
    }

  private:
    struct ReadObject {
        PropertyListValue value;
        std::uint64_t expandedValues = 1;
    };
    static constexpr std::uint32_t kUnread = UINT32_MAX;
    static constexpr std::uint32_t kBeingRead = UINT32_MAX - 1;

    /// A marker byte with what belongs to it: the bytes after it, and for most kinds a count.
    struct Encoded {
        unsigned kind = 0;
        unsigned low = 0;
        std::uint64_t count = 0;
        std::span<const std::byte> rest;
    };

    const ReadObject* object(std::uint64_t index, int depth) {
        if (index >= slots_.size() || slots_[index] == kBeingRead)
            return nullptr;
        if (slots_[index] != kUnread)
            return &read_[slots_[index]];
        slots_[index] = kBeingRead;
        const std::uint64_t offset =
            bigEndian(offsets_.subspan(index * trailer_.offsetSize, trailer_.offsetSize));
        if (offset < kHeaderLength || offset >= objects_.size())
            return nullptr;
        ReadObject result;
        if (!decode(objects_.subspan(offset), depth, result))
            return nullptr;
        slots_[index] = static_cast<std::uint32_t>(read_.size());
        return &read_.emplace_back(std::move(result));
    }

    bool decode(std::span<const std::byte> bytes, int depth, ReadObject& result) {
        Encoded encoded;
        const auto marker = std::to_integer<unsigned>(bytes.front());
        encoded.kind = marker >> 4;
        encoded.low = marker & 0x0F;
        encoded.rest = bytes.subspan(1);
        switch (encoded.kind) {
            case 0x0:
                result.value = readSimple(encoded);
                break;
            case 0x1:
                result.value = readInteger(encoded);
                break;
            case 0x2:
                result.value = readReal(encoded);
                break;
            case 0x3:
                result.value = readDate(encoded);
                break;
            case 0x4:
            case 0x5:
            case 0x6:
                result.value = takeCount(encoded) ? readText(encoded) : nullptr;
                break;
            case 0x8:
                result.value = readUID(encoded);
                break;
            case 0xA:
                return takeCount(encoded) && readArray(encoded, depth, result);
            case 0xD:
                return takeCount(encoded) && readDictionary(encoded, depth, result);
            default:
                return false;
        }
        return !result.value.isNull();
    }

    /// Takes a payload off the encoded object, as long as the file's length still justifies it.
    std::optional<std::span<const std::byte>> take(Encoded& encoded, std::uint64_t count,
                                                   std::uint64_t size = 1) {
        if (count > encoded.rest.size() / size || count * size >= unspentBytes_)
            return std::nullopt;
        const auto payload = encoded.rest.first(count * size);
        encoded.rest = encoded.rest.subspan(count * size);
        unspentBytes_ -= payload.size() + 1;
        return payload;
    }

    bool takeCount(Encoded& encoded) {
        encoded.count = encoded.low;
        if (encoded.low != 0xF)
            return true;
        if (encoded.rest.empty())
            return false;
        const auto marker = std::to_integer<unsigned>(encoded.rest.front());
        if (marker < 0x10 || marker > 0x13)
            return false;
        const std::size_t size = std::size_t{1} << (marker & 0x0F);
        if (encoded.rest.size() < 1 + size)
            return false;
        encoded.count = bigEndian(encoded.rest.subspan(1, size));
        encoded.rest = encoded.rest.subspan(1 + size);
        return true;
    }

    PropertyListValue readSimple(Encoded& encoded) {
        if ((encoded.low != 8 && encoded.low != 9) || !take(encoded, 0))
            return nullptr;
        return encoded.low == 9;
    }

    PropertyListValue readInteger(Encoded& encoded) {
        if (encoded.low > 4)
            return nullptr;
        const auto payload = take(encoded, std::uint64_t{1} << encoded.low);
        if (!payload)
            return nullptr;
        if (payload->size() < 8)
            return bigEndian(*payload);
        const std::uint64_t low = bigEndian(payload->last(8));
        const auto signedLow = static_cast<std::int64_t>(low);
        if (payload->size() == 8)
            return signedLow;
        const std::uint64_t high = bigEndian(payload->first(8));
        if (high == 0)
            return low;
        if (high == UINT64_MAX && signedLow < 0)
            return signedLow;
        return nullptr;
    }

    PropertyListValue readReal(Encoded& encoded) {
        if (encoded.low != 2 && encoded.low != 3)
            return nullptr;
        const auto payload = take(encoded, std::uint64_t{1} << encoded.low);
        if (!payload)
            return nullptr;
        const std::uint64_t bits = bigEndian(*payload);
        if (payload->size() == 4)
            return static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
        return std::bit_cast<double>(bits);
    }

    PropertyListValue readDate(Encoded& encoded) {
        if (encoded.low != 3)
            return nullptr;
        const auto payload = take(encoded, 8);
        if (!payload)
            return nullptr;
        const auto seconds = std::bit_cast<double>(bigEndian(*payload));
        return std::isfinite(seconds) ? PropertyListValue(NSDate{seconds}) : nullptr;
    }

    PropertyListValue readUID(Encoded& encoded) {
        if (encoded.low > 7)
            return nullptr;
        const auto payload = take(encoded, encoded.low + 1);
        return payload ? PropertyListValue(PropertyListUID{bigEndian(*payload)}) : nullptr;
    }

    /// Data (4n), ASCII (5n) and UTF-16 (6n).
    PropertyListValue readText(Encoded& encoded) {
        const auto payload = take(encoded, encoded.count, encoded.kind == 0x6 ? 2 : 1);
        if (!payload)
            return nullptr;
        if (encoded.kind == 0x4)
            return payload->empty() ? emptyData_
                                    : NSData::dataWithBytes(payload->data(), payload->size());
        if (payload->empty())
            return emptyString_;
        if (encoded.kind == 0x5) {
            for (const std::byte byte : *payload)
                if ((byte & std::byte{0x80}) != std::byte{0})
                    return nullptr;
            return NSString(textOf(*payload));
        }
        std::u16string units(encoded.count, u'\0');
        for (std::size_t i = 0; i < units.size(); ++i)
            units[i] = static_cast<char16_t>(bigEndian(payload->subspan(2 * i, 2)));
        std::optional<std::string> text = utf8FromUTF16(units);
        return text ? PropertyListValue(NSString(std::move(*text))) : nullptr;
    }

    /// The object that the n-th reference of a container names, and what it adds to the tree.
    const ReadObject* child(std::span<const std::byte> references, std::size_t position, int depth,
                            ReadObject& parent) {
        const ReadObject* found =
            object(bigEndian(references.subspan(position * trailer_.referenceSize,
                                                trailer_.referenceSize)),
                   depth + 1);
        if (!found)
            return nullptr;
        parent.expandedValues += found->expandedValues;
        return parent.expandedValues <= mostExpandedValues_ ? found : nullptr;
    }

    bool readArray(Encoded& encoded, int depth, ReadObject& result) {
        const auto references = take(encoded, encoded.count, trailer_.referenceSize);
        if (!references || depth >= kMaximumPropertyListDepth)
            return false;
        if (encoded.count == 0) {
            result.value = emptyArray_;
            return true;
        }
        std::vector<PropertyListValue> values;
        values.reserve(encoded.count);
        for (std::size_t i = 0; i < encoded.count; ++i) {
            const ReadObject* element = child(*references, i, depth, result);
            if (!element)
                return false;
            values.push_back(element->value);
        }
        result.value = NSArray(std::move(values));
        return true;
    }

    bool readDictionary(Encoded& encoded, int depth, ReadObject& result) {
        const auto references = take(encoded, encoded.count, 2 * trailer_.referenceSize);
        if (!references || depth >= kMaximumPropertyListDepth)
            return false;
        if (encoded.count == 0) {
            result.value = emptyDictionary_;
            return true;
        }
        std::vector<NSDictionary::Entry> entries;
        entries.reserve(encoded.count);
        for (std::size_t i = 0; i < encoded.count; ++i) {
            const ReadObject* key = child(*references, i, depth, result);
            if (!key || !key->value.isString())
                return false;
            NSString name = key->value.stringValue();
            const ReadObject* value = child(*references, encoded.count + i, depth, result);
            if (!value)
                return false;
            entries.emplace_back(std::move(name), value->value);
        }
        result.value = NSDictionary::dictionaryWithEntries(std::move(entries));
        return true;
    }

    std::span<const std::byte> objects_;
    std::span<const std::byte> offsets_;
    Trailer trailer_;
    std::uint64_t unspentBytes_;
    std::uint64_t mostExpandedValues_;
    /// For each object of the file: its place in read_, or one of the two marks.
    std::vector<std::uint32_t> slots_;
    std::deque<ReadObject> read_;
    const NSString emptyString_ = "";
    const NSData emptyData_{std::vector<std::byte>()};
    const NSArray emptyArray_ = NSArray::array();
    const NSDictionary emptyDictionary_ = NSDictionary::dictionary();
};

}  // namespace

bool looksLikeBinaryPropertyList(std::span<const std::byte> bytes) noexcept {
    return textOf(bytes).starts_with("bplist0");
}

PropertyListValue readBinaryPropertyList(std::span<const std::byte> bytes) {
    const std::optional<Trailer> trailer = Trailer::read(bytes);
    if (!trailer)
        return nullptr;
    return BinaryPropertyListReader(bytes, *trailer).read();
}

}  // namespace TWQuickTime
