#include "CGImage.h"

#include "Private/GraphicsRecords.h"
#include "Private/ImageOfData.h"

namespace TWQuickTime {
namespace {

CGImageRef imageOf(const NSData& data, image::StillImageOrFailure opened) {
    if (!opened)
        return nullptr;
    auto* image = new CGImageRecord;
    image->data = data;
    image->picture = *std::move(opened);
    return image;
}

}  // namespace

CGDataProviderRef CGDataProviderCreateWithURL(const NSURL& url) {
    return url.isFileURL()
               ? CGDataProviderCreateWithData(NSData::dataWithContentsOfFile(url.path()))
               : nullptr;
}

CGDataProviderRef CGDataProviderCreateWithData(const NSData& data) {
    if (data.isNil())
        return nullptr;
    auto* provider = new CGDataProviderRecord;
    provider->data = data;
    return provider;
}

void CGDataProviderRelease(CGDataProviderRef provider) {
    releaseCounted(provider);
}

CGImageRef CGImageCreateWithPNGDataProvider(CGDataProviderRef source, const double* decode, bool,
                                            CGColorRenderingIntent) {
    return source && !decode ? imageOf(source->data, image::openPNG(source->data.bytes()))
                             : nullptr;
}

CGImageRef CGImageCreateWithJPEGDataProvider(CGDataProviderRef source, const double* decode, bool,
                                             CGColorRenderingIntent) {
    return source && !decode ? imageOf(source->data, image::openJPEG(source->data.bytes()))
                             : nullptr;
}

CGImageRef createImageOfData(const NSData& data, const std::string& fileName) {
    return imageOf(data, image::openAny(data.bytes(), fileName));
}

CGImageRef CGImageRetain(CGImageRef image) {
    return retainCounted(image);
}

void CGImageRelease(CGImageRef image) {
    releaseCounted(image);
}

std::size_t CGImageGetWidth(CGImageRef image) {
    return image ? static_cast<std::size_t>(image->picture->size().width) : 0;
}

std::size_t CGImageGetHeight(CGImageRef image) {
    return image ? static_cast<std::size_t>(image->picture->size().height) : 0;
}

}  // namespace TWQuickTime
