// Still image files: whether they can be loaded, how large they are, and loading them into a
// caller's 32-bit pixels.
//
// PNG and JPEG are decoded directly, all other formats through a graphics importer. The destination
// has rows of exactly width × 4 bytes, X R G B; the picture is stretched over all of it.
//
//     std::vector<unsigned char> pixels(1920 * 1080 * 4);
//     OSErr status = UQuickTimeImage::LoadImageFile(path, pixels.data(), 1920, 1080, 0, 0, 0, 0,
//     nullptr);
//
// CanOpenImageFile and LoadImageFile hold the QuickTime lock; callers of the others take it where
// files are used on several threads.
#pragma once

#include <cstdint>

#include "CGColorSpace.h"
#include "NSString.h"
#include "TWQTExport.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class TWQT_EXPORT UQuickTimeImage {
  public:
    /// False for nil, for files that no importer is made for, and always for the extensions mov,
    /// avi, 3gp, bmp and pdf in any case. Judges by the name, not by the contents.
    static bool CanOpenImageFile(const NSString& path);

    /// Chooses the loader by the extension: jpeg, JPEG, jpg, JPG and png, PNG exactly; every other
    /// spelling goes to the importer.
    /// @param buffer  width × height × 4 bytes; partly written after a failure
    /// @param profile  of the destination; null for device RGB. The four numbers before it have no
    ///                 influence.
    /// @return fnfErr for a missing or unreadable file, paramErr for a bad argument or no importer,
    ///         memFullErr when no context or image could be made; logged
    static OSErr LoadImageFile(const NSString& path, unsigned char* buffer, std::int32_t width,
                               std::int32_t height, float f1, float f2, float f3, float f4,
                               CMProfileRef profile);
    static OSErr LoadImageFileJPEG(const NSString& path, unsigned char* buffer, std::int32_t width,
                                   std::int32_t height, float f1, float f2, float f3, float f4,
                                   CMProfileRef profile);
    static OSErr LoadImageFilePNG(const NSString& path, unsigned char* buffer, std::int32_t width,
                                  std::int32_t height, float f1, float f2, float f3, float f4,
                                  CMProfileRef profile);
    static OSErr LoadImageFileQT(const NSString& path, unsigned char* buffer, std::int32_t width,
                                 std::int32_t height, float f1, float f2, float f3, float f4,
                                 CMProfileRef profile);

    /// @param width, height  set to the natural size in pixels, 0 on failure; may be null
    /// @return noErr for a nil path, else the importer's status
    static OSErr GetImageSize(const NSString& path, std::int32_t* width, std::int32_t* height);
};

}  // namespace TWQuickTime
