// A V4L2 driver as a test plays it: cameras with inputs, formats and moods.
#pragma once

#include <linux/videodev2.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Engines/capture/VideoSystem.h"

namespace TWQuickTime::test {

struct PlayedInput {
    std::string name;
    std::uint32_t status = 0;
};

struct PlayedCamera {
    std::string card = "Camera";
    std::string busInfo = "usb-1.2";
    std::string identity = {};  ///< as the device manager gives it
    std::vector<PlayedInput> inputs = {{"Camera 1"}};
    int input = 0;
    std::vector<std::uint32_t> formats = {V4L2_PIX_FMT_YUYV};
    std::uint32_t format = V4L2_PIX_FMT_YUYV;
    std::uint32_t width = 4, height = 2;
    std::uint32_t gapBehindRows = 0;
    std::uint32_t capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    int openError = 0;
    bool usedElsewhere = false;
    int formatError = 0;
    int startError = 0;
    std::uint32_t mostBuffers = 32;
    /// Frames until the device is pulled out; negative: never.
    int framesUntilUnplugged = -1;
    std::vector<std::uint32_t> frameFlags = {};  ///< of the first frames
    bool hasMonotonicTimes = true;

    // What happened.
    bool plugged = true;
    bool streaming = false;
    int framesGiven = 0;
    int openCount = 0;
    int mapCount = 0;
    std::vector<std::vector<std::byte>> buffers = {};
    std::vector<std::uint32_t> queued = {};
};

class PlayedDriver : public capture::VideoSystem {
  public:
    PlayedCamera& add(PlayedCamera camera) {
        cameras_.push_back(std::make_unique<PlayedCamera>(std::move(camera)));
        return *cameras_.back();
    }

    std::vector<capture::DeviceNode> nodes() override {
        std::vector<capture::DeviceNode> all;
        for (std::size_t i = 0; i < cameras_.size(); ++i) {
            if (cameras_[i]->plugged)
                all.push_back({"/dev/video" + std::to_string(i), "Node " + std::to_string(i),
                               cameras_[i]->identity});
        }
        return all;
    }

    int open(const std::string& path) override {
        PlayedCamera& camera = *cameras_.at(std::stoul(path.substr(10)));
        if (!camera.plugged)
            return -ENODEV;
        if (camera.openError)
            return -camera.openError;
        ++camera.openCount;
        open_[++lastDescriptor_] = &camera;
        return lastDescriptor_;
    }
    void close(int descriptor) override {
        --open_.at(descriptor)->openCount;
        open_.erase(descriptor);
    }

    int control(int descriptor, unsigned long request, void* argument) override {
        PlayedCamera& camera = *open_.at(descriptor);
        if (!camera.plugged)
            return -ENODEV;
        switch (request) {
            case VIDIOC_QUERYCAP:
                return capability(camera, *static_cast<v4l2_capability*>(argument));
            case VIDIOC_ENUMINPUT:
                return input(camera, *static_cast<v4l2_input*>(argument));
            case VIDIOC_G_INPUT:
                *static_cast<int*>(argument) = camera.input;
                return camera.inputs.empty() ? -ENOTTY : 0;
            case VIDIOC_S_INPUT:
                return selectInput(camera, *static_cast<int*>(argument));
            case VIDIOC_G_FMT:
                describe(camera, camera.format, *static_cast<v4l2_format*>(argument));
                return 0;
            case VIDIOC_S_FMT:
                return setFormat(camera, *static_cast<v4l2_format*>(argument));
            case VIDIOC_REQBUFS:
                return requestBuffers(camera, *static_cast<v4l2_requestbuffers*>(argument));
            case VIDIOC_QUERYBUF:
                return queryBuffer(camera, *static_cast<v4l2_buffer*>(argument));
            case VIDIOC_QBUF:
                camera.queued.push_back(static_cast<v4l2_buffer*>(argument)->index);
                return 0;
            case VIDIOC_DQBUF:
                return giveFrame(camera, *static_cast<v4l2_buffer*>(argument));
            case VIDIOC_STREAMON:
                camera.streaming = camera.startError == 0;
                return -camera.startError;
            case VIDIOC_STREAMOFF:
                camera.streaming = false;
                return 0;
            default:
                return -ENOTTY;
        }
    }

    void* map(int descriptor, std::size_t, std::uint32_t offset) override {
        PlayedCamera& camera = *open_.at(descriptor);
        ++camera.mapCount;
        mapped_[camera.buffers.at(offset).data()] = &camera;
        return camera.buffers.at(offset).data();
    }
    void unmap(void* address, std::size_t) override { --mapped_.at(address)->mapCount; }
    int wait(int descriptor, int) override { return open_.at(descriptor)->streaming ? 1 : 0; }

