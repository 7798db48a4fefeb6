// The keys of preset files ("*.qecs"): property lists that name ways of exporting a movie.
//
// The root holds a version, settings (one exporter with its settings each) and sequences (steps
// that choose a setting each). Several constants share one key text on purpose; the names tell
// where the key stands.
//
//     NSDictionary entry{{TWQECSFormatSettingID, "h264"}, {TWQECSFormatSettingName, "H.264"}};
#pragma once

#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

// The root.
/// Number; stored, never checked.
TWQT_EXPORT extern const NSString TWQECSFormatVersion;
/// Array of settings.
TWQT_EXPORT extern const NSString TWQECSFormatSettingList;
/// Array of sequences.
TWQT_EXPORT extern const NSString TWQECSFormatSequenceList;

// A setting.
/// String or number that identifies it in its file; required.
TWQT_EXPORT extern const NSString TWQECSFormatSettingID;
/// String to show.
TWQT_EXPORT extern const NSString TWQECSFormatSettingName;
/// String to show.
TWQT_EXPORT extern const NSString TWQECSFormatSettingComment;
/// Number, a four-character code; movie exporters ('spit') when absent.
TWQT_EXPORT extern const NSString TWQECSFormatSettingComponentType;
/// Number, a four-character code; 0 when absent.
TWQT_EXPORT extern const NSString TWQECSFormatSettingComponentSubType;
/// Number, a four-character code; 0 when absent.
TWQT_EXPORT extern const NSString TWQECSFormatSettingComponentManufacturer;
/// Data, the exporter's settings as the flat bytes of an atom container; its defaults when absent.
TWQT_EXPORT extern const NSString TWQECSFormatSettingComponentAtomData;

// A sequence.
/// String or number that identifies it in its file; required.
TWQT_EXPORT extern const NSString TWQECSFormatSequenceID;
/// String to show.
TWQT_EXPORT extern const NSString TWQECSFormatSequenceName;
/// String to show.
TWQT_EXPORT extern const NSString TWQECSFormatSequenceComment;
/// Array of steps, in the order in which they run.
TWQT_EXPORT extern const NSString TWQECSFormatSequenceStepList;

// A step.
/// String that describes it; used for nothing.
TWQT_EXPORT extern const NSString TWQECSFormatSequenceStepName;
/// Array of fallbacks, the preferred one first.
TWQT_EXPORT extern const NSString TWQECSFormatSequenceStepFallbackList;

// A fallback.
/// String that describes it; used for nothing.
TWQT_EXPORT extern const NSString TWQECSFormatSequenceStepFallbackName;
/// Identifier of a setting of the same file.
TWQT_EXPORT extern const NSString TWQECSFormatSequenceStepFallbackSettingID;

}  // namespace TWQuickTime
