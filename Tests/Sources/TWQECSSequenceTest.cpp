#include "TWQECSSequence.h"

#include <gtest/gtest.h>

#include <string>

#include "TWQECSReader.h"
#include "TWQECSSetting.h"

namespace TWQuickTime {
namespace {

/// A setting whose exporter is there or not, as the test says.
class PlainSetting : public TWQECS {
  public:
    PlainSetting(const char* id, bool installed) : installed_(installed) {
        setQECSDict(NSDictionary{{"SettingID", id}, {"Name", id}});
    }
    bool isInstalled() override { return installed_; }
    bool isThreadSafe() override { return threadSafe; }
    bool componentHasUserInterface() override { return true; }
    OSStatus customizeComponentSettingsWithComponentDialogForMovie(Movie) override { return 42; }
    bool usesExportComponentWithSubtype(OSType subtype, OSType) override {
        return subtype == fourCC("MooV");
    }
    NSString exportedMovieFileExtension() override { return "mp4"; }
    std::int32_t exportedMovieWidth() override { return width; }
    void setExportedMovieWidth(std::int32_t newWidth) override { width = newWidth; }
    std::int32_t exportedMovieHeight() override { return height; }
    void setExportedMovieHeight(std::int32_t newHeight) override { height = newHeight; }
    double exportedMovieFrameRate() override { return frameRate; }
    void setExportedMovieFrameRate(double newFrameRate) override { frameRate = newFrameRate; }

    bool threadSafe = true;
    std::int32_t width = 640;
    std::int32_t height = 480;
    double frameRate = 25.0;

  private:
    bool installed_;
};

NSDictionary step(std::initializer_list<const char*> fallbacks) {
    NSArray list = NSArray::array();
    for (const char* identifier : fallbacks)
        list.addObject(NSDictionary{{"SettingID", identifier}});
    return NSDictionary{{"Fallbacks", list}};
}

class TWQECSSequenceTest : public testing::Test {
  protected:
    TWQECSSequenceTest() {
        file("X", false);
        file("Y", true);
        file("Z", true);
    }
    void file(const char* id, bool installed) {
        settings_[id] = std::make_shared<PlainSetting>(id, installed);
        dictionary_.setObject(settings_[id], id);
        reader_->setComponentSettingsDict(std::make_shared<TWQECSDictionary>(dictionary_));
    }
    std::shared_ptr<TWQECSSequence> sequence(std::initializer_list<NSDictionary> steps,
                                             const char* id = "S") {
        NSArray list = NSArray::array();
        for (const NSDictionary& entry : steps)
            list.addObject(entry);
        return TWQECSSequence::initWithDictionary(NSDictionary{{"SequenceID", id}, {"Steps", list}},
                                                  reader_);
    }
    std::string names(TWQECSSequence& sequence) {
        if (!sequence.steps())
            return "none";
        std::string all;
        for (const auto& preset : *sequence.steps())
            all += preset->name().utf8();
        return all;
    }

