// Decodes Photo-JPEG samples with libjpeg-turbo, which is faster than the general decoder; what it
// does not take (two fields in a sample, unusual subsampling) goes to the general one.
#pragma once

#include <memory>

#include "Engines/codec/VideoDecoder.h"

namespace TWQuickTime::codec {

/// @param otherwise  decodes the samples that are not plain baseline or progressive pictures
std::unique_ptr<VideoDecoder> makeJpegDecoder(VideoDescription description,
                                              std::unique_ptr<VideoDecoder> otherwise);

}  // namespace TWQuickTime::codec
