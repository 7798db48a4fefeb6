#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "QTMovie.h"
#include "RunProgram.h"
#include "TemporaryDirectory.h"
#include "TestExporter.h"

namespace TWQuickTime {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

class QTMovieWriting : public testing::Test {
  protected:
    void SetUp() override {
        test::runFfmpeg({"-f", "lavfi", "-i", "testsrc=size=32x32:rate=10:duration=1", "-c:v",
                         "png", folder_.file("in.mov")});
        movie_ = QTMovie::movieWithFile(folder_.file("in.mov"), nullptr);
        ASSERT_TRUE(movie_);
    }
    NSDictionary attributes() const {
        return {{QTMovieExport, true},
                {QTMovieExportType, fourCC("tst8")},
                {QTMovieExportManufacturer, fourCC("appl")},
                {QTMovieExportSettings, NSData::dataWithBytes("abc", 3)}};
    }
    test::TestExporterComponent exporter_{{.subType = fourCC("tst8"),
                                           .flags = canMovieExportFiles,
                                           .name = "",
                                           .info = "",
                                           .make = nullptr}};
    test::TemporaryDirectory folder_;
    std::shared_ptr<QTMovie> movie_;
};

TEST_F(QTMovieWriting, AnExportGivesTheSettingsAndTheWholeMovieToTheExporter) {
    NSError error;
    EXPECT_TRUE(movie_->writeToFile(folder_.file("out.tst"), attributes(), &error));
    EXPECT_TRUE(error.isNil());
    ASSERT_EQ(exporter_.behaviour().exports.size(), 1u);
    const auto& made = exporter_.behaviour().exports[0];
    EXPECT_EQ(made.movie, movie_->quickTimeMovie());
    EXPECT_EQ(made.path, folder_.file("out.tst"));
    EXPECT_EQ(made.start, 0);
    EXPECT_GT(made.duration, 0);
    EXPECT_EQ(made.settings.size(), 3u);
    EXPECT_EQ(exporter_.behaviour().opened, exporter_.behaviour().closed);
}

TEST_F(QTMovieWriting, TheDelegateFollowsTheExportAndMayStopIt) {
    std::vector<std::int32_t> phases;
    bool goOn = true;
    const auto delegate = std::make_shared<QTMovieDelegate>();
    delegate->movieShouldContinueOperation = [&](const std::shared_ptr<QTMovie>& movie,
                                                 const NSString& operation, std::int32_t phase,
                                                 float, const NSDictionary& given) {
        EXPECT_EQ(movie, movie_);
        EXPECT_EQ(operation, "Export");
        EXPECT_EQ(given, attributes());
        phases.push_back(phase);
        return goOn;
    };
    movie_->setDelegate(delegate);
    EXPECT_TRUE(movie_->writeToFile(folder_.file("out.tst"), attributes(), nullptr));
    EXPECT_THAT(phases, ElementsAre(0, 1, 1, 1, 2));
    goOn = false;
    NSError error;
    EXPECT_FALSE(movie_->writeToFile(folder_.file("out.tst"), attributes(), &error));
    EXPECT_EQ(error.code(), -128);
    EXPECT_EQ(error.domain(), NSOSStatusErrorDomain);
}

TEST_F(QTMovieWriting, AMissingExporterAndRefusedSettingsAreErrors) {
    NSDictionary missing = attributes();
    missing.setObject(fourCC("none"), QTMovieExportType);
    NSError error;
    EXPECT_FALSE(movie_->writeToFile(folder_.file("out.tst"), missing, &error));
    EXPECT_EQ(error.code(), -2003);
    exporter_.behaviour().setSettingsStatus = paramErr;
    EXPECT_FALSE(movie_->writeToFile(folder_.file("out.tst"), attributes(), &error));
    EXPECT_EQ(error.code(), paramErr);
    EXPECT_EQ(exporter_.behaviour().opened, exporter_.behaviour().closed);
    EXPECT_FALSE(movie_->writeToFile(nullptr, attributes(), &error));
    EXPECT_EQ(error.code(), paramErr);
}

TEST_F(QTMovieWriting, WithoutAnExporterTheMovieIsFlattened) {
    NSError error;
    EXPECT_TRUE(movie_->writeToFile(folder_.file("flat.mov"), nullptr, &error));
    const auto copy = QTMovie::movieWithFile(folder_.file("flat.mov"), &error);
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->duration().timeValue, movie_->duration().timeValue);
    EXPECT_FALSE(movie_->writeToFile(folder_.file("none/flat.mov"), nullptr, &error));
    EXPECT_NE(error.code(), 0);
}

}  // namespace
}  // namespace TWQuickTime
