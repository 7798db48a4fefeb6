// Between the codec library's types of samples and ours (interleaved floating point), at the same
// rate and channels. Sound beyond full scale stops at it where the type ends there.
#pragma once

#include <span>
#include <vector>

#include "Engines/codec/Private/Native.h"

struct SwrContext;

namespace TWQuickTime::codec {

class SampleTypeConverter {
  public:
    SampleTypeConverter() = default;
    ~SampleTypeConverter();
    SampleTypeConverter(const SampleTypeConverter&) = delete;
    SampleTypeConverter& operator=(const SampleTypeConverter&) = delete;

    /// Appends a decoded frame's samples.
    result::Status append(const AVFrame& frame, std::vector<float>& to);
    /// Fills a frame that has its type, its channels and room for the samples.
    result::Status fill(AVFrame& frame, std::span<const float> interleaved);

  private:
    result::Status prepare(AVSampleFormat from, AVSampleFormat to, int channels);

    SwrContext* context_ = nullptr;
    AVSampleFormat from_ = AV_SAMPLE_FMT_NONE, to_ = AV_SAMPLE_FMT_NONE;
    int channels_ = 0;
};

}  // namespace TWQuickTime::codec
