// Exports that are given a data rate.
#include <gtest/gtest.h>

#include <filesystem>

#include "Engines/codec/ByteOrder.h"
#include "ExportedFile.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime::transcode {
namespace {

using codec::fourCode;
using TWQuickTime::test::runFfmpeg;
using TWQuickTime::test::TemporaryDirectory;

class DataRateExport : public testing::Test {
  protected:
    /// Four seconds of moving noise, of which any codec can make much or little.
    static void SetUpTestSuite() {
        media_ = new TemporaryDirectory();
        runFfmpeg({"-f", "lavfi", "-i", "testsrc2=s=160x128:r=25:d=4", "-vf",
                   "noise=alls=12:allf=t", "-c:v", "libx264", "-preset", "ultrafast", "-crf", "12",
                   "-pix_fmt", "yuv420p", media_->file("source.mov")});
    }
    static void TearDownTestSuite() {
        delete media_;
        media_ = nullptr;
    }

    /// Bytes of pictures a second; the tables of the file are small beside them.
    double exported(std::uint32_t codec, std::int64_t bytesPerSecond) {
        ExportSettings settings = test::settingsFor(FileKind::quickTime, codec, 0);
        settings.video->bytesPerSecond = bytesPerSecond;
        const std::string out = folder_.file("out.mov");
        const auto status = test::exportFile(media_->file("source.mov"), settings, out);
        EXPECT_TRUE(status) << status.failure().message;
        EXPECT_EQ(test::countFrames(out, "v:0"), 100);
        return double(std::filesystem::file_size(out)) / 4;
    }

    static TemporaryDirectory* media_;
    TemporaryDirectory folder_;
};

TemporaryDirectory* DataRateExport::media_ = nullptr;

TEST_F(DataRateExport, CodecsWithARateControlMeetTheRate) {
    for (const std::uint32_t codec :
         {fourCode("avc1"), fourCode("mp4v"), fourCode("m2v1"), fourCode("jpeg")}) {
        for (const double wanted : {60000.0, 120000.0}) {
            const double found = exported(codec, std::int64_t(wanted));
            EXPECT_NEAR(found / wanted, 1, 0.15) << codec << " at " << wanted;
        }
    }
}

TEST_F(DataRateExport, PhotoJpegGoesAsFarAsItsQualityGoes) {
    const double least = exported(fourCode("jpeg"), 1);
    const double most = exported(fourCode("jpeg"), 1 << 30);
    EXPECT_LT(least, 60000);
    EXPECT_GT(most, 300000);
}

}  // namespace
}  // namespace TWQuickTime::transcode
