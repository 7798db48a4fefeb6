#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QTMovie.h"
#include "RunProgram.h"
#include "TWQECSSetting.h"
#include "TemporaryDirectory.h"
#include "TestExporter.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class TWQECSSettingExportQTMovie : public testing::Test {
  protected:
    void SetUp() override {
        test::runFfmpeg({"-f", "lavfi", "-i", "testsrc=size=32x32:rate=10:duration=1", "-c:v",
                         "png", folder_.file("in.mov")});
        movie_ = QTMovie::movieWithFile(folder_.file("in.mov"), nullptr);
        ASSERT_TRUE(movie_);
    }
    bool run(NSError* error = nullptr) {
        return setting_->exportQTMovie(movie_, folder_.file("out.tst"), error);
    }
    test::TestExporterComponent exporter_{{.subType = fourCC("tst9"),
                                           .flags = canMovieExportFiles,
                                           .name = "",
                                           .info = "",
                                           .make = nullptr}};
    test::TemporaryDirectory folder_;
    std::shared_ptr<QTMovie> movie_;
    std::shared_ptr<TWQECSSetting> setting_ = TWQECSSetting::initWithDictionary(
        NSDictionary{{"SettingID", "x"},
                     {"QTExpComponentSubType", fourCC("tst9")},
                     {"QTExpComponentManufacturer", fourCC("appl")}});
};

TEST_F(TWQECSSettingExportQTMovie, WritesTheMovieThroughTheExporterWithTheStoredSettings) {
    EXPECT_TRUE(run());
    ASSERT_EQ(exporter_.behaviour().exports.size(), 1u);
    EXPECT_EQ(exporter_.behaviour().exports[0].path, folder_.file("out.tst"));
    EXPECT_THAT(exporter_.behaviour().settingsGiven, IsEmpty());
    setting_->setComponentSettingsAtomData(NSData::dataWithBytes("abc", 3));
    EXPECT_TRUE(run());
    ASSERT_EQ(exporter_.behaviour().settingsGiven.size(), 1u);
    EXPECT_EQ(exporter_.behaviour().settingsGiven[0].size(), 3u);
}

TEST_F(TWQECSSettingExportQTMovie, TheMoviesOwnDelegateServesWithoutAnExportDelegateAndComesBack) {
    int asked = 0;
    const auto own = std::make_shared<QTMovieDelegate>();
    own->movieShouldContinueOperation = [&](const std::shared_ptr<QTMovie>&, const NSString&,
                                            std::int32_t, float, const NSDictionary&) {
        EXPECT_NE(movie_->delegate(), own);
        EXPECT_FALSE(movie_->delegate()->movieShouldTask(movie_));
        return ++asked < 3;
    };
    movie_->setDelegate(own);
    NSError error;
    EXPECT_FALSE(run(&error));
    EXPECT_EQ(error.code(), -128);
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(movie_->delegate(), own);
    EXPECT_EQ(setting_->exportDelegate(), nullptr);
}

TEST_F(TWQECSSettingExportQTMovie, AnExportDelegateIsAskedInsteadOfTheMoviesOwn) {
    std::vector<std::int32_t> phases;
    const auto own = std::make_shared<QTMovieDelegate>();
    own->movieShouldContinueOperation = [](const std::shared_ptr<QTMovie>&, const NSString&,
                                           std::int32_t, float,
                                           const NSDictionary&) { return false; };
    movie_->setDelegate(own);
    const auto delegate = std::make_shared<TWQECSExportDelegate>();
    delegate->movieShouldContinueOperation = [&](const std::shared_ptr<QTMovie>&, const NSString&,
                                                 std::int32_t phase, float, const NSDictionary&) {
        phases.push_back(phase);
        return true;
    };
    setting_->setExportDelegate(delegate);
    EXPECT_TRUE(run());
    EXPECT_THAT(phases, ElementsAre(0, 1, 1, 1, 2));
    EXPECT_EQ(setting_->exportDelegate(), delegate);
    delegate->movieShouldContinueOperation = nullptr;
    EXPECT_TRUE(run());
}

TEST_F(TWQECSSettingExportQTMovie, WithoutAMovieNothingIsWritten) {
    movie_ = nullptr;
    EXPECT_FALSE(run());
    EXPECT_THAT(exporter_.behaviour().exports, IsEmpty());
}

}  // namespace
}  // namespace TWQuickTime
