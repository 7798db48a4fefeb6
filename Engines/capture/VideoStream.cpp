#include "Engines/capture/Private/VideoStream.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <vector>

#include "Engines/capture/CaptureClock.h"
#include "Engines/codec/ByteOrder.h"

namespace TWQuickTime::capture {

using codec::fourCode;
using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

constexpr std::uint32_t kBufferCount = 8;
constexpr std::uint32_t kFewestBuffers = 2;
constexpr int kLongestSide = 32768;

struct KnownFormat {
    std::uint32_t pixelFormat;  ///< the driver's
    std::uint32_t codec;        ///< the movie's
    int bytesPerPixel;          ///< 0: compressed
};

/// In the order of preference where the device's present format cannot be recorded.
constexpr std::array<KnownFormat, 6> kFormats{{
    {V4L2_PIX_FMT_MJPEG, fourCode("jpeg"), 0},
    {V4L2_PIX_FMT_JPEG, fourCode("jpeg"), 0},
    {V4L2_PIX_FMT_H264, fourCode("avc1"), 0},
    {V4L2_PIX_FMT_YUYV, fourCode("yuvs"), 2},
    {V4L2_PIX_FMT_UYVY, fourCode("2vuy"), 2},
    {V4L2_PIX_FMT_RGB24, fourCode("raw "), 3},
}};

const KnownFormat* knownFormat(std::uint32_t pixelFormat) {
    const auto* found = std::find_if(kFormats.begin(), kFormats.end(), [&](const KnownFormat& f) {
        return f.pixelFormat == pixelFormat;
    });
    return found == kFormats.end() ? nullptr : found;
}

/// The format that the device is set to when it can be recorded, else the first one that can.
Expected<v4l2_format> chooseFormat(const VideoNodeFile& file) {
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (const int status = file.ask(VIDIOC_G_FMT, format); status < 0)
        return file.failure(status, "tells no format");
    std::vector<std::uint32_t> wanted = {format.fmt.pix.pixelformat};
    for (const KnownFormat& known : kFormats)
        wanted.push_back(known.pixelFormat);
    for (const std::uint32_t pixelFormat : wanted) {
        if (!knownFormat(pixelFormat))
            continue;
        v4l2_format tried = format;
        tried.fmt.pix.pixelformat = pixelFormat;
        tried.fmt.pix.field = V4L2_FIELD_ANY;
        tried.fmt.pix.bytesperline = 0;
        const int status = file.ask(VIDIOC_S_FMT, tried);
        if (status == -EBUSY || status == -ENODEV)
            return file.failure(status, "the format could not be set");
        if (status >= 0 && tried.fmt.pix.pixelformat == pixelFormat)
            return tried;
    }
    return Failure{FailureKind::unsupported,
                   file.path() + ": delivers no pictures that a movie can hold"};
}

double framesPerSecondOf(const VideoNodeFile& file) {
    v4l2_streamparm parameters{};
    parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    const v4l2_fract& frame = parameters.parm.capture.timeperframe;
    if (file.ask(VIDIOC_G_PARM, parameters) < 0 || frame.numerator == 0 || frame.denominator == 0)
        return VideoFormat().framesPerSecond;
    return static_cast<double>(frame.denominator) / frame.numerator;
}

/// Buffers of the driver, mapped; unmapped with the object.
class SharedBuffers {
  public:
    explicit SharedBuffers(VideoSystem& system) : system_(system) {}
    ~SharedBuffers() { release(); }
    SharedBuffers(const SharedBuffers&) = delete;
    SharedBuffers& operator=(const SharedBuffers&) = delete;

    Status map(int descriptor, const v4l2_buffer& buffer) {
        void* address = system_.map(descriptor, buffer.length, buffer.m.offset);
        if (!address)
            return Failure{FailureKind::limit, "buffers could not be mapped"};
        views_.push_back({static_cast<const std::byte*>(address), buffer.length});
        return {};
    }
    void release() {
        for (const auto& view : views_)
            system_.unmap(const_cast<std::byte*>(view.data()), view.size());
        views_.clear();
    }
    std::size_t count() const { return views_.size(); }
    std::span<const std::byte> operator[](std::size_t index) const { return views_[index]; }

  private:
    VideoSystem& system_;
    std::vector<std::span<const std::byte>> views_;
};

class VideoStream : public DeviceSource {
  public:
    VideoStream(VideoNodeFile file, const v4l2_pix_format& pixels, double framesPerSecond)
        : file_(std::move(file)),
          buffers_(file_.system()),
          bytesPerRow_(pixels.bytesperline),
          known_(*knownFormat(pixels.pixelformat)),
          format_(VideoFormat{known_.codec, static_cast<int>(pixels.width),
                              static_cast<int>(pixels.height), framesPerSecond}) {}
    ~VideoStream() override { VideoStream::stop(); }

    const StreamFormat& format() const override { return format_; }

