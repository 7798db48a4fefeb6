// A point of an audio player's volume envelope: how loud it is at a time. Between two points the
// volume changes linearly. Classes with values of their own override the accessors.
//
//     auto full = std::make_shared<TWQTVolumeEnvelopePoint>(0.0, 1.0);
//     auto silence = std::make_shared<TWQTVolumeEnvelopePoint>(10.0, 0.0);
//     player->setVolumeEnvelope(TWQTAudio::list({full, silence}));
#pragma once

#include "NSObject.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT TWQTVolumeEnvelopePoint : public NSObject {
  public:
    TWQTVolumeEnvelopePoint() = default;
    TWQTVolumeEnvelopePoint(double time, double volume);
    ~TWQTVolumeEnvelopePoint() override;

    /// Seconds, as TWQTAudio::currentTimeInSeconds counts them.
    virtual double time() const { return time_; }
    virtual void setTime(double time) { time_ = time; }
    /// A factor, meant to lie in 0 to 1.
    virtual double volume() const { return volume_; }
    virtual void setVolume(double volume) { volume_ = volume; }

  private:
    double time_ = 0.0;
    double volume_ = 0.0;
};

}  // namespace TWQuickTime
