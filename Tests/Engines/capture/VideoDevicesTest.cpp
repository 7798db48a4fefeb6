#include "Engines/capture/VideoDevices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Engines/timeline/FourCharCode.h"
#include "PlayedDriver.h"

namespace TWQuickTime::capture {
namespace {

using result::FailureKind;
using test::PlayedCamera;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;
using timeline::fourCharCode;

class VideoDevicesTest : public testing::Test {
  protected:
    PlayedCamera& plugIn(PlayedCamera camera) { return driver->add(std::move(camera)); }
    std::unique_ptr<DeviceSource> open(const std::string& identity, std::size_t input = 0) {
        auto source = backEnd->open(identity, input);
        EXPECT_TRUE(source) << (source ? "" : source.failure().message);
        return source ? *std::move(source) : nullptr;
    }
    FailureKind failureOfOpening(const std::string& identity, std::size_t input = 0) {
        const auto source = backEnd->open(identity, input);
        EXPECT_FALSE(source);
        return source ? FailureKind::endOfData : source.failure().kind;
    }

    std::shared_ptr<test::PlayedDriver> driver = std::make_shared<test::PlayedDriver>();
    std::unique_ptr<DeviceBackEnd> backEnd = makeVideoDevices(driver);
};

TEST_F(VideoDevicesTest, ListsNothingWhereNothingIsPluggedIn) {
    EXPECT_THAT(backEnd->devices(true), IsEmpty());
}

TEST_F(VideoDevicesTest, ListsDevicesWithTheirInputsAndWhichOfThemIsSelected) {
    plugIn({.card = "Grabber",
            .identity = "pci-0000:05",
            .inputs = {{"Composite"}, {"S-Video"}, {"Tuner"}},
            .input = 1});
    const std::vector<Device> devices = backEnd->devices(true);
    ASSERT_THAT(devices, SizeIs(1));
    EXPECT_EQ(devices[0].name, "Grabber");
    EXPECT_EQ(devices[0].identity, "pci-0000:05");
    EXPECT_TRUE(devices[0].available);
    EXPECT_EQ(devices[0].selectedInput, 1u);
    EXPECT_THAT(devices[0].inputs, ElementsAre(Field(&DeviceInput::name, "Composite"),
                                               Field(&DeviceInput::name, "S-Video"),
                                               Field(&DeviceInput::name, "Tuner")));
}

TEST_F(VideoDevicesTest, AnInputWithoutPowerOrSignalIsNotAvailable) {
    plugIn({.inputs = {{"A", V4L2_IN_ST_NO_SIGNAL},
                       {"B", V4L2_IN_ST_NO_POWER},
                       {"C", V4L2_IN_ST_NO_COLOR},
                       {"D"}}});
    const std::vector<Device> devices = backEnd->devices(true);
    EXPECT_THAT(
        devices[0].inputs,
        ElementsAre(Field(&DeviceInput::available, false), Field(&DeviceInput::available, false),
                    Field(&DeviceInput::available, true), Field(&DeviceInput::available, true)));
}

TEST_F(VideoDevicesTest, ADeviceThatAnotherProgramStreamsFromIsNotAvailable) {
    plugIn({.usedElsewhere = true});
    EXPECT_FALSE(backEnd->devices(true)[0].available);
    EXPECT_TRUE(backEnd->devices(false)[0].available);
}

TEST_F(VideoDevicesTest, ADeviceThatMayNotBeOpenedIsListedAsNotAvailableByItsSystemName) {
    plugIn({.identity = "usb-serial", .openError = EACCES});
    const std::vector<Device> devices = backEnd->devices(true);
    ASSERT_THAT(devices, SizeIs(1));
    EXPECT_EQ(devices[0].name, "Node 0");
    EXPECT_FALSE(devices[0].available);
    EXPECT_EQ(failureOfOpening("usb-serial"), FailureKind::permission);
}

TEST_F(VideoDevicesTest, NodesThatCaptureNoPicturesAreNotListed) {
    plugIn({.capabilities = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING});
    plugIn({.capabilities = V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING});
    plugIn({.openError = ENXIO});
    EXPECT_THAT(backEnd->devices(true), IsEmpty());
}

TEST_F(VideoDevicesTest, ADriverWithoutInputsHasOneNamedLikeTheDevice) {
    plugIn({.card = "Loopback", .identity = "virtual", .inputs = {}});
    const std::vector<Device> devices = backEnd->devices(true);
    EXPECT_THAT(devices[0].inputs, ElementsAre(Field(&DeviceInput::name, "Loopback")));
    EXPECT_TRUE(open("virtual"));
    EXPECT_EQ(failureOfOpening("virtual", 1), FailureKind::notFound);
}

TEST_F(VideoDevicesTest, NamesComeAsTheDriverGivesThemAlsoWhereTheyFillTheirFieldOrAreNoUTF8) {
    const std::string thirtyTwo = "A name of exactly 32 characters.";
    ASSERT_EQ(thirtyTwo.size(), 32u);
    plugIn({.card = thirtyTwo, .inputs = {{"\xC4rger \xFF"}, {""}}});
    const std::vector<Device> devices = backEnd->devices(true);
    EXPECT_EQ(devices[0].name, thirtyTwo);
    EXPECT_THAT(devices[0].inputs, ElementsAre(Field(&DeviceInput::name, "\xC4rger \xFF"),
                                               Field(&DeviceInput::name, "")));
}

TEST_F(VideoDevicesTest, TheBusInfoIsTheIdentityWhereTheSystemKnowsNone) {
    plugIn({.busInfo = "platform:vivid-000"});
    plugIn({.busInfo = ""});
    const std::vector<Device> devices = backEnd->devices(true);
    EXPECT_EQ(devices[0].identity, "platform:vivid-000");
    EXPECT_EQ(devices[1].identity, "/dev/video1");
}

TEST_F(VideoDevicesTest, DevicesOfOneDriverAtOnePlaceAreToldApart) {
    plugIn({.card = "vivid", .busInfo = "platform:vivid-000", .identity = "platform-vivid.0"});
    plugIn({.card = "vivid", .busInfo = "platform:vivid-001", .identity = "platform-vivid.0"});
    plugIn({.card = "vivid", .busInfo = "platform:vivid-001", .identity = "platform-vivid.0"});
    const std::vector<Device> devices = backEnd->devices(true);
    ASSERT_THAT(devices, SizeIs(3));
    EXPECT_EQ(devices[0].identity, "platform-vivid.0");
    EXPECT_EQ(devices[1].identity, "platform-vivid.0#platform:vivid-001");
    EXPECT_EQ(devices[2].identity, "platform-vivid.0#platform:vivid-001#/dev/video2");
    for (const Device& device : devices)
        EXPECT_TRUE(open(device.identity)) << device.identity;
}

TEST_F(VideoDevicesTest, WhatIsPulledOutIsNoLongerListedAndWhatComesBackIsTheSameDevice) {
    PlayedCamera& camera = plugIn({.identity = "serial-7"});
    ASSERT_THAT(backEnd->devices(true), SizeIs(1));
    camera.plugged = false;
    EXPECT_THAT(backEnd->devices(true), IsEmpty());
    EXPECT_EQ(failureOfOpening("serial-7"), FailureKind::notFound);
    camera.plugged = true;
    EXPECT_EQ(backEnd->devices(true)[0].identity, "serial-7");
    EXPECT_TRUE(open("serial-7"));
}

TEST_F(VideoDevicesTest, ListingLeavesNothingOpen) {
    PlayedCamera& camera = plugIn({});
    ASSERT_THAT(backEnd->devices(true), SizeIs(1));
    EXPECT_EQ(camera.openCount, 0);
}

TEST_F(VideoDevicesTest, OpeningSelectsTheInput) {
    PlayedCamera& camera = plugIn({.identity = "x", .inputs = {{"A"}, {"B"}}});
    EXPECT_TRUE(open("x", 1));
    EXPECT_EQ(camera.input, 1);
    EXPECT_EQ(failureOfOpening("x", 2), FailureKind::notFound);
    EXPECT_EQ(camera.openCount, 0);
}

TEST_F(VideoDevicesTest, ADeviceInUseCannotBeOpened) {
    plugIn({.identity = "x", .usedElsewhere = true});
    EXPECT_EQ(failureOfOpening("x"), FailureKind::notAvailable);
    plugIn({.identity = "y", .formatError = EBUSY});
    EXPECT_EQ(failureOfOpening("y"), FailureKind::notAvailable);
}

TEST_F(VideoDevicesTest, KeepsTheFormatThatTheDeviceIsSetToWhenAMovieCanHoldIt) {
    plugIn({.identity = "x",
            .formats = {V4L2_PIX_FMT_MJPEG, V4L2_PIX_FMT_YUYV},
            .format = V4L2_PIX_FMT_YUYV});
    EXPECT_EQ(std::get<VideoFormat>(open("x")->format()).codec, fourCharCode("yuvs"));
}

TEST_F(VideoDevicesTest, TakesTheFirstFormatThatAMovieCanHoldOtherwise) {
    plugIn({.identity = "x",
            .formats = {V4L2_PIX_FMT_SBGGR8, V4L2_PIX_FMT_UYVY, V4L2_PIX_FMT_MJPEG},
            .format = V4L2_PIX_FMT_SBGGR8});
    EXPECT_EQ(std::get<VideoFormat>(open("x")->format()).codec, fourCharCode("jpeg"));
    plugIn({.identity = "y", .formats = {V4L2_PIX_FMT_SBGGR8}, .format = V4L2_PIX_FMT_SBGGR8});
    EXPECT_EQ(failureOfOpening("y"), FailureKind::unsupported);
}

TEST_F(VideoDevicesTest, DeliversPicturesWithTheDriversTimesAndWithoutGapsBetweenRows) {
    PlayedCamera& camera = plugIn({.identity = "x", .gapBehindRows = 6});
    auto source = open("x");
    ASSERT_TRUE(source->start());
    for (int i = 1; i <= 20; ++i) {
        const auto unit = source->next();
        ASSERT_TRUE(unit);
        ASSERT_TRUE(*unit);
        EXPECT_EQ((*unit)->bytes, std::vector<std::byte>(4 * 2 * 2, static_cast<std::byte>(i)));
        EXPECT_EQ((*unit)->timeInNanoseconds, (99 + i) * 1'000'000'000LL + 250'000'000);
    }
    source->stop();
    EXPECT_FALSE(camera.streaming);
    EXPECT_EQ(camera.mapCount, 0);
    EXPECT_TRUE(camera.buffers.empty());
    source.reset();
    EXPECT_EQ(camera.openCount, 0);
}

TEST_F(VideoDevicesTest, PicturesThatTheDriverMarksAsDamagedAreSkipped) {
    plugIn({.identity = "x", .frameFlags = {0, V4L2_BUF_FLAG_ERROR}});
    auto source = open("x");
    ASSERT_TRUE(source->start());
    EXPECT_TRUE(source->next()->has_value());
    EXPECT_FALSE(source->next()->has_value());
    EXPECT_EQ((*source->next())->bytes[0], std::byte{3});
}

TEST_F(VideoDevicesTest, TimesOfAnUnknownClockAreReplacedByTheMomentOfTaking) {
    plugIn({.identity = "x", .hasMonotonicTimes = false});
    auto source = open("x");
    ASSERT_TRUE(source->start());
    const std::int64_t first = (*source->next())->timeInNanoseconds;
    EXPECT_NE(first, 100'250'000'000);
    EXPECT_GE((*source->next())->timeInNanoseconds, first);
}

TEST_F(VideoDevicesTest, FailsWhenTheDeviceIsPulledOutInTheMiddleAndCanStillBeStopped) {
    PlayedCamera& camera = plugIn({.identity = "x", .framesUntilUnplugged = 3});
    auto source = open("x");
    ASSERT_TRUE(source->start());
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(source->next());
    const auto gone = source->next();
    ASSERT_FALSE(gone);
    EXPECT_EQ(gone.failure().kind, FailureKind::notFound);
    EXPECT_FALSE(source->next());
    source->stop();
    EXPECT_EQ(camera.mapCount, 0);
}

TEST_F(VideoDevicesTest, AStartThatFailsGivesEverythingBack) {
    PlayedCamera& camera = plugIn({.identity = "x", .startError = ENOSPC});
    auto source = open("x");
    EXPECT_FALSE(source->start());
    EXPECT_EQ(camera.mapCount, 0);
    EXPECT_TRUE(camera.buffers.empty());
    PlayedCamera& poor = plugIn({.identity = "y", .mostBuffers = 1});
    EXPECT_FALSE(open("y")->start());
    EXPECT_EQ(poor.mapCount, 0);
}

TEST_F(VideoDevicesTest, DeliversNothingBeforeTheStartAndAfterTheStop) {
    plugIn({.identity = "x"});
    auto source = open("x");
    EXPECT_FALSE(source->next()->has_value());
    ASSERT_TRUE(source->start());
    source->stop();
    source->stop();
    EXPECT_FALSE(source->next()->has_value());
}

}  // namespace
}  // namespace TWQuickTime::capture
