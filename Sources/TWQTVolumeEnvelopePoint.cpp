#include "TWQTVolumeEnvelopePoint.h"

namespace TWQuickTime {

TWQTVolumeEnvelopePoint::TWQTVolumeEnvelopePoint(double time, double volume)
    : time_(time), volume_(volume) {}

TWQTVolumeEnvelopePoint::~TWQTVolumeEnvelopePoint() = default;

}  // namespace TWQuickTime
