#include "UQuickTimeImage.h"

#include <algorithm>
#include <initializer_list>

#include "CGContext.h"
#include "CGImage.h"
#include "GraphicsImport.h"
#include "NSURL.h"
#include "StBitmapContext.h"
#include "StDataRef.h"
#include "StGraphicImportComponent.h"
#include "StQuickTimeLock.h"
#include "TWLog.h"
#include "TWPathUtils.h"

namespace TWQuickTime {
namespace {

bool isOneOf(const NSString& extension, std::initializer_list<const char*> extensions) {
    return std::any_of(extensions.begin(), extensions.end(),
                       [&](const char* e) { return extension == e; });
}

using ImageFromProvider = CGImageRef (*)(CGDataProviderRef, const double*, bool,
                                         CGColorRenderingIntent);

/// The loaders of PNG and JPEG differ in their decoder and in the name in their messages.
OSErr loadDirectly(const char* name, ImageFromProvider decoder, const NSString& path,
                   unsigned char* buffer, std::int32_t width, std::int32_t height,
                   CMProfileRef profile) {
    const StBitmapContext context(buffer, width, height,
                                  static_cast<int>(static_cast<unsigned>(width) * 4), profile);
    if (!context.GetContext()) {
        TWLog("%s: Failed to create bitmap context...", name);
        return memFullErr;
    }
    const NSURL url = NSURL::fileURLWithPath(path);
    if (!url) {
        TWLog("%s: Failed to create url...", name);
        return fnfErr;
    }
    CGDataProviderRef provider = CGDataProviderCreateWithURL(url);
    if (!provider) {
        TWLog("%s: Failed to create data provider...", name);
        return fnfErr;
    }
    OSErr status = noErr;
    CGImageRef image = decoder(provider, nullptr, true, kCGRenderingIntentPerceptual);
    if (image) {
        CGContextSetShouldAntialias(context, true);
        CGContextSetAllowsAntialiasing(context, true);
        CGContextDrawImage(context,
                           CGRectMake(0, 0, static_cast<float>(width), static_cast<float>(height)),
                           image);
    } else {
        TWLog("%s: Failed to create image...", name);
        status = memFullErr;
    }
    CGImageRelease(image);
    CGDataProviderRelease(provider);
    return status;
}

}  // namespace

bool UQuickTimeImage::CanOpenImageFile(const NSString& path) {
    const StQuickTimeLock lock;
    if (path.isNil())
        return false;
    // Some of these could be opened; they are refused all the same, on purpose.
    if (isOneOf(path.pathExtension().lowercaseString(), {"mov", "avi", "3gp", "bmp", "pdf"}))
        return false;
    const StDataRef file(path);
    Boolean canOpenWithGraphicsImporter = false;
    const OSErr status =
        CanQuickTimeOpenDataRef(file.GetDataRef(), file.GetType(), &canOpenWithGraphicsImporter,
                                nullptr, nullptr, kQTDontUseDataToFindImporter);
    return status == noErr && canOpenWithGraphicsImporter;
}

OSErr UQuickTimeImage::LoadImageFile(const NSString& path, unsigned char* buffer,
                                     std::int32_t width, std::int32_t height, float f1, float f2,
                                     float f3, float f4, CMProfileRef profile) {
    const StQuickTimeLock lock;
    if (!TWPathUtils::fileExists(path)) {
        TWLog("%s: File %@ not found...", "LoadImageFile", path);
        return fnfErr;
    }
    if (!buffer) {
        TWLog("%s: inBuffer is NULL...", "LoadImageFile");
        return paramErr;
    }
    if (width < 1) {
        TWLog("%s: inBufferWidth is 0...", "LoadImageFile");
        return paramErr;
    }
    if (height < 1) {
        TWLog("%s: inBufferHeight is 0...", "LoadImageFile");
        return paramErr;
    }
    const NSString extension = path.pathExtension();
    if (isOneOf(extension, {"jpeg", "JPEG", "jpg", "JPG"}))
        return LoadImageFileJPEG(path, buffer, width, height, f1, f2, f3, f4, profile);
    if (isOneOf(extension, {"png", "PNG"}))
        return LoadImageFilePNG(path, buffer, width, height, f1, f2, f3, f4, profile);
    return LoadImageFileQT(path, buffer, width, height, f1, f2, f3, f4, profile);
}

OSErr UQuickTimeImage::LoadImageFileJPEG(const NSString& path, unsigned char* buffer,
                                         std::int32_t width, std::int32_t height, float, float,
                                         float, float, CMProfileRef profile) {
    return loadDirectly("LoadImageFileJPEG", CGImageCreateWithJPEGDataProvider, path, buffer, width,
                        height, profile);
}

OSErr UQuickTimeImage::LoadImageFilePNG(const NSString& path, unsigned char* buffer,
                                        std::int32_t width, std::int32_t height, float, float,
                                        float, float, CMProfileRef profile) {
    return loadDirectly("LoadImageFilePNG", CGImageCreateWithPNGDataProvider, path, buffer, width,
                        height, profile);
}

OSErr UQuickTimeImage::LoadImageFileQT(const NSString& path, unsigned char* buffer,
                                       std::int32_t width, std::int32_t height, float, float, float,
                                       float, CMProfileRef profile) {
    const StGraphicImportComponent importer(path);
    const StBitmapContext context(buffer, width, height,
                                  static_cast<int>(static_cast<unsigned>(width) * 4), profile);
    CGImageRef image = nullptr;
    OSStatus status = importer.GetComponent() ? noErr : paramErr;
    TWLogError(status, "Failed to create importer", "Sources/UQuickTimeImage", 416);
    if (status == noErr) {
        status = GraphicsImportSetQuality(importer, codecLosslessQuality);
        TWLogError(status, "GraphicsImportSetQuality", "Sources/UQuickTimeImage", 422);
    }
    if (status == noErr) {
        status = GraphicsImportCreateCGImage(importer, &image,
                                             kGraphicsImportCreateCGImageUsingCurrentSettings);
        TWLogError(status, "GraphicsImportCreateCGImage", "Sources/UQuickTimeImage", 428);
    }
    if (status == noErr) {
        status = context.GetContext() ? noErr : paramErr;
        TWLogError(status, "Failed to create bitmap", "Sources/UQuickTimeImage", 436);
    }
    if (status == noErr)
        CGContextDrawImage(context,
                           CGRectMake(0, 0, static_cast<float>(width), static_cast<float>(height)),
                           image);
    CGImageRelease(image);
    return static_cast<OSErr>(status);
}

OSErr UQuickTimeImage::GetImageSize(const NSString& path, std::int32_t* width,
                                    std::int32_t* height) {
    if (width)
        *width = 0;
    if (height)
        *height = 0;
    if (path.isNil())
        return noErr;
    const StGraphicImportComponent importer(path);
    Rect bounds;
    const ComponentResult status = GraphicsImportGetNaturalBounds(importer, &bounds);
    TWLogError(status, "GraphicsImportGetNaturalBounds", "Sources/UQuickTimeImage", 104);
    if (status == noErr) {
        if (width)
            *width = bounds.right - bounds.left;
        if (height)
            *height = bounds.bottom - bounds.top;
    }
    return static_cast<OSErr>(status);
}

}  // namespace TWQuickTime
