#include "Private/FormatField.h"

#include <algorithm>

namespace TWQuickTime {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

class ConversionParser {
  public:
    explicit ConversionParser(std::string_view text) : text_(text) {}

    std::optional<ParsedConversion> parse() {
        at_ = 1;
        parsePosition();
        parseFlags();
        parseWidth();
        parsePrecision();
        parseLength();
        constexpr std::string_view conversions = "diuxXocCsfFeEgGaA@%";
        if (at_ >= text_.size() || conversions.find(text_[at_]) == conversions.npos)
            return std::nullopt;
        field_.conversion = text_[at_++];
        return ParsedConversion{field_, at_};
    }

  private:
    char current() const { return at_ < text_.size() ? text_[at_] : '\0'; }

    bool take(char c) {
        if (current() != c)
            return false;
        ++at_;
        return true;
    }

    std::optional<int> takeNumber() {
        if (!isDigit(current()))
            return std::nullopt;
        int number = 0;
        for (; isDigit(current()); ++at_)
            number = std::min(number * 10 + (current() - '0'), formatWidthMaximum);
        return number;
    }

    void parsePosition() {
        const std::size_t start = at_;
        const std::optional<int> number = takeNumber();
        if (number && *number > 0 && take('$'))
            field_.position = static_cast<std::size_t>(*number);
        else
            at_ = start;
    }

    void parseFlags() {
        for (;; ++at_) {
            switch (current()) {
                case '-':
                    field_.leftAligned = true;
                    break;
                case '0':
                    field_.zeroFilled = true;
                    break;
                case '+':
                    field_.plusSign = true;
                    break;
                case ' ':
                    field_.blankSign = true;
                    break;
                case '#':
                    field_.alternateForm = true;
                    break;
                default:
                    return;
            }
        }
    }

    void parseWidth() {
        if (take('*'))
            field_.widthFromArgument = true;
        else
            field_.width = takeNumber();
    }

    void parsePrecision() {
        if (!take('.'))
            return;
        if (take('*'))
            field_.precisionFromArgument = true;
        else
            field_.precision = takeNumber().value_or(0);
    }

    void parseLength() {
        constexpr std::string_view lengthLetters = "hlqLjzt";
        for (; lengthLetters.find(current()) != lengthLetters.npos; ++at_) {
            if (current() == 'h')
                field_.isForShortType = true;
        }
    }

    std::string_view text_;
    std::size_t at_ = 0;
    FormatField field_;
};

}  // namespace

void FormatField::setWidth(std::optional<int> value) {
    width = value;
    if (value && *value < 0) {
        leftAligned = true;
        width = -*value;
    }
}

void FormatField::setPrecision(std::optional<int> value) {
    precision = value && *value >= 0 ? value : std::nullopt;
}

std::optional<ParsedConversion> parseConversion(std::string_view text) {
    return ConversionParser(text).parse();
}

}  // namespace TWQuickTime