    Status start() override {
        v4l2_requestbuffers request = bufferRequest(kBufferCount);
        if (const int status = file_.ask(VIDIOC_REQBUFS, request); status < 0)
            return file_.failure(status, "gives no buffers");
        if (request.count < kFewestBuffers)
            return Failure{FailureKind::limit, file_.path() + ": gives too few buffers"};
        for (std::uint32_t i = 0; i < request.count; ++i) {
            v4l2_buffer buffer = bufferRecord();
            buffer.index = i;
            if (const int status = file_.ask(VIDIOC_QUERYBUF, buffer); status < 0)
                return abandon(file_.failure(status, "tells nothing of its buffers"));
            if (Status mapped = buffers_.map(file_.descriptor(), buffer); !mapped)
                return abandon(mapped.failure());
            if (const int status = file_.ask(VIDIOC_QBUF, buffer); status < 0)
                return abandon(file_.failure(status, "takes no buffers"));
        }
        int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (const int status = file_.ask(VIDIOC_STREAMON, type); status < 0)
            return abandon(file_.failure(status, "could not be started"));
        running_ = true;
        return {};
    }

    void stop() override {
        if (running_) {
            int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
            file_.ask(VIDIOC_STREAMOFF, type);
            running_ = false;
        }
        giveBackBuffers();
    }

    Expected<std::optional<CapturedUnit>> next() override {
        if (!running_)
            return std::optional<CapturedUnit>();
        const int ready =
            file_.system().wait(file_.descriptor(), int{kLongestWaitInNanoseconds / 1'000'000});
        if (ready < 0)
            return file_.failure(ready, "went away");
        if (ready == 0)
            return std::optional<CapturedUnit>();
        v4l2_buffer buffer = bufferRecord();
        const int status = file_.ask(VIDIOC_DQBUF, buffer);
        if (status == -EAGAIN)
            return std::optional<CapturedUnit>();
        // EIO is a picture that was lost on its way; the device is still there.
        if (status == -EIO)
            return std::optional<CapturedUnit>();
        if (status < 0)
            return file_.failure(status, "went away");
        std::optional<CapturedUnit> unit = take(buffer);
        if (const int queued = file_.ask(VIDIOC_QBUF, buffer); queued < 0)
            return file_.failure(queued, "went away");
        return unit;
    }

  private:
    static v4l2_buffer bufferRecord() {
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        return buffer;
    }
    static v4l2_requestbuffers bufferRequest(std::uint32_t count) {
        v4l2_requestbuffers request{};
        request.count = count;
        request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        request.memory = V4L2_MEMORY_MMAP;
        return request;
    }

    Failure abandon(Failure failure) {
        giveBackBuffers();
        return failure;
    }
    void giveBackBuffers() {
        if (buffers_.count() == 0)
            return;
        buffers_.release();
        v4l2_requestbuffers none = bufferRequest(0);
        file_.ask(VIDIOC_REQBUFS, none);
    }

    /// None for a picture that the driver marks as damaged or that is no whole picture.
    std::optional<CapturedUnit> take(const v4l2_buffer& buffer) const {
        if ((buffer.flags & V4L2_BUF_FLAG_ERROR) || buffer.index >= buffers_.count())
            return std::nullopt;
        const std::span<const std::byte> filled = buffers_[buffer.index].first(
            std::min<std::size_t>(buffer.bytesused, buffers_[buffer.index].size()));
        CapturedUnit unit;
        unit.timeInNanoseconds = timeOf(buffer);
        if (known_.bytesPerPixel == 0)
            unit.bytes.assign(filled.begin(), filled.end());
        else if (!copyRows(filled, unit.bytes))
            return std::nullopt;
        if (unit.bytes.empty())
            return std::nullopt;
        return unit;
    }

    /// Movies hold rows without the driver's gaps between them.
    bool copyRows(std::span<const std::byte> filled, std::vector<std::byte>& to) const {
        const auto& format = std::get<VideoFormat>(format_);
        const auto row = static_cast<std::size_t>(format.width * known_.bytesPerPixel);
        const std::size_t stride = std::max<std::size_t>(bytesPerRow_, row);
        const auto rows = static_cast<std::size_t>(format.height);
        if (filled.size() < stride * (rows - 1) + row)
            return false;
        to.reserve(row * rows);
        for (std::size_t y = 0; y < rows; ++y) {
            const std::span<const std::byte> from = filled.subspan(y * stride, row);
            to.insert(to.end(), from.begin(), from.end());
        }
        return true;
    }

    static std::int64_t timeOf(const v4l2_buffer& buffer) {
        if ((buffer.flags & V4L2_BUF_FLAG_TIMESTAMP_MASK) != V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC)
            return CaptureClock::system().nanoseconds();
        return std::int64_t{buffer.timestamp.tv_sec} * 1'000'000'000 +
               std::int64_t{buffer.timestamp.tv_usec} * 1000;
    }

    VideoNodeFile file_;
    SharedBuffers buffers_;
    std::size_t bytesPerRow_;
    KnownFormat known_;
    StreamFormat format_;
    bool running_ = false;
};

}  // namespace

Expected<std::unique_ptr<DeviceSource>> openVideoStream(VideoNodeFile file) {
    auto format = chooseFormat(file);
    if (!format)
        return format.failure();
    const v4l2_pix_format& pixels = format->fmt.pix;
    if (pixels.width < 1 || pixels.height < 1 || pixels.width > kLongestSide ||
        pixels.height > kLongestSide)
        return Failure{FailureKind::unsupported, file.path() + ": pictures of an impossible size"};
    const double framesPerSecond = framesPerSecondOf(file);
    return std::unique_ptr<DeviceSource>(
        std::make_unique<VideoStream>(std::move(file), pixels, framesPerSecond));
}

}  // namespace TWQuickTime::capture