  private:
    template <std::size_t Size>
    static void put(__u8 (&field)[Size], const std::string& text) {
        // As drivers do, without an end where the text fills the field.
        std::memcpy(field, text.data(), std::min(text.size(), Size));
    }
    static int capability(const PlayedCamera& camera, v4l2_capability& to) {
        put(to.card, camera.card);
        put(to.bus_info, camera.busInfo);
        to.capabilities = camera.capabilities | V4L2_CAP_DEVICE_CAPS;
        to.device_caps = camera.capabilities;
        return 0;
    }
    static int input(const PlayedCamera& camera, v4l2_input& to) {
        if (camera.inputs.empty())
            return -ENOTTY;
        if (to.index >= camera.inputs.size())
            return -EINVAL;
        put(to.name, camera.inputs[to.index].name);
        to.status = camera.inputs[to.index].status;
        return 0;
    }
    static int selectInput(PlayedCamera& camera, int index) {
        if (camera.inputs.empty())
            return -ENOTTY;
        if (camera.usedElsewhere)
            return -EBUSY;
        if (index < 0 || static_cast<std::size_t>(index) >= camera.inputs.size())
            return -EINVAL;
        camera.input = index;
        return 0;
    }
    static void describe(const PlayedCamera& camera, std::uint32_t pixelFormat, v4l2_format& to) {
        to.fmt.pix.width = camera.width;
        to.fmt.pix.height = camera.height;
        to.fmt.pix.pixelformat = pixelFormat;
        to.fmt.pix.bytesperline =
            pixelFormat == V4L2_PIX_FMT_MJPEG ? 0 : camera.width * 2 + camera.gapBehindRows;
        to.fmt.pix.sizeimage = (camera.width * 2 + camera.gapBehindRows) * camera.height;
    }
    static int setFormat(PlayedCamera& camera, v4l2_format& format) {
        if (camera.formatError)
            return -camera.formatError;
        const bool has = std::find(camera.formats.begin(), camera.formats.end(),
                                   format.fmt.pix.pixelformat) != camera.formats.end();
        // A driver answers with what it does instead.
        camera.format = has ? format.fmt.pix.pixelformat : camera.formats.front();
        describe(camera, camera.format, format);
        return 0;
    }
    static int requestBuffers(PlayedCamera& camera, v4l2_requestbuffers& request) {
        if (camera.usedElsewhere)
            return -EBUSY;
        request.count = std::min(request.count, camera.mostBuffers);
        camera.buffers.assign(
            request.count,
            std::vector<std::byte>((camera.width * 2 + camera.gapBehindRows) * camera.height));
        camera.queued.clear();
        return 0;
    }
    static int queryBuffer(const PlayedCamera& camera, v4l2_buffer& buffer) {
        if (buffer.index >= camera.buffers.size())
            return -EINVAL;
        buffer.length = static_cast<std::uint32_t>(camera.buffers[buffer.index].size());
        buffer.m.offset = buffer.index;
        return 0;
    }
    static int giveFrame(PlayedCamera& camera, v4l2_buffer& buffer) {
        if (camera.framesUntilUnplugged >= 0 && camera.framesGiven == camera.framesUntilUnplugged) {
            camera.plugged = false;
            return -ENODEV;
        }
        if (camera.queued.empty())
            return -EAGAIN;
        buffer.index = camera.queued.front();
        camera.queued.erase(camera.queued.begin());
        const auto frame = static_cast<std::size_t>(camera.framesGiven++);
        std::vector<std::byte>& bytes = camera.buffers[buffer.index];
        std::fill(bytes.begin(), bytes.end(), static_cast<std::byte>(frame + 1));
        buffer.bytesused = static_cast<std::uint32_t>(bytes.size());
        buffer.flags = frame < camera.frameFlags.size() ? camera.frameFlags[frame] : 0;
        if (camera.hasMonotonicTimes)
            buffer.flags |= V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
        buffer.timestamp.tv_sec = 100 + static_cast<std::int64_t>(frame);
        buffer.timestamp.tv_usec = 250'000;
        return 0;
    }

    std::vector<std::unique_ptr<PlayedCamera>> cameras_;
    std::map<int, PlayedCamera*> open_;
    std::map<void*, PlayedCamera*> mapped_;
    int lastDescriptor_ = 2;
};

}  // namespace TWQuickTime::test
