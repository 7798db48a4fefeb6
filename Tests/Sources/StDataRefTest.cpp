#include "StDataRef.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <type_traits>

#include "DataReferences.h"
#include "Handles.h"
#include "LogCapture.h"
#include "NSURL.h"
#include "TemporaryDirectory.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class StDataRefTest : public testing::Test {
  protected:
    void TearDown() override { ToolboxTrace::reset(); }
    static FSSpec filledWithOnes() {
        FSSpec spec;
        std::memset(static_cast<void*>(&spec), 0xFF, sizeof spec);
        return spec;
    }
    test::LogCapture log_;
};

TEST_F(StDataRefTest, ANilPathMakesNoReferenceNoCallAndNoLog) {
    ToolboxTrace::startRecording();
    {
        const StDataRef reference(nullptr);
        EXPECT_EQ(reference.GetDataRef(), nullptr);
        EXPECT_EQ(reference.GetType(), 0u);
    }
    EXPECT_THAT(ToolboxTrace::recordedCalls(), IsEmpty());
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(StDataRefTest, APathMakesAReferenceThatGoesWithTheObject) {
    Handle handle = nullptr;
    {
        const StDataRef reference("/films/none.mov");
        handle = reference;
        EXPECT_EQ(reference.GetDataRef(), handle);
        EXPECT_EQ(static_cast<OSType>(reference), fourCC("alis"));
        NSString path;
        EXPECT_EQ(QTGetDataReferenceFullPathCFString(reference, reference.GetType(), -1, &path),
                  noErr);
        EXPECT_EQ(path, "/films/none.mov");
    }
    EXPECT_FALSE(IsHandleValid(handle));
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(StDataRefTest, AFailureIsLoggedWithItsPlaceAndLeavesNoReference) {
    ToolboxTrace::failCall("QTNewDataReferenceFromFullPathCFString", 1, -108);
    const StDataRef reference("/films/a.mov");
    EXPECT_EQ(reference.GetDataRef(), nullptr);
    EXPECT_EQ(reference.GetType(), 0u);
    EXPECT_THAT(log_.lines(), ElementsAre("QTNewDataReferenceFromFullPathCFString failed: -108 "
                                          "(Sources/StDataRef:57)"));
}

TEST_F(StDataRefTest, ItCannotBeCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<StDataRef>);
    EXPECT_FALSE(std::is_copy_assignable_v<StDataRef>);
}

TEST_F(StDataRefTest, BothLinkagesGiveTheSameRecordForAnExistingFile) {
    test::TemporaryDirectory folder;
    std::ofstream(folder.file("a.mov")) << "x";
    FSSpec spec;
    FSSpec viaC;
    const NSString path = folder.file("a.mov");
    EXPECT_EQ(FilePathToFSSpec(path, &spec), noErr);
    EXPECT_EQ(::FilePathToFSSpec(&path, &viaC), noErr);
    EXPECT_EQ(spec, viaC);
    EXPECT_NE(spec, FSSpec());
    FSSpec viaURL;
    EXPECT_EQ(FileURLToFSSpec(NSURL::fileURLWithPath(path), &viaURL), noErr);
    EXPECT_EQ(viaURL, spec);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(StDataRefTest, AMissingFileGivesTheStatusAndAZeroedRecord) {
    test::TemporaryDirectory folder;
    const NSString path = folder.file("none.mov");
    FSSpec spec = filledWithOnes();
    EXPECT_EQ(FilePathToFSSpec(path, &spec), fnfErr);
    EXPECT_EQ(spec, FSSpec());
    spec = filledWithOnes();
    EXPECT_EQ(::FilePathToFSSpec(&path, &spec), fnfErr);
    EXPECT_EQ(spec, FSSpec());
    spec = filledWithOnes();
    EXPECT_EQ(::FilePathToFSSpec(nullptr, &spec), fnfErr);
    EXPECT_EQ(spec, FSSpec());
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(StDataRefTest, AFailingCatalogGivesItsStatusAndAZeroedRecord) {
    FSSpec spec = filledWithOnes();
    ToolboxTrace::failCall("FSGetCatalogInfo", 1, ioErr);
    EXPECT_EQ(FilePathToFSSpec("/etc/passwd", &spec), ioErr);
    EXPECT_EQ(spec, FSSpec());
    spec = filledWithOnes();
    ToolboxTrace::failCall("FSGetCatalogInfo", 1, ioErr);
    EXPECT_EQ(FileURLToFSSpec(NSURL::fileURLWithPath("/etc/passwd"), &spec), ioErr);
    EXPECT_EQ(spec, FSSpec());
}

TEST_F(StDataRefTest, AURLThatIsNoFileURLGivesFileNotFoundAndAZeroedRecord) {
    FSSpec spec = filledWithOnes();
    EXPECT_EQ(FileURLToFSSpec(NSURL::URLWithString("http://example.org/a.mov"), &spec), -43);
    EXPECT_EQ(spec, FSSpec());
    spec = filledWithOnes();
    EXPECT_EQ(FileURLToFSSpec(nullptr, &spec), -43);
    EXPECT_EQ(spec, FSSpec());
}

}  // namespace
}  // namespace TWQuickTime
