// Static functions on sound files.
//
//     double seconds = 0;
//     UQuickTimeAudio::GetAudioDuration(path, seconds);
#pragma once

#include "NSString.h"
#include "TWQTExport.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class TWQT_EXPORT UQuickTimeAudio {
  public:
    /// Length of a sound file; of a project package (extension "band") that of the mix inside it.
    /// @param outSeconds  0 for a nil path and for what cannot be measured
    /// @return always 0
    static OSErr GetAudioDuration(const NSString& inPath, double& outSeconds);
};

}  // namespace TWQuickTime
