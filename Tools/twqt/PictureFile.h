// Frames and sheets as PNG files.
#pragma once

#include <CGContext.h>
#include <NSImage.h>

#include <memory>
#include <string>

namespace twqt {

/// The image's pixels, released at the end of the scope; null for an image without any.
class FramePixels {
  public:
    explicit FramePixels(const TWQuickTime::NSImage& image);
    ~FramePixels();
    FramePixels(const FramePixels&) = delete;
    FramePixels& operator=(const FramePixels&) = delete;

    TWQuickTime::CGImageRef image() const { return image_; }
    int width() const;
    int height() const;

  private:
    TWQuickTime::CGImageRef image_ = nullptr;
};

/// Throws a CommandFailure when the file cannot be written.
void writePicture(TWQuickTime::CGImageRef image, const std::string& path);

}  // namespace twqt
