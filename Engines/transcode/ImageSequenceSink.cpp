#include "Engines/transcode/ImageSequenceSink.h"

#include <unistd.h>

#include <cstdio>

#include "Engines/moviefile/ReplacementFile.h"

namespace TWQuickTime::transcode {

using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

class ImageSequenceSink : public MediaSink {
  public:
    ImageSequenceSink(moviefile::FileStorage& storage, const std::string& destination)
        : first_(storage) {
        const std::size_t slash = destination.rfind('/');
        const std::size_t name = slash == std::string::npos ? 0 : slash + 1;
        const std::size_t dot = destination.rfind('.');
        const bool hasExtension = dot != std::string::npos && dot > name;
        stem_ = hasExtension ? destination.substr(0, dot) : destination;
        extension_ = hasExtension ? destination.substr(dot) : "";
    }

    ~ImageSequenceSink() override {
        if (!finished_) {
            for (const std::string& path : written_) {
                unlink(path.c_str());
            }
        }
    }

    Status addVideo(const VideoStream&) override { return {}; }
    Status addSound(const SoundStream&) override {
        return Failure{FailureKind::unsupported, "a sequence of images has no sound", 0};
    }
    Status begin(Passengers) override { return {}; }

    Status writeVideo(const codec::Packet& packet) override {
        ++number_;
        if (number_ == 1) {
            return first_.write(0, packet.bytes);
        }
        char digits[16];
        std::snprintf(digits, sizeof digits, " %04d", number_);
        const std::string path = stem_ + digits + extension_;
        auto file = moviefile::ReplacementFile::create(path);
        if (!file) {
            return file.failure();
        }
        if (auto status = file->storage().write(0, packet.bytes); !status) {
            return status;
        }
        if (auto status = file->commit(); !status) {
            return status;
        }
        written_.push_back(path);
        return {};
    }

    Status writeSound(const codec::Packet&) override { return {}; }
    Status finish() override {
        finished_ = true;
        return {};
    }

  private:
    moviefile::FileStorage& first_;
    std::string stem_;
    std::string extension_;
    std::vector<std::string> written_;
    int number_ = 0;
    bool finished_ = false;
};

}  // namespace

std::unique_ptr<MediaSink> makeImageSequenceSink(moviefile::FileStorage& storage,
                                                 const std::string& destination) {
    return std::make_unique<ImageSequenceSink>(storage, destination);
}

}  // namespace TWQuickTime::transcode
