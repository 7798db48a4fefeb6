// The value of an attribute of a movie or track: a number, text or other property-list value, a
// time, a range of time, or none.
//
//     movie->setAttribute(QTMakeTimeRange(in, duration), QTMovieSelectionAttribute);
//     double scale = movie->attributeForKey(QTMovieTimeScaleAttribute).doubleValue();
#pragma once

#include <variant>

#include "PropertyListValue.h"
#include "QTTime.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT QTAttributeValue {
  public:
    /// None.
    QTAttributeValue() = default;
    QTAttributeValue(PropertyListValue value) : value_(std::move(value)) {}
    QTAttributeValue(bool value) : value_(PropertyListValue(value)) {}
    QTAttributeValue(std::int32_t value) : value_(PropertyListValue(value)) {}
    QTAttributeValue(std::int64_t value) : value_(PropertyListValue(value)) {}
    QTAttributeValue(double value) : value_(PropertyListValue(value)) {}
    QTAttributeValue(const char* value) : value_(PropertyListValue(value)) {}
    QTAttributeValue(NSString value) : value_(PropertyListValue(std::move(value))) {}
    QTAttributeValue(QTTime value) : value_(value) {}
    QTAttributeValue(QTTimeRange value) : value_(value) {}

    bool isNil() const;

    // The value as its own kind; 0, false, nil and the zero time for any other.
    bool boolValue() const { return propertyListValue().boolValue(); }
    std::int32_t intValue() const { return propertyListValue().intValue(); }
    double doubleValue() const { return propertyListValue().doubleValue(); }
    NSString stringValue() const { return propertyListValue().stringValue(); }
    PropertyListValue propertyListValue() const;
    QTTime timeValue() const;
    QTTimeRange timeRangeValue() const;

    friend bool operator==(const QTAttributeValue&, const QTAttributeValue&) = default;

  private:
    std::variant<PropertyListValue, QTTime, QTTimeRange> value_;
};

}  // namespace TWQuickTime
