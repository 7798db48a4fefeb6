// An open node of a video device: its descriptor, closed with the object, and its requests.
#pragma once

#include <linux/videodev2.h>

#include <cerrno>
#include <memory>
#include <string>
#include <utility>

#include "Engines/capture/VideoSystem.h"
#include "Engines/result/Result.h"

namespace TWQuickTime::capture {

class VideoNodeFile {
  public:
    VideoNodeFile(std::shared_ptr<VideoSystem> system, std::string path)
        : system_(std::move(system)), path_(std::move(path)), descriptor_(system_->open(path_)) {}
    ~VideoNodeFile() {
        if (isOpen())
            system_->close(descriptor_);
    }
    VideoNodeFile(VideoNodeFile&& other) noexcept
        : system_(std::move(other.system_)),
          path_(std::move(other.path_)),
          descriptor_(std::exchange(other.descriptor_, -EBADF)) {}
    VideoNodeFile& operator=(VideoNodeFile&&) = delete;

    bool isOpen() const { return descriptor_ >= 0; }
    /// Why it is not open: an error number.
    int openError() const { return -descriptor_; }
    int descriptor() const { return descriptor_; }
    const std::string& path() const { return path_; }
    VideoSystem& system() const { return *system_; }

    /// @return 0 and above, or a negative error number
    template <class Record>
    int ask(unsigned long request, Record& record) const {
        return system_->control(descriptor_, request, &record);
    }
    result::Failure failure(int negativeError, const char* what) const {
        const int error = -negativeError;
        result::Failure failed = result::systemFailure(error, path_ + ": " + what);
        if (error == EBUSY)
            failed.kind = result::FailureKind::notAvailable;
        else if (error == ENODEV || error == ENXIO || error == ENOENT)
            failed = {result::FailureKind::notFound, failed.message, ENODEV};
        return failed;
    }

  private:
    std::shared_ptr<VideoSystem> system_;
    std::string path_;
    int descriptor_;
};

}  // namespace TWQuickTime::capture
