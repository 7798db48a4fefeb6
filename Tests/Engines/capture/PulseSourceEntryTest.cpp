// Sources with ports belong to sound cards, which machines that run tests seldom have.
#include "Engines/capture/Private/PulseSourceEntry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace TWQuickTime::capture {
namespace {

using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

class PulseSourceEntryTest : public testing::Test {
  protected:
    PulseSourceEntryTest() {
        info.name = "alsa_input.pci";
        info.description = "Built-in Audio";
        info.monitor_of_sink = PA_INVALID_INDEX;
    }
    pa_source_port_info* add(const char* name, const char* description, int available) {
        pa_source_port_info& port = ports[count];
        port.name = name;
        port.description = description;
        port.available = available;
        list[count++] = &port;
        info.ports = list;
        info.n_ports = count;
        return &port;
    }

    pa_source_info info{};

  private:
    pa_source_port_info ports[4]{};
    pa_source_port_info* list[5]{};
    std::uint32_t count = 0;
};

TEST_F(PulseSourceEntryTest, PortsAreInputsByTheirDescriptions) {
    add("analog-input-mic", "Microphone", PA_PORT_AVAILABLE_UNKNOWN);
    info.active_port = add("analog-input-linein", "Line In", PA_PORT_AVAILABLE_YES);
    const PulseSourceEntry entry = describePulseSource(info);
    EXPECT_EQ(entry.device.name, "Built-in Audio");
    EXPECT_EQ(entry.device.identity, "alsa_input.pci");
    EXPECT_THAT(entry.device.inputs, ElementsAre(Field(&DeviceInput::name, "Microphone"),
                                                 Field(&DeviceInput::name, "Line In")));
    EXPECT_THAT(entry.portNames, ElementsAre("analog-input-mic", "analog-input-linein"));
    EXPECT_EQ(entry.device.selectedInput, 1u);
}

TEST_F(PulseSourceEntryTest, APortIsAvailableUnlessNothingIsPluggedIn) {
    add("a", "A", PA_PORT_AVAILABLE_YES);
    add("b", "B", PA_PORT_AVAILABLE_NO);
    add("c", "C", PA_PORT_AVAILABLE_UNKNOWN);
    EXPECT_THAT(
        describePulseSource(info).device.inputs,
        ElementsAre(Field(&DeviceInput::available, true), Field(&DeviceInput::available, false),
                    Field(&DeviceInput::available, true)));
}

TEST_F(PulseSourceEntryTest, NamesStandInForDescriptionsThatAreMissing) {
    info.description = nullptr;
    add("a", nullptr, PA_PORT_AVAILABLE_YES);
    const PulseSourceEntry entry = describePulseSource(info);
    EXPECT_EQ(entry.device.name, "alsa_input.pci");
    EXPECT_EQ(entry.device.inputs[0].name, "a");
}

TEST_F(PulseSourceEntryTest, ASourceWithoutPortsHasOneInputNamedLikeIt) {
    info.monitor_of_sink = 3;
    const PulseSourceEntry entry = describePulseSource(info);
    EXPECT_THAT(entry.device.inputs, ElementsAre(Field(&DeviceInput::name, "Built-in Audio")));
    EXPECT_THAT(entry.portNames, IsEmpty());
    EXPECT_TRUE(entry.isMonitor);
}

}  // namespace
}  // namespace TWQuickTime::capture
