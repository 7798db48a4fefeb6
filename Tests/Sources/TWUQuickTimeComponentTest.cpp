#include "TWUQuickTimeComponent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Handles.h"
#include "LogCapture.h"
#include "TestExporter.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kListed = 0x80010;

MovieExporterRegistration exporter(const char* subType, std::uint32_t flags = kListed,
                                   std::string name = "Test exporter") {
    return {.subType = fourCC(subType),
            .manufacturer = fourCC("test"),
            .flags = flags,
            .name = std::move(name),
            .info = "",
            .make = nullptr};
}

class TWUQuickTimeComponentTest : public testing::Test {
  protected:
    void TearDown() override { ToolboxTrace::reset(); }
    /// The entries of the test exporters, which all have the manufacturer 'test'.
    static std::vector<NSDictionary> catalogue() {
        std::vector<NSDictionary> entries;
        for (const PropertyListValue& value :
             TWUQuickTimeComponent::allAvailableMovieExportComponents()) {
            NSDictionary entry = value.dictionaryValue();
            if (entry.objectForKey(TWQuickTimeComponentManufacturer) ==
                PropertyListValue(fourCC("test")))
                entries.push_back(entry);
        }
        return entries;
    }
    test::LogCapture log_;
};

TEST_F(TWUQuickTimeComponentTest, AnEntryTellsAllAboutItsExporter) {
    test::TestExporterComponent component(exporter("tst1", kListed | 0x20, "A name"));
    component.behaviour().extension = fourCC("mp4 ");
    const auto entries = catalogue();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0], (NSDictionary{{"componentName", "A name"},
                                        {"componentType", fourCC("spit")},
                                        {"componentSubType", fourCC("tst1")},
                                        {"ComponentSubTypeFourCharCode", "tst1"},
                                        {"componentManufacturer", fourCC("test")},
                                        {"componentHasUserInterface", true},
                                        {"exportedMovieFileExtension", "mp4"}}));
    EXPECT_EQ(component.behaviour().opened, component.behaviour().closed);
}

TEST_F(TWUQuickTimeComponentTest, SoundExportersAreNotListedVideoAndUndecidedOnesAre) {
    test::TestExporterComponent sound(exporter("soun"));
    test::TestExporterComponent video(exporter("vide"));
    test::TestExporterComponent any(exporter("any "));
    test::TestExporterComponent silent(exporter("sile"));
    sound.behaviour().mediaType = fourCC("soun");
    video.behaviour().mediaType = fourCC("vide");
    silent.behaviour().mediaTypeStatus = badComponentSelector;
    const auto entries = catalogue();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].objectForKey(TWQuickTimeComponentSubTypeFourCharCode), "vide");
    EXPECT_EQ(entries[1].objectForKey(TWQuickTimeComponentSubTypeFourCharCode), "any ");
}

TEST_F(TWUQuickTimeComponentTest, BothFlagsAreNeededToBeListed) {
    test::TestExporterComponent filesOnly(exporter("tst1", 0x10));
    test::TestExporterComponent mediaTypeOnly(exporter("tst2", 0x80000));
    EXPECT_THAT(catalogue(), IsEmpty());
}

TEST_F(TWUQuickTimeComponentTest, AnExporterThatDoesNotOpenIsListedWithoutExtension) {
    test::TestExporterComponent component(exporter("tst1"));
    component.behaviour().opens = false;
    const auto entries = catalogue();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_FALSE(entries[0].hasKey(TWQuickTimeComponentFileExtension));
    EXPECT_EQ(entries[0].objectForKey(TWQuickTimeComponentHasUserInterface),
              PropertyListValue(false));
}

TEST_F(TWUQuickTimeComponentTest, WithoutANameAnExporterIsListedWithADash) {
    test::TestExporterComponent component(exporter("tst1", kListed, ""));
    const auto entries = catalogue();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].objectForKey(TWQuickTimeComponentName), "-");
}

TEST_F(TWUQuickTimeComponentTest, AnExporterWithoutInformationIsNotListed) {
    test::TestExporterComponent first(exporter("tst1"));
    const std::size_t all = TWUQuickTimeComponent::allAvailableMovieExportComponents().count();
    ToolboxTrace::failCall("GetComponentInfo", 1, -50);
    EXPECT_EQ(TWUQuickTimeComponent::allAvailableMovieExportComponents().count(), all - 1);
}

