#include "PresetJson.h"

#include <TWQECSFormat.h>
#include <TWQECSSequence.h>

#include "FourCharCodeText.h"

namespace twqt {

using namespace TWQuickTime;

namespace {

Json jsonFromCode(const std::optional<std::string>& code) {
    return code ? Json(*code) : Json(nullptr);
}

}  // namespace

Json jsonFromSetting(TWQECS& setting) {
    return {
        {"id", jsonFromPropertyList(setting.identifier())},
        {"name", jsonFromString(setting.name())},
        {"comment", jsonFromString(setting.comment())},
        {"type", codeText(setting, TWQECSFormatSettingComponentType).value_or("spit")},
        {"subtype", jsonFromCode(codeText(setting, TWQECSFormatSettingComponentSubType))},
        {"manufacturer", jsonFromCode(codeText(setting, TWQECSFormatSettingComponentManufacturer))},
        {"installed", setting.isInstalled()},
        {"threadSafe", setting.isThreadSafe()},
        {"hasUserInterface", setting.componentHasUserInterface()},
        {"extension", jsonFromString(setting.exportedMovieFileExtension())},
        {"width", setting.exportedMovieWidth()},
        {"height", setting.exportedMovieHeight()},
        {"frameRate", setting.exportedMovieFrameRate()}};
}

Json jsonFromSequence(TWQECS& sequence) {
    Json steps = Json::array();
    for (const std::shared_ptr<TWQECS>& step : stepsOf(sequence))
        steps.push_back(jsonFromPropertyList(step->identifier()));
    return {{"id", jsonFromPropertyList(sequence.identifier())},
            {"name", jsonFromString(sequence.name())},
            {"comment", jsonFromString(sequence.comment())},
            {"installed", sequence.isInstalled()},
            {"steps", steps},
            {"extension", jsonFromString(sequence.exportedMovieFileExtension())}};
}

std::optional<std::string> codeText(const TWQECS& preset, const NSString& key) {
    const PropertyListValue code = preset.objectForKey(key);
    if (!code)
        return std::nullopt;
    return fourCharCodeText(static_cast<OSType>(code.longLongValue()));
}

std::vector<std::shared_ptr<TWQECS>> stepsOf(TWQECS& preset) {
    if (auto* sequence = dynamic_cast<TWQECSSequence*>(&preset)) {
        if (const std::optional<TWQECSSequence::Steps>& steps = sequence->steps())
            return *steps;
    }
    return {};
}

}  // namespace twqt
