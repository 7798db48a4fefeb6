// A sequence grabber: its channels, its file, and the recording while there is one.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Engines/capture/GrowingMovie.h"
#include "Engines/capture/Recording.h"
#include "NSString.h"
#include "Private/ComponentRegistry.h"
#include "Private/GrabberChannel.h"
#include "SequenceGrabber.h"

namespace TWQuickTime {

class Grabber : public ComponentStorage {
  public:
    Grabber();
    ~Grabber() override;

    bool isRecording() const { return mode_->recording; }
    void offerTestPattern(bool offered) { mode_->testPatternOffered = offered; }
    OSErr setOutput(const NSString& path, std::int32_t whereFlags);
    OSErr addChannel(OSType channelType, SGChannel* instance);
    OSErr disposeChannel(SGChannel instance);

    OSErr prepare();
    void release();
    OSErr startRecord();
    OSErr idle() const;
    OSErr stop();

  private:
    struct ChannelInstance {
        SGChannel instance = nullptr;
        /// Gone when the instance was closed by itself.
        std::weak_ptr<GrabberChannel> channel;
    };
    /// The channels that take part in recordings.
    std::vector<std::shared_ptr<GrabberChannel>> recordingChannels() const;

    std::shared_ptr<GrabberMode> mode_ = std::make_shared<GrabberMode>();
    std::vector<ChannelInstance> channels_;
    std::string path_;
    std::unique_ptr<capture::GrowingMovie> movie_;  ///< of the present file, once it was begun
    std::unique_ptr<capture::Recording> recording_;
};

}  // namespace TWQuickTime
