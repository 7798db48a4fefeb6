#include "QTAttributeValue.h"

namespace TWQuickTime {

bool QTAttributeValue::isNil() const {
    const auto* value = std::get_if<PropertyListValue>(&value_);
    return value && value->isNull();
}

PropertyListValue QTAttributeValue::propertyListValue() const {
    const auto* value = std::get_if<PropertyListValue>(&value_);
    return value ? *value : PropertyListValue();
}

QTTime QTAttributeValue::timeValue() const {
    const auto* value = std::get_if<QTTime>(&value_);
    return value ? *value : QTZeroTime;
}

QTTimeRange QTAttributeValue::timeRangeValue() const {
    const auto* value = std::get_if<QTTimeRange>(&value_);
    return value ? *value : QTMakeTimeRange(QTZeroTime, QTZeroTime);
}

}  // namespace TWQuickTime
