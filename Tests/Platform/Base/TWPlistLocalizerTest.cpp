#include "TWPlistLocalizer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "EnvironmentVariables.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

class TWPlistLocalizerTest : public testing::Test {
  protected:
    TWPlistLocalizerTest() {
        for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"})
            environment_.set(name, std::nullopt);
        environment_.set("LANG", "de_DE.UTF-8");
        std::filesystem::create_directories(directory_.file("de.lproj"));
        std::ofstream(directory_.file("de.lproj/PresetsQecs.strings"))
            << "\"Film\" = \"Kino\"; \"Fine\" = \"Fein\"; h264 = wrong;";
        bundle_ = NSBundle::bundleWithPath(NSString(directory_.path().string()));
    }

    test::TemporaryDirectory directory_;
    test::EnvironmentVariables environment_;
    std::shared_ptr<NSBundle> bundle_;
};

TEST_F(TWPlistLocalizerTest, TranslatesNamesAndCommentsAtEveryDepthAndNothingElse) {
    const NSDictionary fallback{{"Name", "Film"}, {"SettingID", "h264"}};
    const NSDictionary step{{"Fallbacks", NSArray({PropertyListValue(fallback)})}};
    const NSDictionary setting{{"SettingID", "h264"},
                               {"Name", "Film"},
                               {"Comment", "Fine"},
                               {"Steps", NSArray({PropertyListValue(step)})}};
    const NSDictionary result = TWPlistLocalizer::localizePlist(
        NSDictionary{
            {"Name", "Not in the table"},
            {"Title", "Film"},
            {"Export Presets", NSArray({PropertyListValue(1), PropertyListValue(setting)})}},
        "PresetsQecs", bundle_);
    const NSDictionary shownFallback{{"Name", "Kino"}, {"SettingID", "h264"}};
    const NSDictionary shownStep{{"Fallbacks", NSArray({PropertyListValue(shownFallback)})}};
    const NSDictionary shownSetting{{"SettingID", "h264"},
                                    {"Name", "Kino"},
                                    {"Comment", "Fein"},
                                    {"Steps", NSArray({PropertyListValue(shownStep)})}};
    EXPECT_TRUE(result ==
                (NSDictionary{{"Name", "Not in the table"},
                              {"Title", "Film"},
                              {"Export Presets",
                               NSArray({PropertyListValue(1), PropertyListValue(shownSetting)})}}));
    EXPECT_EQ(setting.objectForKey("Name").stringValue(), "Film") << "the given list stays";
}

TEST_F(TWPlistLocalizerTest, AcceptsNoneAndReturnsNoneOnlyThen) {
    EXPECT_TRUE(TWPlistLocalizer::localizePlist(nullptr, "PresetsQecs", bundle_).isNil());
    const NSDictionary empty = NSDictionary::dictionary();
    EXPECT_FALSE(TWPlistLocalizer::localizePlist(empty, "PresetsQecs", bundle_).isNil());
}

TEST_F(TWPlistLocalizerTest, WithoutATableOrBundleTheListComesBackAsItIs) {
    const NSDictionary list{{"Name", "Film"}};
    EXPECT_TRUE(TWPlistLocalizer::localizePlist(list, "NoTable", bundle_) == list);
    EXPECT_TRUE(TWPlistLocalizer::localizePlist(list, "PresetsQecs", nullptr) == list);
}

}  // namespace
}  // namespace TWQuickTime
