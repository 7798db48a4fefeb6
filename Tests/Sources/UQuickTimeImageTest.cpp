#include "UQuickTimeImage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "LogCapture.h"
#include "RunProgram.h"
#include "StQuickTimeLock.h"
#include "TemporaryDirectory.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class UQuickTimeImageTest : public testing::Test {
  protected:
    void TearDown() override { ToolboxTrace::reset(); }

    std::string picture(const std::string& name, const std::string& size = "40x30",
                        const std::string& color = "red") {
        const std::string path = folder_.file(name);
        const std::string plain = folder_.file("plain.png");
        test::runFfmpeg({"-f", "lavfi", "-i", "color=c=" + color + ":s=" + size + ":d=0.04",
                         "-frames:v", "1", "-pix_fmt", "rgb24", plain});
        const std::string extension = std::filesystem::path(name).extension();
        if (extension == ".png" || extension == ".PNG") {
            std::filesystem::copy_file(plain, path);
        } else {
            const std::string format = extension == ".tif" ? "x.tif" : "x.jpg";
            test::runFfmpeg({"-i", plain, "-q:v", "2", folder_.file(format)});
            std::filesystem::rename(folder_.file(format), path);
        }
        return path;
    }

    OSErr load(const NSString& path, int width = 8, int height = 6) {
        buffer_.assign(static_cast<std::size_t>(width * height) * 4, 0);
        return UQuickTimeImage::LoadImageFile(path, buffer_.data(), width, height, 1, 2, 3, 4,
                                              nullptr);
    }

    /// Whether every pixel of the buffer is red within the losses of JPEG.
    bool isAllRed() const {
        for (std::size_t i = 0; i < buffer_.size(); i += 4)
            if (buffer_[i + 1] < 245 || buffer_[i + 2] > 10 || buffer_[i + 3] > 10)
                return false;
        return true;
    }

    test::TemporaryDirectory folder_;
    test::LogCapture log_;
    std::vector<unsigned char> buffer_;
};

TEST_F(UQuickTimeImageTest, MoviesBMPAndPDFAreRefusedByNameWithoutAskingThePlatform) {
    ToolboxTrace::startRecording();
    for (const char* name : {"photo.PDF", "clip.Mov", "a.bmp", "b.AVI", "c.3gp"})
        EXPECT_FALSE(UQuickTimeImage::CanOpenImageFile(name)) << name;
    EXPECT_THAT(ToolboxTrace::recordedCalls(), IsEmpty());
    EXPECT_FALSE(UQuickTimeImage::CanOpenImageFile(nullptr));
}

TEST_F(UQuickTimeImageTest, ExistingPicturesCanBeOpenedOthersNot) {
    EXPECT_TRUE(UQuickTimeImage::CanOpenImageFile(picture("a.png")));
    EXPECT_TRUE(UQuickTimeImage::CanOpenImageFile(picture("a.Jpg")));
    EXPECT_TRUE(UQuickTimeImage::CanOpenImageFile(picture("a.tif")));
    EXPECT_FALSE(UQuickTimeImage::CanOpenImageFile(folder_.file("missing.png")));
    std::ofstream(folder_.file("a.txt")) << "text";
    EXPECT_FALSE(UQuickTimeImage::CanOpenImageFile(folder_.file("a.txt")));
}

TEST_F(UQuickTimeImageTest, OnlyTheStatedSpellingsOfExtensionsGoToTheDirectDecoders) {
    for (const char* name : {"a.jpg", "b.JPG", "c.jpeg", "d.JPEG", "e.png", "f.PNG"}) {
        const std::string path = picture(name);
        ToolboxTrace::startRecording();
        EXPECT_EQ(load(path), noErr) << name;
        EXPECT_TRUE(isAllRed()) << name;
        EXPECT_THAT(ToolboxTrace::recordedCalls(), Not(Contains("GetGraphicsImporterForDataRef")))
            << name;
        ToolboxTrace::reset();
    }
    for (const char* name : {"a.Jpg", "b.jpE", "c.tif"}) {
        const std::string path = picture(name);
        ToolboxTrace::startRecording();
        EXPECT_EQ(load(path), noErr) << name;
        EXPECT_TRUE(isAllRed()) << name;
        EXPECT_THAT(ToolboxTrace::recordedCalls(), Contains("GetGraphicsImporterForDataRef"))
            << name;
        ToolboxTrace::reset();
    }
}

TEST_F(UQuickTimeImageTest, APictureIsStretchedOverTheWholeBuffer) {
    EXPECT_EQ(load(picture("a.png", "400x400"), 100, 50), noErr);
    EXPECT_TRUE(isAllRed());
    EXPECT_EQ(load(picture("small.jpg", "16x16"), 100, 50), noErr);
    EXPECT_TRUE(isAllRed());
}

TEST_F(UQuickTimeImageTest, AMissingFileIsFoundOutBeforeTheBufferIsLookedAt) {
    EXPECT_EQ(UQuickTimeImage::LoadImageFile(folder_.file("none.png"), nullptr, 0, 0, 0, 0, 0, 0,
                                             nullptr),
              fnfErr);
    EXPECT_THAT(log_.lines(),
                ElementsAre("LoadImageFile: File " + folder_.file("none.png") + " not found..."));
}

