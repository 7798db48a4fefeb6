#include "ExporterFields.h"

#include <MovieExportDialog.h>
#include <TWUQuickTimeComponent.h>

#include <cstdlib>

#include "FourCharCodeText.h"

namespace twqt {

using namespace TWQuickTime;

ExporterFields::ExporterFields(TWQECSSetting& setting) {
    const ComponentInstance exporter = setting.componentInstance();
    if (!exporter)
        return;
    const NSData settings = TWUQuickTimeComponent::getSettingsOfComponent(exporter);
    for (const MovieExportDialogField& field : MovieExportDialog("", settings.bytes()).fields())
        values_[field.key] = field.value;
}

double ExporterFields::number(const std::string& key) const {
    const auto found = values_.find(key);
    return found == values_.end() ? 0.0 : std::strtod(found->second.c_str(), nullptr);
}

std::optional<OSType> ExporterFields::codec(const std::string& enabledKey,
                                            const std::string& codecKey) const {
    const auto enabled = values_.find(enabledKey);
    const auto code = values_.find(codecKey);
    if (code == values_.end() || (enabled != values_.end() && enabled->second == "no"))
        return std::nullopt;
    return parseFourCharCode(code->second);
}

}  // namespace twqt
