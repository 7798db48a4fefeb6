#include "TWQuickTimeComponentNameTransformer.h"

#include "Components.h"
#include "Handles.h"
#include "TWUQuickTimeComponent.h"

namespace TWQuickTime {

NSString TWQuickTimeComponentNameTransformer::transformedValueClass() const {
    return "NSString";
}

bool TWQuickTimeComponentNameTransformer::allowsReverseTransformation() const {
    return false;
}

PropertyListValue TWQuickTimeComponentNameTransformer::transformedValue(
    const PropertyListValue& value) const {
    if (!value)
        return nullptr;
    const ComponentDescription wanted{MovieExportType, static_cast<OSType>(value.longLongValue()),
                                      0, canMovieExportFiles, canMovieExportFiles};
    const Component exporter = FindNextComponent(nullptr, &wanted);
    if (!exporter)
        return nullptr;
    Handle name = NewHandle(0);
    PropertyListValue result;
    if (GetComponentInfo(exporter, nullptr, name, nullptr, nullptr) == noErr)
        result = TWUQuickTimeComponent::nameFromHandle(name);
    DisposeHandle(name);
    return result;
}

}  // namespace TWQuickTime