    std::shared_ptr<TWQECSReader> reader_ = std::make_shared<TWQECSReader>();
    std::map<std::string, std::shared_ptr<PlainSetting>> settings_;
    TWQECSDictionary dictionary_;
};

TEST_F(TWQECSSequenceTest, ASequenceWithoutStepsStandsForTheSettingOfItsIdentifier) {
    EXPECT_EQ(names(*sequence({}, "Y")), "Y");
    EXPECT_EQ(names(*sequence({}, "X")), "X") << "installed or not";
    EXPECT_EQ(names(*sequence({}, "unknown")), "none");
    EXPECT_FALSE(sequence({}, "unknown")->isInstalled());
}

TEST_F(TWQECSSequenceTest, AStepTakesTheFirstFallbackThatIsInstalled) {
    EXPECT_EQ(names(*sequence({step({"X", "Y"})})), "Y");
    EXPECT_EQ(names(*sequence({step({"X", "Z", "Y"}), step({"Y"})})), "ZY");
}

TEST_F(TWQECSSequenceTest, AStepWithoutFallbacksIsDroppedAndTheOthersStay) {
    EXPECT_EQ(names(*sequence({step({}), step({"Y"}), NSDictionary{{"Name", "empty"}}})), "Y");
    EXPECT_EQ(names(*sequence({step({})})), "");
}

TEST_F(TWQECSSequenceTest, AStepWhoseFallbacksAreAllUnknownLeavesTheSequenceNotInstalled) {
    const auto broken = sequence({step({"Y"}), step({"unknown", "X"}), step({"Z"})});
    EXPECT_EQ(names(*broken), "");
    EXPECT_FALSE(broken->isInstalled());
    EXPECT_FALSE(broken->isThreadSafe());
    EXPECT_EQ(broken->exportedMovieFileExtension(), "mov");
    EXPECT_TRUE(sequence({step({"Y"})})->isInstalled());
}

TEST_F(TWQECSSequenceTest, LetsGoOfItsReaderOnceTheStepsAreResolved) {
    const auto resolved = sequence({step({"Y"})});
    EXPECT_EQ(resolved->reader(), reader_);
    EXPECT_EQ(reader_.use_count(), 2) << "owned until then";
    resolved->loadSteps();
    EXPECT_FALSE(resolved->reader());
    EXPECT_EQ(reader_.use_count(), 1);
    EXPECT_EQ(names(*resolved), "Y");
}

TEST_F(TWQECSSequenceTest, WithoutAReaderTheStepsStayNone) {
    const auto lonely = TWQECSSequence::initWithDictionary(NSDictionary{{"SequenceID", "Y"}});
    EXPECT_EQ(names(*lonely), "none");
    lonely->setReader(reader_);
    EXPECT_EQ(names(*lonely), "Y") << "none is resolved again on the next call";
}

TEST_F(TWQECSSequenceTest, AnswersOfAllStepsAreNeededForInstalledAndThreadSafe) {
    const auto two = sequence({step({"Y"}), step({"Z"})});
    EXPECT_TRUE(two->isThreadSafe());
    settings_["Z"]->threadSafe = false;
    EXPECT_FALSE(two->isThreadSafe());
    EXPECT_TRUE(two->usesExportComponentWithSubtype(fourCC("MooV"), 0));
    EXPECT_FALSE(two->usesExportComponentWithSubtype(fourCC("mpg4"), 0));
    EXPECT_FALSE(sequence({step({})})->usesExportComponentWithSubtype(fourCC("MooV"), 0));
}

TEST_F(TWQECSSequenceTest, OnlyASingleStepHasAUserInterface) {
    const auto one = sequence({step({"Y"})});
    EXPECT_TRUE(one->isSingleStep());
    EXPECT_TRUE(one->componentHasUserInterface());
    EXPECT_EQ(one->customizeComponentSettingsWithComponentDialogForMovie(nullptr), 42);
    const auto two = sequence({step({"Y"}), step({"Z"})});
    EXPECT_FALSE(two->isSingleStep());
    EXPECT_FALSE(two->componentHasUserInterface());
    EXPECT_EQ(two->customizeComponentSettingsWithComponentDialogForMovie(nullptr), 0);
}

TEST_F(TWQECSSequenceTest, SizeAndRateAreThoseOfTheLastStepOnly) {
    const auto two = sequence({step({"Y"}), step({"Z"})});
    two->setExportedMovieWidth(320);
    two->setExportedMovieHeight(240);
    two->setExportedMovieFrameRate(50.0);
    EXPECT_EQ(two->lastStep(), settings_["Z"]);
    EXPECT_EQ(settings_["Y"]->width, 640);
    EXPECT_EQ(settings_["Z"]->width, 320);
    EXPECT_EQ(two->exportedMovieWidth(), 320);
    EXPECT_EQ(two->exportedMovieHeight(), 240);
    EXPECT_EQ(two->exportedMovieFrameRate(), 50.0);
    EXPECT_EQ(two->exportedMovieFileExtension(), "mp4");

    const auto none = sequence({step({})});
    none->setExportedMovieWidth(1);
    none->setExportedMovieHeight(1);
    none->setExportedMovieFrameRate(1);
    EXPECT_EQ(none->exportedMovieWidth(), 0);
    EXPECT_EQ(none->exportedMovieHeight(), 0);
    EXPECT_EQ(none->exportedMovieFrameRate(), 0.0);
    EXPECT_FALSE(none->lastStep());
}

TEST_F(TWQECSSequenceTest, ComparesByName) {
    const auto named = [&](const char* name) {
        return TWQECSSequence::initWithDictionary(NSDictionary{{"SequenceID", 1}, {"Name", name}},
                                                  reader_);
    };
    EXPECT_EQ(named("a")->nameCompare(*named("b")), NSOrderedAscending);
    EXPECT_EQ(named("b")->nameCompare(*named("b")), NSOrderedSame);
    EXPECT_EQ(named("b")->nameCompare(*named("B")), NSOrderedDescending);
}

TEST_F(TWQECSSequenceTest, ExportOfAMovieObjectIsNotSupportedAndGivesNoError) {
    NSError error;
    EXPECT_FALSE(sequence({step({"Y"})})->exportQTMovie(nullptr, "/tmp/x.mov", &error));
    EXPECT_TRUE(error.isNil());
}

TEST_F(TWQECSSequenceTest, SequencesAmongTheSettingsThatLeadBackToThemselvesAreNotInstalled) {
    const auto loop = [&](const char* id, const char* sequenceId, const NSArray& steps) {
        dictionary_.setObject(
            TWQECSSequence::initWithDictionary(
                NSDictionary{{"SequenceID", sequenceId}, {"Steps", steps}}, reader_),
            id);
        reader_->setComponentSettingsDict(std::make_shared<TWQECSDictionary>(dictionary_));
    };
    loop("self", "self", NSArray::array());
    EXPECT_FALSE(reader_->componentSettingForID("self")->isInstalled());

    loop("a", "1", NSArray({PropertyListValue(step({"b"}))}));
    loop("b", "2", NSArray({PropertyListValue(step({"a", "Y"}))}));
    EXPECT_TRUE(reader_->componentSettingForID("a")->isInstalled()) << "b uses Y instead of a";

    loop("c", "d", NSArray::array());
    loop("d", "c", NSArray::array());
    EXPECT_FALSE(reader_->componentSettingForID("c")->isInstalled());
    EXPECT_FALSE(reader_->componentSettingForID("d")->isInstalled());
}

TEST_F(TWQECSSequenceTest, SequencesNestedWithoutEndAreNotInstalledAndExhaustNoStack) {
    for (int i = 0; i < 100000; ++i)
        dictionary_.setObject(
            TWQECSSequence::initWithDictionary(
                NSDictionary{{"SequenceID", i},
                             {"Steps", NSArray({PropertyListValue(NSDictionary{
                                           {"Fallbacks", NSArray({PropertyListValue(NSDictionary{
                                                             {"SettingID", i + 1}})})}})})}},
                reader_),
            i);
    reader_->setComponentSettingsDict(std::make_shared<TWQECSDictionary>(dictionary_));
    EXPECT_FALSE(reader_->componentSettingForID(0)->isInstalled());
    for (int i = 100000; i-- > 0;)
        EXPECT_FALSE(reader_->componentSettingForID(i)->isInstalled());
}

}  // namespace
}  // namespace TWQuickTime
