// A bitmap context over a pixel buffer for the length of a scope: X R G B pixels, in the colours of
// a profile.
//
//     StBitmapContext context(nullptr, 640, 480, 0, nullptr);
//     context.EraseToColor(NSColor::colorWithCalibratedRed(1, 0, 0, 1));
//     context.SavePNG("/tmp/red.png");
#pragma once

#include "CGContext.h"
#include "NSColor.h"
#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT StBitmapContext {
  public:
    /// A failure is logged and leaves a null context.
    /// @param buffer    the caller's, which must outlive the object; null allocates one, not
    /// cleared
    /// @param rowBytes  below 1 without a buffer: width × 4 rounded up to a multiple of 16; with a
    ///                  buffer it is taken as it is
    /// @param profile   null for device RGB
    StBitmapContext(unsigned char* buffer, int width, int height, int rowBytes,
                    CMProfileRef profile);
    ~StBitmapContext();
    StBitmapContext(const StBitmapContext&) = delete;
    StBitmapContext& operator=(const StBitmapContext&) = delete;

    unsigned char* GetBuffer() const { return mBuffer; }
    int GetWidth() const { return mWidth; }
    int GetHeight() const { return mHeight; }
    int GetRowBytes() const { return mRowBytes; }
    CGColorSpace* GetColorSpace() const { return mColorSpace; }
    operator CGColorSpace*() const { return mColorSpace; }
    CGContext* GetContext() const { return mContext; }
    operator CGContext*() const { return mContext; }

    /// Fills the whole context; a colour that is not opaque is blended over what is there.
    void EraseToColor(const NSColor& color);
    /// Writes the context's picture; a nil path and every failure pass in silence.
    void SavePNG(const NSString& path);

  private:
    unsigned char* mBuffer = nullptr;
    bool mOwnsBuffer = false;
    int mWidth = 0;
    int mHeight = 0;
    int mRowBytes = 0;
    CGColorSpace* mColorSpace = nullptr;
    CGContext* mContext = nullptr;
};

}  // namespace TWQuickTime
