#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Private/PropertyListFormats.h"
#include "Private/TextEncoding.h"
#include "Private/UTF8Decoder.h"

namespace TWQuickTime {
namespace {

int hexadecimalDigit(char character) {
    if (character >= '0' && character <= '9')
        return character - '0';
    const auto lower = static_cast<char>(character | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool isUnquoted(char character) {
    const auto lower = static_cast<char>(character | 0x20);
    return (lower >= 'a' && lower <= 'z') || (character >= '0' && character <= '9') ||
           std::string_view("_$/:.-").find(character) != std::string_view::npos;
}

/// Resolves what stands between two quotes. Units above ASCII may come as pairs of \U escapes.
class QuotedText {
  public:
    std::optional<std::string> resolve(std::string_view raw) {
        std::size_t position = 0;
        while (position < raw.size()) {
            const std::size_t plain = std::min(raw.find('\\', position), raw.size());
            if (plain > position && !append(raw.substr(position, plain - position)))
                return std::nullopt;
            position = plain;
            if (position < raw.size() && !takeEscape(raw, position))
                return std::nullopt;
        }
        if (highSurrogate_ != 0)
            return std::nullopt;
        return std::move(text_);
    }

  private:
    bool append(std::string_view plain) {
        text_.append(plain);
        return highSurrogate_ == 0;
    }

    bool takeEscape(std::string_view raw, std::size_t& position) {
        if (++position >= raw.size())
            return false;
        const char kind = raw[position++];
        if (kind == 'U' || kind == 'u') {
            char32_t unit = 0;
            std::size_t digits = 0;
            while (digits < 4 && position < raw.size() && hexadecimalDigit(raw[position]) >= 0) {
                unit = unit * 16 + static_cast<char32_t>(hexadecimalDigit(raw[position++]));
                ++digits;
            }
            return digits > 0 && appendUnit(unit);
        }
        if (highSurrogate_ != 0)
            return false;
        if (kind >= '0' && kind <= '7') {
            char32_t value = static_cast<char32_t>(kind - '0');
            for (int digits = 1; digits < 3 && position < raw.size() && raw[position] >= '0' &&
                                 raw[position] <= '7';
                 ++digits)
                value = value * 8 + static_cast<char32_t>(raw[position++] - '0');
            unicode::appendUTF8(text_, value & 0xFF);
            return true;
        }
        static constexpr std::string_view kLetters = "abfnrtv";
        static constexpr std::string_view kMeanings = "\a\b\f\n\r\t\v";
        const std::size_t letter = kLetters.find(kind);
        text_.push_back(letter == std::string_view::npos ? kind : kMeanings[letter]);
        return true;
    }

    bool appendUnit(char32_t unit) {
        const bool isLow = unit >= 0xDC00 && unit <= 0xDFFF;
        if (isLow != (highSurrogate_ != 0))
            return false;
        if (unit >= 0xD800 && unit < 0xDC00) {
            highSurrogate_ = unit;
            return true;
        }
        unicode::appendUTF8(
            text_, isLow ? 0x10000 + ((highSurrogate_ - 0xD800) << 10) + (unit - 0xDC00) : unit);
        highSurrogate_ = 0;
        return true;
    }

    std::string text_;
    char32_t highSurrogate_ = 0;
};

/// Recursive descent; every function returns null or false for damaged text.
class OldStylePropertyListReader {
  public:
    explicit OldStylePropertyListReader(std::string_view text) : rest_(text) {}

    /// A value, or the bare entries of a strings table.
    PropertyListValue read() {
        const std::string_view all = rest_;
        if (!skipSpace())
            return nullptr;
        PropertyListValue value = rest_.empty() ? nullptr : readValue(0);
        if (value && skipSpace() && rest_.empty())
            return value;
        rest_ = all;
        return readEntries(false, 0);
    }

  private:
    /// White space and comments; false for a comment without an end.
    bool skipSpace() {
        for (;;) {
            std::size_t count = 0;
            while (count < rest_.size() && (static_cast<unsigned char>(rest_[count]) <= ' '))
                ++count;
            rest_.remove_prefix(count);
            if (rest_.starts_with("//")) {
                rest_.remove_prefix(std::min(rest_.find_first_of("\r\n"), rest_.size()));
            } else if (rest_.starts_with("/*")) {
                const std::size_t end = rest_.find("*/", 2);
                if (end == std::string_view::npos)
                    return false;
                rest_.remove_prefix(end + 2);
            } else {
                return true;
            }
        }
    }

    bool skip(char character) {
        if (rest_.empty() || rest_.front() != character)
            return false;
        rest_.remove_prefix(1);
        return true;
    }

    PropertyListValue readValue(int depth) {
        if (!skipSpace() || depth >= kMaximumPropertyListDepth)
            return nullptr;
        if (skip('{'))
            return readEntries(true, depth);
        if (skip('('))
            return readArray(depth);
        if (skip('<'))
            return readData();
        return readString();
    }

    PropertyListValue readString() {
        if (rest_.empty())
            return nullptr;
        if (rest_.front() == '"' || rest_.front() == '\'')
            return readQuoted();
        std::size_t length = 0;
        // "/" may stand in an unquoted string, but not as the beginning of a comment.
        while (length < rest_.size() && isUnquoted(rest_[length]) &&
               !rest_.substr(length).starts_with("//") && !rest_.substr(length).starts_with("/*"))
            ++length;
        if (length == 0)
            return nullptr;
        NSString text(rest_.substr(0, length));
        rest_.remove_prefix(length);
        return text;
    }

    PropertyListValue readQuoted() {
        std::size_t end = 1;
        while (end < rest_.size() && rest_[end] != rest_.front())
            end += rest_[end] == '\\' ? 2 : 1;
        if (end >= rest_.size())
            return nullptr;
        std::optional<std::string> text = QuotedText().resolve(rest_.substr(1, end - 1));
        rest_.remove_prefix(end + 1);
        return text ? PropertyListValue(NSString(std::move(*text))) : nullptr;
    }

    PropertyListValue readData() {
        std::vector<std::byte> bytes;
        int high = -1;
        while (!rest_.empty() && rest_.front() != '>') {
            const char character = rest_.front();
            rest_.remove_prefix(1);
            if (static_cast<unsigned char>(character) <= ' ')
                continue;
            const int digit = hexadecimalDigit(character);
            if (digit < 0)
                return nullptr;
            if (high >= 0)
                bytes.push_back(static_cast<std::byte>(high << 4 | digit));
            high = high >= 0 ? -1 : digit;
        }
        return skip('>') && high < 0 ? PropertyListValue(NSData(std::move(bytes))) : nullptr;
    }

    PropertyListValue readArray(int depth) {
        std::vector<PropertyListValue> values;
        for (;;) {
            if (!skipSpace())
                return nullptr;
            if (skip(')'))
                return NSArray(std::move(values));
            PropertyListValue value = readValue(depth + 1);
            if (value.isNull() || !skipSpace())
                return nullptr;
            values.push_back(std::move(value));
            if (!skip(',') && !rest_.starts_with(')'))
                return nullptr;
        }
    }

    /// `key = value;` up to "}" or to the end of the text. "key;" stands for `key = key;`.
    PropertyListValue readEntries(bool inBraces, int depth) {
        NSDictionary dictionary = NSDictionary::dictionary();
        for (;;) {
            if (!skipSpace())
                return nullptr;
            if (inBraces ? skip('}') : rest_.empty())
                return dictionary;
            const PropertyListValue key = readString();
            if (key.isNull() || !skipSpace())
                return nullptr;
            PropertyListValue value = key;
            if (skip('=')) {
                value = readValue(depth + 1);
                if (value.isNull() || !skipSpace())
                    return nullptr;
            }
            // The last entry may do without its semicolon.
            const bool isLast = inBraces ? rest_.starts_with('}') : rest_.empty();
            if (!skip(';') && !isLast)
                return nullptr;
            dictionary.setObject(std::move(value), key.stringValue());
        }
    }

    std::string_view rest_;
};

}  // namespace

PropertyListValue readOldStylePropertyList(std::string_view utf8) {
    return OldStylePropertyListReader(utf8).read();
}

}  // namespace TWQuickTime
