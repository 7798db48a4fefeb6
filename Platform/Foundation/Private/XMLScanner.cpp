#include "Private/XMLScanner.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <utility>

#include "Private/TextEncoding.h"
#include "Private/UTF8Decoder.h"

namespace TWQuickTime {
namespace {

bool isWhiteSpace(char character) {
    return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

bool isNameStart(char character) {
    const auto lower = static_cast<char>(character | 0x20);
    return (lower >= 'a' && lower <= 'z') || character == '_' || character == ':' ||
           static_cast<unsigned char>(character) >= 0x80;
}

bool isNameCharacter(char character) {
    return isNameStart(character) || (character >= '0' && character <= '9') || character == '-' ||
           character == '.';
}

}  // namespace

void XMLScanner::skipWhiteSpace() {
    std::size_t count = 0;
    while (count < rest_.size() && isWhiteSpace(rest_[count]))
        ++count;
    rest_.remove_prefix(count);
}

bool XMLScanner::skip(std::string_view literal) {
    if (!rest_.starts_with(literal))
        return false;
    rest_.remove_prefix(literal.size());
    return true;
}

bool XMLScanner::skipPast(std::string_view terminator) {
    const std::size_t position = rest_.find(terminator);
    if (position == std::string_view::npos)
        return false;
    rest_.remove_prefix(position + terminator.size());
    return true;
}

bool XMLScanner::skipComment() {
    return skip("<!--") && skipPast("--") && skip(">");
}

bool XMLScanner::skipMiscellaneous() {
    for (;;) {
        skipWhiteSpace();
        if (rest_.starts_with("<!--")) {
            if (!skipComment())
                return false;
        } else if (rest_.starts_with("<?")) {
            if (!skipPast("?>"))
                return false;
        } else {
            return true;
        }
    }
}

bool XMLScanner::skipQuoted() {
    if (rest_.empty() || (rest_.front() != '"' && rest_.front() != '\''))
        return false;
    const std::size_t end = rest_.find(rest_.front(), 1);
    if (end == std::string_view::npos)
        return false;
    rest_.remove_prefix(end + 1);
    return true;
}

bool XMLScanner::skipDocumentType() {
    std::string_view name;
    skipWhiteSpace();
    if (!takeName(name))
        return false;
    skipWhiteSpace();
    const bool isPublic = skip("PUBLIC");
    if (isPublic || skip("SYSTEM")) {
        skipWhiteSpace();
        if (!skipQuoted())
            return false;
        skipWhiteSpace();
        if (isPublic && !skipQuoted())
            return false;
        skipWhiteSpace();
    }
    return skip(">");
}

bool XMLScanner::skipProlog() {
    if (!skipMiscellaneous())
        return false;
    if (!skip("<!DOCTYPE"))
        return true;
    return skipDocumentType() && skipMiscellaneous();
}

bool XMLScanner::takeName(std::string_view& name) {
    if (rest_.empty() || !isNameStart(rest_.front()))
        return false;
    std::size_t length = 1;
    while (length < rest_.size() && isNameCharacter(rest_[length]))
        ++length;
    name = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return true;
}

bool XMLScanner::takeTag(Tag& tag) {
    skipWhiteSpace();
    if (rest_.size() >= 2 && (rest_[1] == '!' || rest_[1] == '?') && !skipMiscellaneous())
        return false;
    if (!skip("<"))
        return false;
    tag.isEmpty = false;
    tag.isEnd = skip("/");
    if (!takeName(tag.name))
        return false;
    if (skip(">"))
        return true;
    skipWhiteSpace();
    while (!tag.isEnd && !rest_.empty() && isNameStart(rest_.front())) {
        std::string_view attribute;
        if (!takeName(attribute))
            return false;
        skipWhiteSpace();
        if (!skip("="))
            return false;
        skipWhiteSpace();
        if (!skipQuoted())
            return false;
        skipWhiteSpace();
    }
    tag.isEmpty = !tag.isEnd && skip("/");
    return skip(">");
}

bool XMLScanner::takeTextUntilEnd(std::string_view name, std::string_view& text) {
    bool usesScratch = false;
    for (;;) {
        const std::size_t length = rest_.find('<');
        if (length == std::string_view::npos)
            return false;
        const std::string_view raw = rest_.substr(0, length);
        rest_.remove_prefix(length);
        const bool isEnd = rest_.size() > 1 && rest_[1] == '/';
        if (isEnd && !usesScratch && raw.find('&') == std::string_view::npos &&
            raw.find('\r') == std::string_view::npos) {
            text = raw;
        } else {
            if (!usesScratch)
                scratch_.clear();
            usesScratch = true;
            if (!appendResolved(raw))
                return false;
            text = scratch_;
        }
        if (isEnd) {
            rest_.remove_prefix(2);
            if (!skip(name))
                return false;
            skipWhiteSpace();
            return skip(">");
        }
        if (skip("<![CDATA[")) {
            const std::size_t end = rest_.find("]]>");
            if (end == std::string_view::npos)
                return false;
            scratch_.append(rest_.substr(0, end));
            rest_.remove_prefix(end + 3);
        } else if (rest_.starts_with("<!--")) {
            if (!skipComment())
                return false;
        } else if (!rest_.starts_with("<?") || !skipPast("?>")) {
            return false;
        }
    }
}

bool XMLScanner::skipToEnd() {
    return skipMiscellaneous() && rest_.empty();
}

bool XMLScanner::appendResolved(std::string_view raw) {
    while (!raw.empty()) {
        const std::size_t plain = std::min(raw.find_first_of("&\r"), raw.size());
        scratch_.append(raw.substr(0, plain));
        raw.remove_prefix(plain);
        if (raw.empty())
            break;
        if (raw.front() == '\r') {
            scratch_.push_back('\n');
            raw.remove_prefix(raw.starts_with("\r\n") ? 2 : 1);
            continue;
        }
        // The longest reference to a character is "&#x10FFFF;", but it may have leading zeros.
        const std::size_t end = raw.substr(0, 64).find(';');
        if (end == std::string_view::npos || !appendReference(raw.substr(1, end - 1)))
            return false;
        raw.remove_prefix(end + 1);
    }
    return true;
}

bool XMLScanner::appendReference(std::string_view reference) {
    if (reference.starts_with('#')) {
        const bool isHexadecimal = reference.starts_with("#x");
        const std::string_view digits = reference.substr(isHexadecimal ? 2 : 1);
        std::uint32_t character = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(),
                                                  character, isHexadecimal ? 16 : 10);
        if (error != std::errc() || end != digits.data() + digits.size() ||
            !isXMLCharacter(character))
            return false;
        unicode::appendUTF8(scratch_, character);
        return true;
    }
    static constexpr std::pair<std::string_view, char> kNamed[] = {
        {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto& [entityName, character] : kNamed) {
        if (reference == entityName) {
            scratch_.push_back(character);
            return true;
        }
    }
    return false;
}

}  // namespace TWQuickTime
