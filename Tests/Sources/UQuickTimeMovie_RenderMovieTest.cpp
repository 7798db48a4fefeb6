#include <gtest/gtest.h>

#include <filesystem>

#include "Handles.h"
#include "TemporaryDirectory.h"
#include "ToolboxTrace.h"
#include "UQuickTimeMovie.h"

namespace TWQuickTime {
namespace {

/// Five grey pictures of 16x16 pixels, A R G B.
struct Pictures {
    int given = 0;
    std::vector<char> pixels = std::vector<char>(16 * 16 * 4, 100);
    Handle description = NewHandleClear(86);

    Pictures() {
        auto* bytes = reinterpret_cast<unsigned char*>(*description);
        bytes[3] = 86;
        bytes[4] = 'r', bytes[5] = 'a', bytes[6] = 'w', bytes[7] = ' ';
        bytes[15] = 1;
        bytes[33] = bytes[35] = 16;
        bytes[49] = 1;
        bytes[83] = 32;
        bytes[84] = bytes[85] = 0xFF;
    }
    ~Pictures() { DisposeHandle(description); }
};

OSErr noProperty(void*, std::int32_t, OSType, void*) {
    return paramErr;
}

OSErr nextPicture(void* refCon, MovieExportGetDataParams* params) {
    auto& pictures = *static_cast<Pictures*>(refCon);
    if (pictures.given++ == 5)
        return eofErr;
    params->actualTime = params->requestedTime;
    params->dataPtr = pictures.pixels.data();
    params->dataSize = static_cast<std::int32_t>(pictures.pixels.size());
    params->desc = pictures.description;
    params->descType = fourCC("vide");
    params->actualSampleCount = 1;
    params->durationPerSample = 100;
    return noErr;
}

class RenderMovie : public testing::Test {
  protected:
    void SetUp() override {
        exporter_ = OpenDefaultComponent(MovieExportType, fourCC("MooV"));
        ASSERT_NE(exporter_, nullptr);
    }
    void TearDown() override {
        CloseComponent(exporter_);
        ToolboxTrace::reset();
    }

    test::TemporaryDirectory folder_;
    Pictures pictures_;
    ComponentInstance exporter_ = nullptr;
};

TEST_F(RenderMovie, MakesAMovieOfThePicturesThatItIsHanded) {
    const NSString path = folder_.file("out.mov");
    EXPECT_EQ(
        UQuickTimeMovie::RenderMovie(path, 2500, exporter_, noProperty, nextPicture, &pictures_),
        noErr);
    double seconds = 0;
    EXPECT_EQ(UQuickTimeMovie::GetDuration(path, seconds), noErr);
    EXPECT_DOUBLE_EQ(seconds, 0.2);
}

TEST_F(RenderMovie, RefusesNullArgumentsWithoutTouchingTheExporter) {
    ToolboxTrace::startRecording();
    const NSString path = folder_.file("out.mov");
    EXPECT_EQ(UQuickTimeMovie::RenderMovie(path, 2500, exporter_, noProperty, nextPicture, nullptr),
              -50);
    EXPECT_EQ(
        UQuickTimeMovie::RenderMovie(nullptr, 2500, exporter_, noProperty, nextPicture, &pictures_),
        -50);
    EXPECT_EQ(
        UQuickTimeMovie::RenderMovie(path, 2500, nullptr, noProperty, nextPicture, &pictures_),
        -50);
    EXPECT_EQ(UQuickTimeMovie::RenderMovie(path, 2500, exporter_, nullptr, nextPicture, &pictures_),
              -50);
    EXPECT_EQ(UQuickTimeMovie::RenderMovie(path, 2500, exporter_, noProperty, nullptr, &pictures_),
              -50);
    EXPECT_TRUE(ToolboxTrace::recordedCalls().empty());
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(RenderMovie, ReturnsTheStatusOfASourceThatIsRefused) {
    ToolboxTrace::failCall("MovieExportAddDataSource", 1, -108);
    EXPECT_EQ(UQuickTimeMovie::RenderMovie(folder_.file("out.mov"), 2500, exporter_, noProperty,
                                           nextPicture, &pictures_),
              -108);
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

}  // namespace
}  // namespace TWQuickTime
