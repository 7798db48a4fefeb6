// A point on an audio player's time line at which its delegate is told so.
//
// The player reads only the time; the name is for the application. Classes with values of their
// own override the accessors.
//
//     auto chorus = std::make_shared<TWQTAudioMarker>(62.5, "Chorus");
//     player->setMarkers(TWQTAudio::list({chorus}));
#pragma once

#include "NSObject.h"
#include "NSString.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT TWQTAudioMarker : public NSObject {
  public:
    TWQTAudioMarker() = default;
    explicit TWQTAudioMarker(double time, NSString name = nullptr);
    ~TWQTAudioMarker() override;

    /// Seconds, as TWQTAudio::currentTimeInSeconds counts them.
    virtual double time() const { return time_; }
    virtual void setTime(double time) { time_ = time; }
    virtual NSString name() const { return name_; }
    virtual void setName(const NSString& name) { name_ = name; }

  private:
    double time_ = 0.0;
    NSString name_ = nullptr;
};

}  // namespace TWQuickTime
