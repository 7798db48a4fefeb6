#include "NSImage.h"

#include "Private/ImageOfData.h"

namespace TWQuickTime {

std::shared_ptr<NSImage> NSImage::initWithSize(NSSize size) {
    return std::shared_ptr<NSImage>(new NSImage(size));
}

std::shared_ptr<NSImage> NSImage::initWithData(const NSData& data) {
    CGImageRef picture = createImageOfData(data, "");
    auto rep = NSBitmapImageRep::initWithCGImage(picture);
    CGImageRelease(picture);
    if (!rep)
        return nullptr;
    auto image = initWithSize(NSMakeSize(rep->pixelsWide(), rep->pixelsHigh()));
    image->addRepresentation(std::move(rep));
    return image;
}

void NSImage::addRepresentation(std::shared_ptr<NSBitmapImageRep> representation) {
    if (representation)
        representations_.push_back(std::move(representation));
}

}  // namespace TWQuickTime