TEST_F(UQuickTimeImageTest, ArgumentsAreCheckedInOrderWithAMessageEach) {
    const std::string path = picture("a.png");
    unsigned char pixel[4] = {};
    EXPECT_EQ(UQuickTimeImage::LoadImageFile(path, nullptr, 0, 0, 0, 0, 0, 0, nullptr), paramErr);
    EXPECT_EQ(UQuickTimeImage::LoadImageFile(path, pixel, -1, 0, 0, 0, 0, 0, nullptr), paramErr);
    EXPECT_EQ(UQuickTimeImage::LoadImageFile(path, pixel, 1, -7, 0, 0, 0, 0, nullptr), paramErr);
    EXPECT_THAT(log_.lines(), ElementsAre("LoadImageFile: inBuffer is NULL...",
                                          "LoadImageFile: inBufferWidth is 0...",
                                          "LoadImageFile: inBufferHeight is 0..."));
}

TEST_F(UQuickTimeImageTest, ADamagedFileGivesAStatusAndAMessage) {
    const std::string path = picture("a.png");
    std::filesystem::resize_file(path, std::filesystem::file_size(path) - 20);
    EXPECT_EQ(load(path), memFullErr);
    EXPECT_THAT(log_.lines(), ElementsAre("LoadImageFilePNG: Failed to create image..."));
}

TEST_F(UQuickTimeImageTest, TheDirectLoadersTellWhatFailed) {
    unsigned char pixel[4] = {};
    EXPECT_EQ(UQuickTimeImage::LoadImageFilePNG(picture("a.png"), pixel, 0, 1, 0, 0, 0, 0, nullptr),
              memFullErr);
    EXPECT_EQ(UQuickTimeImage::LoadImageFileJPEG(nullptr, pixel, 1, 1, 0, 0, 0, 0, nullptr),
              fnfErr);
    EXPECT_EQ(UQuickTimeImage::LoadImageFileJPEG(folder_.file("none.jpg"), pixel, 1, 1, 0, 0, 0, 0,
                                                 nullptr),
              fnfErr);
    EXPECT_THAT(log_.lines(), ElementsAre("StBitmapContext: inWidth is 0...",
                                          "LoadImageFilePNG: Failed to create bitmap context...",
                                          "LoadImageFileJPEG: Failed to create url...",
                                          "LoadImageFileJPEG: Failed to create data provider..."));
}

TEST_F(UQuickTimeImageTest, TheImporterReportsItsFailuresByLabel) {
    std::ofstream(folder_.file("a.gif")) << "no picture at all";
    EXPECT_EQ(load(folder_.file("a.gif")), paramErr);
    EXPECT_THAT(
        log_.lines(),
        ElementsAre(
            "GetGraphicsImporterForDataRef failed: -8969 (Sources/StGraphicImportComponent:58)",
            "File: " + folder_.file("a.gif"),
            "Failed to create importer failed: -50 (Sources/UQuickTimeImage:416)"));
}

TEST_F(UQuickTimeImageTest, EveryStepOfTheImporterPathIsReported) {
    const std::string path = picture("a.tif");
    ToolboxTrace::failCall("GraphicsImportSetQuality", 1, -1);
    EXPECT_EQ(load(path), -1);
    ToolboxTrace::failCall("GraphicsImportCreateCGImage", 1, -2);
    EXPECT_EQ(load(path), -2);
    EXPECT_EQ(UQuickTimeImage::LoadImageFileQT(path, nullptr, 0, 3, 0, 0, 0, 0, nullptr), paramErr);
    EXPECT_THAT(log_.lines(),
                ElementsAre("GraphicsImportSetQuality failed: -1 (Sources/UQuickTimeImage:422)",
                            "GraphicsImportCreateCGImage failed: -2 (Sources/UQuickTimeImage:428)",
                            "StBitmapContext: inWidth is 0...",
                            "Failed to create bitmap failed: -50 (Sources/UQuickTimeImage:436)"));
}

TEST_F(UQuickTimeImageTest, TheSizeIsThePicturesOwn) {
    std::int32_t width = -1;
    std::int32_t height = -1;
    EXPECT_EQ(UQuickTimeImage::GetImageSize(picture("a.png", "124x46"), &width, &height), noErr);
    EXPECT_EQ(width, 124);
    EXPECT_EQ(height, 46);
    EXPECT_EQ(UQuickTimeImage::GetImageSize(nullptr, &width, &height), noErr);
    EXPECT_EQ(width, 0);
    EXPECT_EQ(height, 0);
}

TEST_F(UQuickTimeImageTest, TheSizeOfNoFileStillReturnsTheStatusWithoutPlaces) {
    EXPECT_EQ(UQuickTimeImage::GetImageSize(picture("a.png"), nullptr, nullptr), noErr);
    // No importer is no instance; the status keeps its low 16 bits.
    EXPECT_EQ(UQuickTimeImage::GetImageSize(folder_.file("none.png"), nullptr, nullptr),
              static_cast<OSErr>(badInstance));
}

TEST_F(UQuickTimeImageTest, LoadingWaitsForTheQuickTimeLock) {
    const std::string path = picture("a.png");
    std::atomic<bool> loaded = false;
    std::thread other;
    {
        const StQuickTimeLock lock;
        other = std::thread([&] {
            std::vector<unsigned char> pixels(4);
            UQuickTimeImage::LoadImageFile(path, pixels.data(), 1, 1, 0, 0, 0, 0, nullptr);
            loaded = true;
        });
        for (int i = 0; i < 1000; ++i)
            std::this_thread::yield();
        EXPECT_FALSE(loaded);
    }
    other.join();
    EXPECT_TRUE(loaded);
}

}  // namespace
}  // namespace TWQuickTime
