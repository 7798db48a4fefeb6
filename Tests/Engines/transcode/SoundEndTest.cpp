#include "Engines/transcode/SoundEnd.h"

#include <gtest/gtest.h>

#include "Engines/transcode/SoundMixer.h"
#include "TestMovie.h"

namespace TWQuickTime::transcode {
namespace {

constexpr std::int64_t kRate = 44100;

/// A movie of 1000 units a second with 20,000 frames of sound, which lasts so many units.
class SoundEndTest : public testing::Test {
  protected:
    SoundEndTest() {
        movie_.timeScale = 1000;
        track_ = &test::addLevels(movie_, std::vector<std::int16_t>(20000, 1234),
                                  std::uint32_t(kRate), false);
    }
    void setEdits(std::vector<timeline::Edit> edits) {
        track_->edits = timeline::EditList(std::move(edits));
    }

    timeline::Movie movie_;
    timeline::Track* track_ = nullptr;
};

TEST_F(SoundEndTest, AnEndWithinOneUnitOfTheMediasEndIsTheMediasEnd) {
    for (const std::int64_t duration : {453, 454}) {
        setEdits({{duration, 0, timeline::kFixedOne}});
        EXPECT_EQ(soundEnd(movie_, *track_, kRate), 20000);
    }
}

TEST_F(SoundEndTest, AnEarlierEndIsMeantAsItStands) {
    setEdits({{450, 0, timeline::kFixedOne}});
    EXPECT_EQ(soundEnd(movie_, *track_, kRate), 19845);
}

TEST_F(SoundEndTest, AnEditThatOutlastsItsMediaEndsWhereItSays) {
    setEdits({{900, 0, timeline::kFixedOne}});
    EXPECT_EQ(soundEnd(movie_, *track_, kRate), 39690);
}

TEST_F(SoundEndTest, CountsFromWhereTheLastEditBegins) {
    setEdits(
        {{100, timeline::kEmptyMediaTime, timeline::kFixedOne}, {431, 1000, timeline::kFixedOne}});
    EXPECT_EQ(soundEnd(movie_, *track_, kRate), 4410 + 19000);
}

TEST_F(SoundEndTest, EditsAtOtherRatesAndGapsEndWhereTheySay) {
    setEdits({{227, 0, 2 * timeline::kFixedOne}});
    EXPECT_EQ(soundEnd(movie_, *track_, kRate), 10011);
    setEdits({{454, timeline::kEmptyMediaTime, timeline::kFixedOne}});
    EXPECT_EQ(soundEnd(movie_, *track_, kRate), 20021);
    setEdits({});
    EXPECT_EQ(soundEnd(movie_, *track_, kRate), 0);
}

TEST_F(SoundEndTest, TheMixerGivesTheLastSampleAndNoneAfterIt) {
    setEdits({{453, 0, timeline::kFixedOne}});
    auto mixer = SoundMixer::open(movie_, {1, double(kRate)}, {0, kRate}, nullptr);
    ASSERT_TRUE(mixer);
    std::vector<float> samples;
    ASSERT_TRUE((*mixer)->mix(20100, samples).ok());
    EXPECT_NE(samples[19999], 0.0f);
    EXPECT_EQ(samples[20000], 0.0f);
}

}  // namespace
}  // namespace TWQuickTime::transcode
