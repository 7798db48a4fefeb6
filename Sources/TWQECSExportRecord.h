// What happened in an export: which settings its steps used, and why others were passed over.
//
// Every preset keeps the record of its last export. A setting has one step; a sequence has one for
// each of its own, with the fallbacks that stood before the one that was used.
//
//     preset->exportMovie(movie, path, &error);
//     for (const TWQECSExportStep& step : preset->exportRecord().steps)
//         for (const TWQECSRejectedFallback& rejected : step.rejected)
//             show(rejected.identifier, rejected.reason, rejected.status);
#pragma once

#include <vector>

#include "NSString.h"
#include "PropertyListValue.h"
#include "TWQTExport.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

/// A fallback that could not be used.
struct TWQECSRejectedFallback {
    PropertyListValue identifier;  ///< as the sequence names it; null when it names none
    NSString reason;               ///< a few English words: "not installed", "settings refused" …
    OSStatus status = noErr;       ///< the toolbox's status for it
};

struct TWQECSExportStep {
    PropertyListValue used;  ///< identifier of the setting; null when no fallback could be used
    std::vector<TWQECSRejectedFallback> rejected = {};  ///< in the order of their trial
    NSString output = {};    ///< path of the file that the step wrote to; nil when it never ran
    bool succeeded = false;  ///< whether it ran to its end
};

struct TWQT_EXPORT TWQECSExportRecord {
    std::vector<TWQECSExportStep> steps;  ///< in their order; empty before the first export

    /// One line a step, for people:
    /// "step 1: prores to /tmp/EPR0.mov, after scanner (not installed, -2005)".
    NSString description() const;
};

}  // namespace TWQuickTime
