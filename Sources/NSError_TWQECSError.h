// Errors of exporting with presets.
//
//     NSError error = NSError_TWQECSError::errorWitQECSErrorCode(TWQECSNotInstalledError);
//     show(error.localizedDescription());
#pragma once

#include <cstdint>

#include "NSError.h"
#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

/// Domain of the codes below, and of toolbox statuses that ended an export with a preset.
TWQT_EXPORT extern const NSString TWQECSErrorDomain;

enum TWQECSErrorCode : std::int32_t {
    TWQECSNoMovieError = 1000,       ///< no movie was given
    TWQECSNoPathError = 1001,        ///< no destination was given
    TWQECSNoDurationError = 1002,    ///< nothing to export
    TWQECSNotInstalledError = 1003,  ///< the exporter is not on this machine
};

class TWQT_EXPORT NSError_TWQECSError {
  public:
    /// The error of a code with its text in the user's language, under NSLocalizedDescriptionKey.
    /// "Wit" is spelled so on purpose.       (errorWitQECSErrorCode:)
    /// @return nil for the code 0; every code but 1003 has the text of an internal error
    static NSError errorWitQECSErrorCode(std::int32_t code);
};

}  // namespace TWQuickTime
