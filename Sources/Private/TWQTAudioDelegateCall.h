// How a player calls a method of its delegate that the delegate may not have.
//
//     tell(*this, &TWQTAudioDelegate::didStopPlayingAudio, atEnd);
#pragma once

#include <functional>
#include <memory>

#include "TWQTAudio.h"

namespace TWQuickTime {

template <class... Parameters, class... Arguments>
void tell(TWQTAudio& audio,
          std::function<void(TWQTAudio&, Parameters...)> TWQTAudioDelegate::*member,
          Arguments... arguments) {
    const auto delegate = std::dynamic_pointer_cast<TWQTAudioDelegate>(audio.delegate());
    if (!delegate || !((*delegate).*member))
        return;
    // A copy: the call may take the method away from the delegate.
    const auto method = (*delegate).*member;
    method(audio, arguments...);
}

}  // namespace TWQuickTime
