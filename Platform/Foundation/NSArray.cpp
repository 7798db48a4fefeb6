#include <algorithm>

#include "FormatString.h"
#include "NSException.h"
#include "Private/SharedOwnership.h"
#include "PropertyListValue.h"

namespace TWQuickTime {

NSArray::NSArray(std::vector<PropertyListValue> values)
    : values_(std::make_shared<std::vector<PropertyListValue>>(std::move(values))) {}

NSArray NSArray::array() {
    return NSArray(std::vector<PropertyListValue>());
}

std::size_t NSArray::count() const noexcept {
    return values_ ? values_->size() : 0;
}

const PropertyListValue& NSArray::objectAtIndex(std::size_t index) const {
    if (index >= count())
        throw NSException(
            NSRangeException,
            formatString("index %lu is beyond the %lu objects of the array", index, count()));
    return (*values_)[index];
}

void NSArray::addObject(PropertyListValue value) {
    if (!values_)
        values_ = std::make_shared<std::vector<PropertyListValue>>();
    else if (!isOnlyOwner(values_))
        values_ = std::make_shared<std::vector<PropertyListValue>>(*values_);
    values_->push_back(std::move(value));
}

const PropertyListValue* NSArray::begin() const noexcept {
    return values_ ? values_->data() : nullptr;
}

const PropertyListValue* NSArray::end() const noexcept {
    return values_ ? values_->data() + values_->size() : nullptr;
}

bool operator==(const NSArray& a, const NSArray& b) {
    if (a.values_ == b.values_)
        return true;
    return a.values_ && b.values_ && std::ranges::equal(*a.values_, *b.values_);
}

}  // namespace TWQuickTime
