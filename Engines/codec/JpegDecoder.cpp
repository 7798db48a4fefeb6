#include "Engines/codec/JpegDecoder.h"

#include <array>
#include <deque>

#include "Engines/codec/Private/JpegErrors.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Status;

namespace {

/// One decompressor kept for all pictures.
class Decompressor {
  public:
    Decompressor() {
        errors_.install();
        info_.err = &errors_.manager;
        jpeg_create_decompress(&info_);
    }
    ~Decompressor() { jpeg_destroy_decompress(&info_); }
    Decompressor(const Decompressor&) = delete;
    Decompressor& operator=(const Decompressor&) = delete;

    /// The planes of one picture; none when it is not of a kind that is read here.
    std::optional<VideoFrame> decode(Bytes jpeg) {
        frame_ = VideoFrame();
        if (setjmp(errors_.back) != 0) {
            jpeg_abort_decompress(&info_);
            return std::nullopt;
        }
        errors_.warnings = 0;
        jpeg_mem_src(&info_, reinterpret_cast<const unsigned char*>(jpeg.data()), jpeg.size());
        jpeg_read_header(&info_, TRUE);
        if (!begin()) {
            jpeg_abort_decompress(&info_);
            return std::nullopt;
        }
        info_.raw_data_out = TRUE;
        info_.do_fancy_upsampling = FALSE;
        info_.dct_method = JDCT_ISLOW;
        jpeg_start_decompress(&info_);
        readPlanes();
        // Some writers put rubbish behind the picture; what matters is decoded by now.
        jpeg_abort_decompress(&info_);
        if (errors_.warnings > 0) {
            return std::nullopt;
        }
        return std::move(frame_);
    }

  private:
    bool begin() {
        const int components = info_.num_components;
        const bool grey = components == 1 && info_.jpeg_color_space == JCS_GRAYSCALE;
        const bool color = components == 3 && info_.jpeg_color_space == JCS_YCbCr;
        if (!grey && !color) {
            return false;
        }
        PixelFormat format = PixelFormat::grey8();
        if (color) {
            const auto* c = info_.comp_info;
            if (c[1].h_samp_factor != 1 || c[1].v_samp_factor != 1 || c[2].h_samp_factor != 1 ||
                c[2].v_samp_factor != 1) {
                return false;
            }
            const int h = c[0].h_samp_factor;
            const int v = c[0].v_samp_factor;
            if (h == 2 && v == 2) {
                format = PixelFormat::yuv420();
            } else if (h == 2 && v == 1) {
                format = PixelFormat::yuv422();
            } else if (h == 1 && v == 1) {
                format = PixelFormat::yuv444();
            } else {
                return false;
            }
        } else if (info_.comp_info[0].h_samp_factor != 1 || info_.comp_info[0].v_samp_factor != 1) {
            return false;
        }
        // Whole blocks are written, so the frame is allocated at the padded size and cropped by
        // what its width and height say.
        const int paddedWidth = (static_cast<int>(info_.image_width) + 31) & ~31;
        const int paddedHeight = (static_cast<int>(info_.image_height) + 31) & ~31;
        auto frame = VideoFrame::allocate(format, paddedWidth, paddedHeight);
        if (!frame) {
            return false;
        }
        frame_ = std::move(*frame);
        return true;
    }

    void readPlanes() {
        const int components = info_.num_components;
        while (info_.output_scanline < info_.output_height) {
            std::array<std::array<JSAMPROW, 32>, 3> rows{};
            std::array<JSAMPARRAY, 3> planes{};
            const int top = static_cast<int>(info_.output_scanline);
            const int lines = info_.max_v_samp_factor * DCTSIZE;
            for (int plane = 0; plane < components; ++plane) {
                const int vertical = info_.comp_info[plane].v_samp_factor;
                const int first = top * vertical / info_.max_v_samp_factor;
                for (int i = 0; i < vertical * DCTSIZE; ++i) {
                    rows[std::size_t(plane)][std::size_t(i)] = frame_.writableRow(plane, first + i);
                }
                planes[std::size_t(plane)] = rows[std::size_t(plane)].data();
            }
            jpeg_read_raw_data(&info_, planes.data(), static_cast<JDIMENSION>(lines));
        }
        width_ = static_cast<int>(info_.image_width);
        height_ = static_cast<int>(info_.image_height);
    }

  public:
    int width_ = 0;
    int height_ = 0;

  private:
    JpegErrors errors_;
    jpeg_decompress_struct info_{};
    VideoFrame frame_;
};

class JpegVideoDecoder : public VideoDecoder {
  public:
    JpegVideoDecoder(VideoDescription description, std::unique_ptr<VideoDecoder> otherwise)
        : VideoDecoder(std::move(description)), otherwise_(std::move(otherwise)) {}

    Status send(const Packet& packet) override {
        if (packet.bytes.empty()) {
            return {};
        }
        std::optional<VideoFrame> frame;
        if (!useGeneral_) {
            frame = decompressor_.decode(packet.bytes);
        }
        if (!frame) {
            // Frames leave in the order in which the packets came, so from the first odd one on
            // the general decoder takes all.
            useGeneral_ = true;
            return otherwise_->send(packet);
        }
        frame->cropTo(decompressor_.width_, decompressor_.height_);
        frame->time = packet.presentationTime;
        frame->duration = packet.duration;
        frame->keyFrame = true;
        frame->pixelAspect = description_.pixelAspect;
        frame->color = description_.color;
        // JFIF: BT.601 coefficients, all 256 levels.
        frame->color.range = ColorRange::full;
        if (frame->color.matrix == 2) {
            frame->color.matrix = 5;
        }
        ready_.push_back(std::move(*frame));
        return {};
    }

    Status sendEnd() override { return useGeneral_ ? otherwise_->sendEnd() : Status(); }

    Expected<std::optional<VideoFrame>> receive() override {
        if (!ready_.empty()) {
            std::optional<VideoFrame> frame(std::move(ready_.front()));
            ready_.pop_front();
            return frame;
        }
        if (useGeneral_) {
            return otherwise_->receive();
        }
        return std::optional<VideoFrame>();
    }

    void flush() override {
        ready_.clear();
        otherwise_->flush();
        useGeneral_ = false;
    }

    void skipUnreferencedFrames(bool) override {}

  private:
    Decompressor decompressor_;
    std::unique_ptr<VideoDecoder> otherwise_;
    std::deque<VideoFrame> ready_;
    bool useGeneral_ = false;
};

}  // namespace

std::unique_ptr<VideoDecoder> makeJpegDecoder(VideoDescription description,
                                              std::unique_ptr<VideoDecoder> otherwise) {
    return std::make_unique<JpegVideoDecoder>(std::move(description), std::move(otherwise));
}

}  // namespace TWQuickTime::codec
