#include "StGraphicImportComponent.h"

#include "Components.h"
#include "GraphicsImport.h"
#include "StDataRef.h"
#include "TWLog.h"

namespace TWQuickTime {

StGraphicImportComponent::StGraphicImportComponent(const NSString& path) {
    if (path.isNil())
        return;
    const StDataRef file(path);
    const OSErr status =
        GetGraphicsImporterForDataRef(file.GetDataRef(), file.GetType(), &mImporter);
    TWLogError(status, "GetGraphicsImporterForDataRef", "Sources/StGraphicImportComponent", 58);
    if (status != noErr)
        TWLog("File: %@", path);
}

StGraphicImportComponent::~StGraphicImportComponent() {
    if (mImporter)
        TWLogError(CloseComponent(mImporter), "CloseComponent", "Sources/StGraphicImportComponent",
                   74);
}

}  // namespace TWQuickTime
