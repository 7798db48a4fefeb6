// An open graphics importer for a file, closed at the end of a scope.
//
//     StGraphicImportComponent importer(path);
//     if (importer.GetComponent())
//         GraphicsImportGetNaturalBounds(importer, &bounds);
#pragma once

#include "NSString.h"
#include "TWQTExport.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class TWQT_EXPORT StGraphicImportComponent {
  public:
    /// @param path  nil opens nothing; a failure is logged and leaves a null importer
    explicit StGraphicImportComponent(const NSString& path);
    ~StGraphicImportComponent();
    StGraphicImportComponent(const StGraphicImportComponent&) = delete;
    StGraphicImportComponent& operator=(const StGraphicImportComponent&) = delete;

    /// Owned by this object; null when none could be opened.
    ComponentInstance GetComponent() const { return mImporter; }
    operator ComponentInstance() const { return mImporter; }

  private:
    ComponentInstance mImporter = nullptr;
};

}  // namespace TWQuickTime
