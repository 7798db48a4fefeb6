#include "TWQuickTimeComponentHasUITransformer.h"

#include "Components.h"

namespace TWQuickTime {

NSString TWQuickTimeComponentHasUITransformer::transformedValueClass() const {
    return "NSNumber";
}

bool TWQuickTimeComponentHasUITransformer::allowsReverseTransformation() const {
    return false;
}

PropertyListValue TWQuickTimeComponentHasUITransformer::transformedValue(
    const PropertyListValue& value) const {
    if (!value)
        return false;
    const ComponentDescription wanted{MovieExportType, static_cast<OSType>(value.longLongValue()),
                                      0, canMovieExportFiles, canMovieExportFiles};
    ComponentDescription description;
    const Component exporter = FindNextComponent(nullptr, &wanted);
    return exporter &&
           GetComponentInfo(exporter, &description, nullptr, nullptr, nullptr) == noErr &&
           (description.componentFlags & hasMovieExportUserInterface) != 0;
}

}  // namespace TWQuickTime
