// An offscreen graphics world over a pixel buffer, with a raw image description that fits it, for
// the length of a scope.
//
//     StGWorld world(nullptr, 720, 480, k32ARGBPixelFormat);
//     if (world.GetGWorld())
//         CopyBits(…, GetGWorldPixMap(world), …);
#pragma once

#include "GWorlds.h"
#include "ImageDescription.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT StGWorld {
  public:
    /// A failure is logged and leaves an empty object (null world, null description).
    /// @param buffer       the caller's, which must outlive the object; null allocates one, not
    /// cleared
    /// @param width        pixels, at least 1
    /// @param height       pixels, at least 1
    /// @param pixelFormat  24 for rows of width × 3 bytes; any other for width × 4
    StGWorld(unsigned char* buffer, int width, int height, OSType pixelFormat);
    ~StGWorld();
    StGWorld(const StGWorld&) = delete;
    StGWorld& operator=(const StGWorld&) = delete;

    unsigned char* GetBuffer() const { return mBuffer; }
    int GetWidth() const { return mWidth; }
    int GetHeight() const { return mHeight; }
    /// Bytes; rows are not padded.
    int GetRowBytes() const { return mRowBytes; }
    GWorldPtr GetGWorld() const { return mGWorld; }
    operator GWorldPtr() const { return mGWorld; }
    /// 86 bytes, big-endian. The codec's name in it is not written: its bytes are undefined.
    ImageDescriptionHandle GetImageDescription() const { return mImageDescription; }
    operator ImageDescriptionHandle() const { return mImageDescription; }

    /// Releases everything that is held; harmless when done before.
    void Dispose();

  private:
    OSErr makeImageDescription(OSType pixelFormat);

    unsigned char* mBuffer = nullptr;
    bool mOwnsBuffer = false;
    int mWidth = 0;
    int mHeight = 0;
    int mRowBytes = 0;
    GWorldPtr mGWorld = nullptr;
    ImageDescriptionHandle mImageDescription = nullptr;
};

}  // namespace TWQuickTime
