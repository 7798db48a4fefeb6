#include "PictureFile.h"

#include <CGImageDestination.h>
#include <ToolboxTypes.h>

#include "CommandFailure.h"

namespace twqt {

using namespace TWQuickTime;

FramePixels::FramePixels(const NSImage& image) {
    if (!image.representations().empty())
        image_ = image.representations().front()->createCGImage();
}

FramePixels::~FramePixels() {
    CGImageRelease(image_);
}

int FramePixels::width() const {
    return static_cast<int>(CGImageGetWidth(image_));
}

int FramePixels::height() const {
    return static_cast<int>(CGImageGetHeight(image_));
}

void writePicture(CGImageRef image, const std::string& path) {
    CGImageDestinationRef destination =
        CGImageDestinationCreateWithURL(NSURL::fileURLWithPath(NSString(path)), kUTTypePNG, 1);
    CGImageDestinationAddImage(destination, image);
    const bool written = CGImageDestinationFinalize(destination);
    CGImageDestinationRelease(destination);
    if (!written)
        throw failureWithStatus("write picture " + path, ioErr);
}

}  // namespace twqt
