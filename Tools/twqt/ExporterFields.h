// The settings that an exporter would export with, by the keys of its dialog.
#pragma once

#include <TWQECSSetting.h>

#include <map>
#include <optional>
#include <string>

#include "ToolboxTypes.h"

namespace twqt {

class ExporterFields {
  public:
    /// Opens the setting's exporter; without one there are no fields.
    explicit ExporterFields(TWQuickTime::TWQECSSetting& setting);

    /// 0 for a key that is not there.
    double number(const std::string& key) const;
    /// The codec, where pictures are written at all.
    std::optional<TWQuickTime::OSType> videoCodec() const { return codec("video", "videoCodec"); }
    /// The codec, where sound is written at all.
    std::optional<TWQuickTime::OSType> soundCodec() const { return codec("sound", "soundCodec"); }

  private:
    std::optional<TWQuickTime::OSType> codec(const std::string& enabledKey,
                                             const std::string& codecKey) const;
    std::map<std::string, std::string> values_;
};

}  // namespace twqt
