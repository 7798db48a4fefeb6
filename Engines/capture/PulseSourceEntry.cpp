#include "Engines/capture/Private/PulseSourceEntry.h"

namespace TWQuickTime::capture {

PulseSourceEntry describePulseSource(const pa_source_info& info) {
    PulseSourceEntry source;
    source.device = {.kind = MediaKind::sound,
                     .name = info.description ? info.description : info.name,
                     .identity = info.name};
    source.samples = info.sample_spec;
    source.isMonitor = info.monitor_of_sink != PA_INVALID_INDEX;
    for (std::uint32_t i = 0; i < info.n_ports; ++i) {
        const pa_source_port_info& port = *info.ports[i];
        source.portNames.push_back(port.name);
        source.device.inputs.push_back({port.description ? port.description : port.name,
                                        port.available != PA_PORT_AVAILABLE_NO});
        if (info.ports[i] == info.active_port)
            source.device.selectedInput = i;
    }
    if (source.device.inputs.empty())
        source.device.inputs = {{source.device.name}};
    return source;
}

}  // namespace TWQuickTime::capture
