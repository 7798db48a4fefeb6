// An image that is shown by one of its representations.
//
//     std::shared_ptr<NSImage> image = NSImage::initWithData(NSData::dataWithContentsOfFile(path));
//     if (image) show(image->representations().front()->bitmapData());
#pragma once

#include <memory>
#include <vector>

#include "CGGeometry.h"
#include "NSBitmapImageRep.h"
#include "NSData.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT NSImage {
  public:
    static std::shared_ptr<NSImage> initWithSize(NSSize size);
    /// Any picture format that is read here, picture handles included; null for anything else.
    static std::shared_ptr<NSImage> initWithData(const NSData& data);

    NSSize size() const { return size_; }
    const std::vector<std::shared_ptr<NSBitmapImageRep>>& representations() const {
        return representations_;
    }
    void addRepresentation(std::shared_ptr<NSBitmapImageRep> representation);

  private:
    explicit NSImage(NSSize size) : size_(size) {}
    NSSize size_;
    std::vector<std::shared_ptr<NSBitmapImageRep>> representations_;
};

}  // namespace TWQuickTime
