#include "TWQTAudioMarker.h"

#include <utility>

namespace TWQuickTime {

TWQTAudioMarker::TWQTAudioMarker(double time, NSString name)
    : time_(time), name_(std::move(name)) {}

TWQTAudioMarker::~TWQTAudioMarker() = default;

}  // namespace TWQuickTime
