// Against a real sound server without hardware, started by each test.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>

#include "Engines/capture/CaptureClock.h"
#include "Engines/capture/SoundDevices.h"
#include "Engines/timeline/FourCharCode.h"
#include "PulseServer.h"

namespace TWQuickTime::capture {
namespace {

using result::FailureKind;
using testing::ElementsAre;
using testing::IsEmpty;
using timeline::fourCharCode;

std::vector<std::string> identities(DeviceBackEnd& backEnd) {
    std::vector<std::string> all;
    for (const Device& device : backEnd.devices(true))
        all.push_back(device.identity);
    return all;
}

class PulseDevicesTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!test::PulseServer::isInstalled())
            GTEST_SKIP() << "pulseaudio or pactl is not installed";
    }
    std::unique_ptr<DeviceBackEnd> backEnd = makePulseDevices();
};

constexpr const char* kSink =
    "module-null-sink sink_name=null rate=48000 norewinds=1 "
    "sink_properties=device.description=Speakers";
constexpr const char* kSource =
    "module-null-source source_name=mike rate=44100 channels=1 description=Mike";

TEST_F(PulseDevicesTest, ListsTheServersSourcesThoseThatListenToOutputsLast) {
    test::PulseServer server({kSink, kSource});
    const std::vector<Device> devices = backEnd->devices(true);
    ASSERT_EQ(devices.size(), 2u);
    EXPECT_EQ(devices[0].identity, "mike");
    EXPECT_EQ(devices[0].name, "Mike");
    ASSERT_EQ(devices[0].inputs.size(), 1u);
    EXPECT_EQ(devices[0].inputs[0].name, "Mike");
    EXPECT_EQ(devices[1].identity, "null.monitor");
    EXPECT_EQ(devices[1].name, "Monitor of Speakers");
}

TEST_F(PulseDevicesTest, TheDefaultSourceComesFirst) {
    test::PulseServer server({kSource, "module-null-source source_name=other"});
    server.control({"set-default-source", "other"});
    EXPECT_THAT(identities(*backEnd), ElementsAre("other", "mike"));
    server.control({"set-default-source", "mike"});
    EXPECT_THAT(identities(*backEnd), ElementsAre("mike", "other"));
}

TEST_F(PulseDevicesTest, SourcesThatArePluggedInAndOutAppearAndDisappear) {
    test::PulseServer server({kSource});
    EXPECT_THAT(identities(*backEnd), ElementsAre("mike"));
    const std::string module =
        server.control({"load-module", "module-null-source", "source_name=late"});
    EXPECT_THAT(identities(*backEnd), ElementsAre("mike", "late"));
    server.control({"unload-module", module});
    EXPECT_THAT(identities(*backEnd), ElementsAre("mike"));
}

TEST_F(PulseDevicesTest, WithoutAServerThereIsNothingAndNoneIsStarted) {
    test::PulseServer server({kSource});
    server.stop();
    EXPECT_THAT(backEnd->devices(true), IsEmpty());
    const auto source = backEnd->open("mike", 0);
    ASSERT_FALSE(source);
    EXPECT_EQ(source.failure().kind, FailureKind::notAvailable);
}

TEST_F(PulseDevicesTest, DeliversTheSourcesOwnRateAndChannelsWithTimesThatGoOn) {
    test::PulseServer server({kSource});
    auto source = backEnd->open("mike", 0);
    ASSERT_TRUE(source);
    const auto format = std::get<SoundFormat>((*source)->format());
    EXPECT_EQ(format.codec, fourCharCode("sowt"));
    EXPECT_EQ(format.sampleRate, 44100);
    EXPECT_EQ(format.channels, 1);
    ASSERT_TRUE((*source)->start());
    const std::int64_t began = CaptureClock::system().nanoseconds();
    std::size_t frames = 0;
    std::int64_t first = 0, last = 0;
    std::size_t framesOfLast = 0;
    while (frames < 44100 / 2) {
        auto unit = (*source)->next();
        ASSERT_TRUE(unit) << unit.failure().message;
        if (!*unit)
            continue;
        if (frames == 0)
            first = (*unit)->timeInNanoseconds;
        last = (*unit)->timeInNanoseconds;
        framesOfLast = (*unit)->bytes.size() / 2;
        frames += framesOfLast;
    }
    (*source)->stop();
    EXPECT_NEAR(static_cast<double>(first - began) * 1e-9, 0, 0.5);
    EXPECT_NEAR(static_cast<double>(last - first) * 1e-9,
                static_cast<double>(frames - framesOfLast) / 44100, 0.1);
}

