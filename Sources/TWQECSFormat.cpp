#include "TWQECSFormat.h"

namespace TWQuickTime {

const NSString TWQECSFormatVersion = "Export Presets Version";
const NSString TWQECSFormatSettingList = "Export Presets";
const NSString TWQECSFormatSequenceList = "Export Presets Sequences";

const NSString TWQECSFormatSettingID = "SettingID";
const NSString TWQECSFormatSettingName = "Name";
const NSString TWQECSFormatSettingComment = "Comment";
const NSString TWQECSFormatSettingComponentType = "QTExpComponentType";
const NSString TWQECSFormatSettingComponentSubType = "QTExpComponentSubType";
const NSString TWQECSFormatSettingComponentManufacturer = "QTExpComponentManufacturer";
const NSString TWQECSFormatSettingComponentAtomData = "QTExpSettings";

const NSString TWQECSFormatSequenceID = "SequenceID";
const NSString TWQECSFormatSequenceName = "Name";
const NSString TWQECSFormatSequenceComment = "Comment";
const NSString TWQECSFormatSequenceStepList = "Steps";

const NSString TWQECSFormatSequenceStepName = "Name";
const NSString TWQECSFormatSequenceStepFallbackList = "Fallbacks";

const NSString TWQECSFormatSequenceStepFallbackName = "Name";
const NSString TWQECSFormatSequenceStepFallbackSettingID = "SettingID";

}  // namespace TWQuickTime
