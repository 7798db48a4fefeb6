#include "CGContext.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "CGImageDestination.h"
#include "NSBitmapImageRep.h"
#include "NSColor.h"
#include "NSImage.h"
#include "RunProgram.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;

class CGContextTest : public testing::Test {
  protected:
    CGContextTest() : space_(CGColorSpaceCreateDeviceRGB()) {}
    ~CGContextTest() override { CGColorSpaceRelease(space_); }

    CGContextRef context(int width, int height, std::uint32_t alpha = kCGImageAlphaNoneSkipFirst) {
        pixels_.assign(static_cast<std::size_t>(width * height) * 4, 0);
        width_ = width;
        return CGBitmapContextCreate(pixels_.data(), static_cast<std::size_t>(width),
                                     static_cast<std::size_t>(height), 8,
                                     static_cast<std::size_t>(width) * 4, space_, alpha);
    }
    std::array<int, 4> at(int x, int y) const {
        const unsigned char* p = &pixels_[static_cast<std::size_t>((y * width_ + x) * 4)];
        return {p[0], p[1], p[2], p[3]};
    }

    CGColorSpaceRef space_;
    std::vector<unsigned char> pixels_;
    int width_ = 0;
};

TEST_F(CGContextTest, IsMadeOnlyForBuffersThatHoldItsRows) {
    unsigned char buffer[64];
    EXPECT_EQ(CGBitmapContextCreate(buffer, 4, 4, 8, 15, space_, kCGImageAlphaNoneSkipFirst),
              nullptr);
    EXPECT_EQ(CGBitmapContextCreate(nullptr, 4, 4, 8, 16, space_, kCGImageAlphaNoneSkipFirst),
              nullptr);
    EXPECT_EQ(CGBitmapContextCreate(buffer, 0, 4, 8, 16, space_, kCGImageAlphaNoneSkipFirst),
              nullptr);
    EXPECT_EQ(CGBitmapContextCreate(buffer, 4, 4, 16, 16, space_, kCGImageAlphaNoneSkipFirst),
              nullptr);
    EXPECT_EQ(CGBitmapContextCreate(buffer, 4, 4, 8, 16, nullptr, kCGImageAlphaNoneSkipFirst),
              nullptr);
    EXPECT_EQ(CGBitmapContextCreate(buffer, 4, 4, 8, 16, space_, 3), nullptr);
}

TEST_F(CGContextTest, TheOriginIsTheLowerLeftCorner) {
    CGContextRef target = context(4, 3);
    CGContextSetRGBFillColor(target, 1, 1, 1, 1);
    CGContextFillRect(target, CGRectMake(0, 0, 1, 1));
    EXPECT_EQ(at(0, 2)[1], 255);
    EXPECT_EQ(at(0, 0)[1], 0);
    CGContextRelease(target);
}

TEST_F(CGContextTest, EdgesInsideAPixelCoverTheirShareUnlessAntialiasingIsOff) {
    CGContextRef target = context(4, 1);
    CGContextSetRGBFillColor(target, 1, 1, 1, 1);
    CGContextFillRect(target, CGRectMake(0.5, 0, 2, 1));
    EXPECT_EQ(at(0, 0)[1], 128);
    EXPECT_EQ(at(1, 0)[1], 255);
    EXPECT_EQ(at(2, 0)[1], 128);
    EXPECT_EQ(at(3, 0)[1], 0);
    CGContextSetAllowsAntialiasing(target, false);
    CGContextFillRect(target, CGRectMake(2.6, 0, 5, 1));
    EXPECT_EQ(at(3, 0)[1], 255);
    EXPECT_EQ(at(2, 0)[1], 128);
    CGContextRelease(target);
}

TEST_F(CGContextTest, AlphaIsKeptPremultiplied) {
    CGContextRef target = context(1, 1, kCGImageAlphaPremultipliedFirst);
    CGContextSetRGBFillColor(target, 1, 0, 0, 0.5);
    CGContextFillRect(target, CGRectMake(0, 0, 1, 1));
    EXPECT_THAT(at(0, 0), ElementsAre(128, 128, 0, 0));
    CGContextFillRect(target, CGRectMake(0, 0, 1, 1));
    EXPECT_THAT(at(0, 0), ElementsAre(192, 192, 0, 0));
    CGContextRelease(target);
}

TEST_F(CGContextTest, AnImageOfAContextIsACopyThatKeepsItsPixels) {
    CGContextRef source = context(2, 2);
    CGContextSetRGBFillColor(source, 0, 1, 0, 1);
    CGContextFillRect(source, CGRectMake(0, 0, 2, 2));
    CGImageRef image = CGBitmapContextCreateImage(source);
    CGContextRelease(source);
    CGContextRef target = context(6, 6);
    EXPECT_TRUE(CGContextDrawImage(target, CGRectMake(1, 1, 3, 2), image));
    EXPECT_EQ(at(1, 3)[2], 255);
    EXPECT_EQ(at(3, 4)[2], 255);
    EXPECT_EQ(at(1, 5)[2], 0);
    EXPECT_EQ(at(4, 4)[2], 0);
    EXPECT_EQ(at(1, 2)[2], 0);
    CGImageRelease(image);
    CGContextRelease(target);
}

TEST_F(CGContextTest, NullReferencesAreHarmless) {
    CGContextSetRGBFillColor(nullptr, 1, 1, 1, 1);
    CGContextFillRect(nullptr, CGRectMake(0, 0, 1, 1));
    EXPECT_FALSE(CGContextDrawImage(nullptr, CGRectMake(0, 0, 1, 1), nullptr));
    EXPECT_EQ(CGBitmapContextCreateImage(nullptr), nullptr);
    CGContextRelease(nullptr);
    CGImageRelease(nullptr);
    EXPECT_EQ(CGImageGetWidth(nullptr), 0u);
}

