#include "PresetIdentifier.h"

#include <TWQECS.h>

#include <charconv>
#include <cstdint>

namespace twqt {

using namespace TWQuickTime;

bool isNamedBy(const PropertyListValue& identifier, const std::string& text) {
    return (identifier.isString() || identifier.isNumber()) &&
           identifier.description().utf8() == text;
}

PropertyListValue newIdentifier(const std::string& text) {
    std::int64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && rest == end && std::to_string(number) == text)
        return number;
    return NSString(text);
}

std::shared_ptr<TWQECS> presetWithIdentifier(const TWQECSReader& reader, const std::string& text) {
    for (const auto& setting : reader.componentSettings())
        if (isNamedBy(setting->identifier(), text))
            return setting;
    for (const auto& sequence : reader.componentSettingSequences())
        if (isNamedBy(sequence->identifier(), text))
            return sequence;
    return nullptr;
}

}  // namespace twqt
