#include "ImageDescription.h"

#include <gtest/gtest.h>

#include <cstring>

#include "Handles.h"

namespace TWQuickTime {
namespace {

class ImageDescriptionTest : public testing::Test {
  protected:
    ImageDescriptionTest() {
        description_ =
            reinterpret_cast<ImageDescriptionHandle>(NewHandleClear(sizeof(ImageDescription)));
        (*description_)->idSize = sizeof(ImageDescription);
    }
    ~ImageDescriptionTest() override { DisposeHandle(handle()); }
    Handle handle() const { return reinterpret_cast<Handle>(description_); }

    OSErr add(OSType type, const char* bytes, Size length) {
        Handle extension = nullptr;
        PtrToHand(bytes, &extension, length);
        const OSErr status = AddImageDescriptionExtension(description_, extension, type);
        DisposeHandle(extension);
        return status;
    }

    ImageDescriptionHandle description_ = nullptr;
};

TEST_F(ImageDescriptionTest, ExtensionsAreFoundByTypeAndIndex) {
    EXPECT_EQ(add(fourCC("pasp"), "12345678", 8), noErr);
    EXPECT_EQ(add(fourCC("abcd"), "x", 1), noErr);
    EXPECT_EQ(add(fourCC("pasp"), "second", 6), noErr);
    EXPECT_EQ((*description_)->idSize, 86 + 16 + 9 + 14);
    Handle found = nullptr;
    ASSERT_EQ(GetImageDescriptionExtension(description_, &found, fourCC("pasp"), 2), noErr);
    EXPECT_EQ(std::string(*found, static_cast<std::size_t>(GetHandleSize(found))), "second");
    DisposeHandle(found);
    EXPECT_EQ(GetImageDescriptionExtension(description_, &found, fourCC("pasp"), 3),
              cannotFindAtomErr);
    EXPECT_EQ(found, nullptr);
}

TEST_F(ImageDescriptionTest, TheAspectRatioIsAPropertyOfEightBytes) {
    char value[8] = {};
    EXPECT_EQ(ICMImageDescriptionGetProperty(description_, fourCC("idsc"), fourCC("pasp"), 8, value,
                                             nullptr),
              cannotFindAtomErr);
    add(fourCC("pasp"), "12345678", 8);
    std::size_t used = 0;
    EXPECT_EQ(ICMImageDescriptionGetProperty(description_, fourCC("idsc"), fourCC("pasp"), 8, value,
                                             &used),
              noErr);
    EXPECT_EQ(used, 8u);
    EXPECT_EQ(std::memcmp(value, "12345678", 8), 0);
    EXPECT_EQ(ICMImageDescriptionGetProperty(description_, fourCC("idsc"), fourCC("pasp"), 7, value,
                                             &used),
              paramErr);
}

TEST_F(ImageDescriptionTest, DamagedRecordsGiveAStatus) {
    Handle found = nullptr;
    add(fourCC("pasp"), "12345678", 8);
    (*handle())[86 + 3] = 4;  // an extension shorter than its own header
    EXPECT_EQ(GetImageDescriptionExtension(description_, &found, fourCC("pasp"), 1),
              cannotFindAtomErr);
    (*handle())[86 + 2] = 1;  // and one that reaches beyond the record
    EXPECT_EQ(GetImageDescriptionExtension(description_, &found, fourCC("pasp"), 1),
              cannotFindAtomErr);
    (*description_)->idSize = 5000;
    EXPECT_EQ(GetImageDescriptionExtension(description_, &found, fourCC("pasp"), 1),
              badImageDescription);
    EXPECT_EQ(GetImageDescriptionExtension(nullptr, &found, fourCC("pasp"), 1),
              badImageDescription);
    EXPECT_EQ(AddImageDescriptionExtension(nullptr, handle(), fourCC("pasp")), paramErr);
}

TEST_F(ImageDescriptionTest, TheToolboxStatesItsMajorVersionInTheTopByte) {
    std::int32_t version = 0;
    EXPECT_EQ(Gestalt(gestaltQuickTime, &version), noErr);
    EXPECT_EQ(version >> 24, 7);
    EXPECT_NE(Gestalt(fourCC("none"), &version), noErr);
}

}  // namespace
}  // namespace TWQuickTime