TEST(CGImageDestination, WritesOnePictureAndOnlyPNG) {
    test::TemporaryDirectory folder;
    const NSURL url = NSURL::fileURLWithPath(folder.file("a.png"));
    EXPECT_EQ(CGImageDestinationCreateWithURL(url, "public.jpeg", 1), nullptr);
    CGImageDestinationRef destination = CGImageDestinationCreateWithURL(url, kUTTypePNG, 1);
    EXPECT_FALSE(CGImageDestinationFinalize(destination));
    auto bitmap = NSBitmapImageRep::bitmapImageRepWithSize(3, 2);
    bitmap->bitmapData()[0] = 200;
    bitmap->bitmapData()[3] = 255;
    CGImageRef image = bitmap->createCGImage();
    CGImageDestinationAddImage(destination, image);
    EXPECT_TRUE(CGImageDestinationFinalize(destination));
    CGImageRelease(image);
    CGImageDestinationRelease(destination);

    const auto loaded = NSImage::initWithData(NSData::dataWithContentsOfFile(folder.file("a.png")));
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->size(), NSMakeSize(3, 2));
    const NSBitmapImageRep& rep = *loaded->representations().front();
    EXPECT_THAT(std::vector<int>(rep.bitmapData(), rep.bitmapData() + 8),
                ElementsAre(200, 0, 0, 255, 0, 0, 0, 0));
    const auto probed = test::runProgram({"ffprobe", "-v", "error", "-show_entries",
                                          "stream=codec_name,width,height,pix_fmt", "-of",
                                          "csv=p=0", folder.file("a.png")});
    EXPECT_EQ(probed.output, "png,3,2,rgba\n");
    EXPECT_EQ(probed.errors, "");
}

TEST(NSImage, IsNoneForBytesThatAreNoPicture) {
    EXPECT_EQ(NSImage::initWithData(NSData::dataWithBytes("what", 4)), nullptr);
    EXPECT_EQ(NSImage::initWithData(nullptr), nullptr);
}

TEST(NSImage, ReadsPictureHandlesWithAndWithoutTheFilesHeader) {
    // Version 2: size, frame 0 0 2 64, version and header opcodes.
    std::vector<unsigned char> picture = {0, 0,  0,    0,    0,    0,    0,    2,
                                          0, 64, 0x00, 0x11, 0x02, 0xFF, 0x0C, 0x00};
    picture.resize(picture.size() + 24);
    const unsigned char pixelMap[] = {
        0x00, 0x9A, 0, 0, 0, 0xFF,                           // DirectBitsRect, base address
        0x81, 0x00, 0, 0, 0, 0, 0, 2, 0, 64,                 // bytes of a row, bounds
        0, 0, 0, 4, 0, 0, 0, 0,                              // version, pack type, pack size
        0, 72, 0, 0, 0, 72, 0, 0, 0, 16, 0, 32, 0, 3, 0, 8,  // resolutions,
                                                             // direct, 32
                                                             // bits, 3 x 8
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,                  // plane bytes, table,
                                                             // reserved
        0, 0, 0, 0, 0, 2, 0, 64, 0, 0, 0, 0, 0, 2, 0, 64, 0,
        0,                                    // source, destination, mode
        0, 6, 0xC1, 255, 0xC1, 10, 0xC1, 20,  // each component of a row: a run of 64
        0, 6, 0xC1, 255, 0xC1, 10, 0xC1, 20, 0x00, 0xFF};
    picture.insert(picture.end(), std::begin(pixelMap), std::end(pixelMap));
    const auto image = NSImage::initWithData(NSData::dataWithBytes(picture.data(), picture.size()));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size(), NSMakeSize(64, 2));
    const NSBitmapImageRep& rep = *image->representations().front();
    EXPECT_THAT(std::vector<int>(rep.bitmapData(), rep.bitmapData() + 4),
                ElementsAre(255, 10, 20, 255));
    picture.insert(picture.begin(), 512, 0);
    EXPECT_NE(NSImage::initWithData(NSData::dataWithBytes(picture.data(), picture.size())),
              nullptr);
}

TEST(NSColor, ConvertsBetweenItsSpaces) {
    const NSColor cyan = NSColor::colorWithDeviceCyan(1, 0, 0, 0.5, 0.25);
    const NSColor rgb = cyan.colorUsingColorSpaceName(NSCalibratedRGBColorSpace);
    EXPECT_DOUBLE_EQ(rgb.redComponent(), 0);
    EXPECT_DOUBLE_EQ(rgb.greenComponent(), 0.5);
    EXPECT_DOUBLE_EQ(rgb.alphaComponent(), 0.25);
    EXPECT_EQ(rgb.colorUsingColorSpaceName(NSDeviceCMYKColorSpace), cyan);
    EXPECT_DOUBLE_EQ(NSColor::colorWithCalibratedWhite(0.3, 1)
                         .colorUsingColorSpaceName(NSDeviceRGBColorSpace)
                         .blueComponent(),
                     0.3);
    EXPECT_TRUE(cyan.colorUsingColorSpaceName("NSPatternColorSpace").isNil());
    EXPECT_TRUE(NSColor().colorUsingColorSpaceName(NSCalibratedRGBColorSpace).isNil());
}

}  // namespace
}  // namespace TWQuickTime