TEST_F(PulseDevicesTest, WiderSamplesKeepTheirWidth) {
    test::PulseServer server({std::string(kSource) + " format=s32le"});
    auto source = backEnd->open("mike", 0);
    ASSERT_TRUE(source);
    EXPECT_EQ(std::get<SoundFormat>((*source)->format()).codec, fourCharCode("in24"));
}

TEST_F(PulseDevicesTest, FailsWhenTheSourceIsPulledOutInTheMiddle) {
    test::PulseServer server({});
    const std::string module =
        server.control({"load-module", "module-null-source", "source_name=loose"});
    auto source = backEnd->open("loose", 0);
    ASSERT_TRUE(source);
    ASSERT_TRUE((*source)->start());
    ASSERT_TRUE((*source)->next());
    server.control({"unload-module", module});
    result::Expected<std::optional<CapturedUnit>> unit = std::optional<CapturedUnit>();
    while (unit)
        unit = (*source)->next();
    EXPECT_EQ(unit.failure().kind, FailureKind::notFound);
    (*source)->stop();
}

TEST_F(PulseDevicesTest, FailsWhenTheServerGoesAwayInTheMiddle) {
    test::PulseServer server({kSource});
    auto source = backEnd->open("mike", 0);
    ASSERT_TRUE(source);
    ASSERT_TRUE((*source)->start());
    server.stop();
    result::Expected<std::optional<CapturedUnit>> unit = std::optional<CapturedUnit>();
    while (unit)
        unit = (*source)->next();
    EXPECT_EQ(unit.failure().kind, FailureKind::notFound);
}

TEST_F(PulseDevicesTest, RefusesSourcesAndInputsThatAreNotThere) {
    test::PulseServer server({kSource});
    EXPECT_EQ(backEnd->open("nobody", 0).failure().kind, FailureKind::notFound);
    EXPECT_EQ(backEnd->open("mike", 1).failure().kind, FailureKind::notFound);
}

TEST(SoundDevicesTest, AskTheHardwareWhereNoServerRuns) {
    test::EnvironmentVariables environment;
    environment.set("PULSE_SERVER", "unix:/nowhere");
    const auto both = makeSoundDevices();
    const auto hardware = makeAlsaDevices();
    EXPECT_EQ(identities(*both), identities(*hardware));
}

TEST(AlsaDevicesTest, DeliverSoundThroughTheLibrarysConversion) {
    // The library's own device without hardware: silence.
    auto source = makeAlsaDevices()->open("null", 0);
    if (!source && source.failure().kind == FailureKind::notFound)
        GTEST_SKIP() << "libasound or its configuration is not installed";
    ASSERT_TRUE(source) << source.failure().message;
    const auto format = std::get<SoundFormat>((*source)->format());
    EXPECT_EQ(format.sampleRate, 48000);
    EXPECT_EQ(format.channels, 2);
    ASSERT_TRUE((*source)->start());
    const auto unit = (*source)->next();
    ASSERT_TRUE(unit) << unit.failure().message;
    ASSERT_TRUE(*unit);
    EXPECT_EQ((*unit)->bytes.size() % 4, 0u);
    (*source)->stop();
    EXPECT_FALSE((*source)->next()->has_value());
}

TEST(AlsaDevicesTest, RefuseADeviceThatIsNotThere) {
    EXPECT_FALSE(makeAlsaDevices()->open("plughw:CARD=nobody,DEV=0", 0));
    EXPECT_FALSE(makeAlsaDevices()->open("null", 1));
}

}  // namespace
}  // namespace TWQuickTime::capture
