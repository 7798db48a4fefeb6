#include "CGImageDestination.h"

#include "Engines/image/PngWriter.h"
#include "Private/GraphicsRecords.h"

namespace TWQuickTime {

CGImageDestinationRecord::~CGImageDestinationRecord() {
    CGImageRelease(image);
}

CGImageDestinationRef CGImageDestinationCreateWithURL(const NSURL& url, const NSString& type,
                                                      std::size_t count) {
    if (!url.isFileURL() || type != kUTTypePNG || count != 1)
        return nullptr;
    auto* destination = new CGImageDestinationRecord;
    destination->path = url.path();
    return destination;
}

void CGImageDestinationAddImage(CGImageDestinationRef destination, CGImageRef image) {
    if (destination && !destination->image)
        destination->image = CGImageRetain(image);
}

bool CGImageDestinationFinalize(CGImageDestinationRef destination) {
    if (!destination || !destination->image)
        return false;
    const CGImageRecord& image = *destination->image;
    return image::writePNG(*image.picture, image.icc.bytes(), destination->path.utf8()).ok();
}

void CGImageDestinationRelease(CGImageDestinationRef destination) {
    releaseCounted(destination);
}

}  // namespace TWQuickTime
