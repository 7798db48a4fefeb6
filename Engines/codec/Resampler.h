// Changes the rate and the channels of running sound.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "Engines/result/Result.h"

namespace TWQuickTime::codec {

struct SoundFormat {
    int channels = 2;
    double sampleRate = 48000;
    friend bool operator==(const SoundFormat&, const SoundFormat&) = default;
};

/// Channels are mixed by the usual coefficients of their default positions, kept below full scale
/// only by the caller. One thread at a time.
class Resampler {
  public:
    static result::Expected<std::unique_ptr<Resampler>> make(SoundFormat from, SoundFormat to);
    ~Resampler();

    /// Appends what comes out; the filter holds some frames back until more follow.
    result::Status convert(std::span<const float> interleaved, std::vector<float>& appendTo);
    /// Appends what the filter still holds back. Afterwards it may be used for new sound.
    result::Status drain(std::vector<float>& appendTo);

  private:
    struct State;
    explicit Resampler(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

}  // namespace TWQuickTime::codec
