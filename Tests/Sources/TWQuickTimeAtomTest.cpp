#include "TWQuickTimeAtom.h"

#include <gtest/gtest.h>

#include "Handles.h"
#include "SettingsContainer.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

using test::big16;
using test::big32;
using test::SettingsContainer;

TEST(TWQuickTimeAtomTest, ABorrowedContainerIsChangedInPlaceAndOutlivesTheObject) {
    SettingsContainer settings;
    settings.leaf("wdth", big32(0));
    settings.leaf("hegt", big32(0));
    settings.leaf("tprl", std::string(12, '\0'));
    {
        const auto atom = TWQuickTimeAtom::initWithQTAtomContainer(settings);
        atom->setWidth(640);
        atom->setHeight(480);
        atom->setFrameRate(25);
        EXPECT_EQ(atom->width(), 640);
        EXPECT_EQ(atom->height(), 480);
        EXPECT_EQ(atom->frameRate(), 25.0);
        atom->disposeAtomContainer();
    }
    EXPECT_TRUE(IsHandleValid(settings));
    EXPECT_EQ(TWQuickTimeAtom::initWithQTAtomContainer(settings)->width(), 640);
}

TEST(TWQuickTimeAtomTest, ACopyOfDataIsOwnedAndLeavesTheDataAlone) {
    SettingsContainer settings;
    settings.leaf("wdth", big32(320 << 16));
    const NSData data = settings.data();
    const auto atom = TWQuickTimeAtom::initWithQTAtomContainerData(data);
    atom->setWidth(640);
    EXPECT_EQ(data, settings.data());
    EXPECT_EQ(TWQuickTimeAtom::initWithQTAtomContainerData(atom->getData())->width(), 640);
}

TEST(TWQuickTimeAtomTest, NoneGivesNone) {
    EXPECT_EQ(TWQuickTimeAtom::initWithQTAtomContainer(nullptr), nullptr);
    EXPECT_EQ(TWQuickTimeAtom::initWithQTAtomContainerData(nullptr), nullptr);
}

TEST(TWQuickTimeAtomTest, EmptyDataGiveAnObjectThatOwnsAHandleOfNoBytes) {
    const auto atom = TWQuickTimeAtom::initWithQTAtomContainerData(NSData::dataWithBytes("", 0));
    ASSERT_TRUE(atom);
    EXPECT_TRUE(atom->getData());
    EXPECT_EQ(atom->getData().length(), 0u);
    EXPECT_EQ(atom->width(), 0);
    EXPECT_EQ(atom->frameRate(), 0.0);
}

TEST(TWQuickTimeAtomTest, WithoutMemoryTheObjectHasNoContainer) {
    ToolboxTrace::failCall("NewHandleClear", 1, memFullErr);
    const auto atom = TWQuickTimeAtom::initWithQTAtomContainerData(NSData::dataWithBytes("x", 1));
    ToolboxTrace::reset();
    ASSERT_TRUE(atom);
    EXPECT_TRUE(atom->codecName().isNil());
    EXPECT_EQ(atom->getData().length(), 0u);
    EXPECT_EQ(atom->height(), 0);
}

TEST(TWQuickTimeAtomTest, TheCodecNameComesFromTheSpatialSettings) {
    SettingsContainer settings;
    settings.leaf("sptl", "jpeg" + big32(0) + big16(24) + big32(0), settings.group("vide"));
    EXPECT_EQ(TWQuickTimeAtom::initWithQTAtomContainer(settings)->codecName(), "Photo - JPEG");
    EXPECT_TRUE(TWQuickTimeAtom().codecName().isNil());
}

}  // namespace
}  // namespace TWQuickTime