TEST_F(TWUQuickTimeComponentTest, WithoutAnyExporterTheCatalogueIsEmptyNotNil) {
    ToolboxTrace::failCall("CountComponents", 1, -50);
    const NSArray catalogue = TWUQuickTimeComponent::allAvailableMovieExportComponents();
    EXPECT_FALSE(catalogue.isNil());
    EXPECT_EQ(catalogue.count(), 0u);
}

TEST_F(TWUQuickTimeComponentTest, ExtensionsComeWithoutBlanksOrNotAtAll) {
    test::TestExporterComponent component(exporter("tst1"));
    ComponentInstance instance = TWUQuickTimeComponent::openComponent(component.component());
    component.behaviour().extension = fourCC("mov ");
    EXPECT_EQ(TWUQuickTimeComponent::filenameExtensionForComponent(instance), "mov");
    component.behaviour().extensionStatus = badComponentSelector;
    EXPECT_TRUE(TWUQuickTimeComponent::filenameExtensionForComponent(instance).isNil());
    EXPECT_THAT(log_.lines(), IsEmpty());
    component.behaviour().extensionStatus = -50;
    EXPECT_TRUE(TWUQuickTimeComponent::filenameExtensionForComponent(instance).isNil());
    EXPECT_TRUE(TWUQuickTimeComponent::filenameExtensionForComponent(nullptr).isNil());
    EXPECT_THAT(log_.lines(), ElementsAre("+[TWUQuickTimeComponent filenameExtensionForComponent:] "
                                          "- Error getting file extension: -50"));
    EXPECT_EQ(TWUQuickTimeComponent::closeComponent(&instance), noErr);
    EXPECT_EQ(instance, nullptr);
}

TEST_F(TWUQuickTimeComponentTest, OneThreadSafeComponentOfTheTypeIsEnough) {
    test::TestExporterComponent unsafe(exporter("tst1", 0));
    EXPECT_FALSE(TWUQuickTimeComponent::isComponentThreadSafe(fourCC("spit"), fourCC("tst1")));
    {
        test::TestExporterComponent missing(exporter("tst1", 0x30000000));
        EXPECT_FALSE(TWUQuickTimeComponent::isComponentThreadSafe(fourCC("spit"), fourCC("tst1")));
    }
    test::TestExporterComponent safe(exporter("tst1", 0x10000000));
    EXPECT_TRUE(TWUQuickTimeComponent::isComponentThreadSafe(fourCC("spit"), fourCC("tst1")));
    EXPECT_FALSE(TWUQuickTimeComponent::isComponentThreadSafe(fourCC("spit"), fourCC("none")));
    EXPECT_TRUE(TWUQuickTimeComponent::isComponentThreadSafe(fourCC("mhlr"), fourCC("vide")));
}

TEST_F(TWUQuickTimeComponentTest, TheOtherMethodsForward) {
    test::TestExporterComponent component(exporter("tst1", 0x8000));
    component.behaviour().settings.assign(3, std::byte{'x'});
    EXPECT_EQ(TWUQuickTimeComponent::findComponentForType(fourCC("spit"), fourCC("tst1"),
                                                          fourCC("test"), 0, 0),
              component.component());
    ComponentInstance instance = TWUQuickTimeComponent::openComponentForType(
        fourCC("spit"), fourCC("tst1"), fourCC("test"), 0, 0);
    const NSData settings = TWUQuickTimeComponent::getSettingsOfComponent(instance);
    EXPECT_EQ(settings, NSData::dataWithBytes("xxx", 3));
    EXPECT_EQ(TWUQuickTimeComponent::setSettings(settings, instance), noErr);
    EXPECT_EQ(TWUQuickTimeComponent::closeComponent(&instance), noErr);
    component.behaviour().settings.clear();
    EXPECT_TRUE(TWUQuickTimeComponent::isComponentInstalledWithType(fourCC("spit"), fourCC("tst1"),
                                                                    fourCC("test"), nullptr));
    EXPECT_FALSE(TWUQuickTimeComponent::isComponentInstalledWithType(fourCC("spit"), fourCC("none"),
                                                                     fourCC("test"), nullptr));
}

}  // namespace
}  // namespace TWQuickTime
