// Fills a take with what its plan says, at the device's rate.
#pragma once

#include <memory>
#include <vector>

#include "Engines/codec/Resampler.h"
#include "Engines/playback/LapReader.h"
#include "Engines/playback/Take.h"

namespace TWQuickTime::playback {

class TakeWriter {
  public:
    /// @param laps  outlives the writing of this take, and so does the take
    void begin(Take& take, LapReader& laps);
    /// Writes nothing until the next begin().
    void forget() { take_ = nullptr; }

    /// Decodes and writes one piece. False when there is no room for one, or nothing more to write.
    bool writePiece();
    /// Of the present take.
    std::int64_t framesWritten() const { return written_; }

  private:
    void produce(std::size_t frames);

    Take* take_ = nullptr;
    LapReader* laps_ = nullptr;
    std::unique_ptr<codec::Resampler> resampler_;
    std::int64_t written_ = 0;    ///< frames of the take
    std::int64_t movieLeft_ = 0;  ///< movie frames that the resampler has not got
    std::vector<float> movieSound_;
    std::vector<float> output_;  ///< from outputStart_ on not yet written
    std::size_t outputStart_ = 0;
};

}  // namespace TWQuickTime::playback
