// Photo-JPEG by libjpeg-turbo. The first picture is coded twice to learn its best Huffman tables;
// with every symbol added that it happened not to use, they serve the following pictures in one
// pass.
//
// A data rate is met by moving the quality from picture to picture: each that comes out too large
// or too small says how far the next one has to go.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <deque>

#include "Engines/codec/Private/EncoderFactories.h"
#include "Engines/codec/Private/JpegErrors.h"
#include "Engines/codec/Private/JpegHuffman.h"

namespace TWQuickTime::codec {

using result::Expected;
using result::Failure;
using result::FailureKind;
using result::Status;

namespace {

/// After so many pictures the tables are learned anew: scenes change.
constexpr int kPicturesPerTables = 250;
/// By how many steps of quality the size about doubles, cautiously.
constexpr double kStepsPerDoubling = 12;
/// What earlier pictures took too much or left over is settled within so many.
constexpr double kPicturesToSettle = 8;

class JpegEncoder : public VideoEncoder {
  public:
    JpegEncoder(VideoEncoderSettings settings, PictureTarget input, int quality)
        : VideoEncoder(settings), quality_(quality) {
        input_ = input;
        errors_.install();
        info_.err = &errors_.manager;
        jpeg_create_compress(&info_);
        configure(quality);
    }
    ~JpegEncoder() override {
        jpeg_destroy_compress(&info_);
        std::free(buffer_);
    }

    Status encode(const VideoFrame& frame) override {
        if (!frame || frame.width() != input_.width || frame.height() != input_.height ||
            frame.format() != input_.format) {
            return Failure{FailureKind::badArgument, "a picture of another size or format"};
        }
        const bool learning = encoded_++ % kPicturesPerTables == 0;
        if (!compress(frame, learning)) {
            return Failure{FailureKind::unsupported, "libjpeg could not encode a picture"};
        }
        if (learning) {
            completeTables(info_);
        }
        const auto* bytes = reinterpret_cast<const std::byte*>(written_);
        Packet packet = Packet::owning(std::vector<std::byte>(bytes, bytes + writtenSize_));
        keepLargerBuffer();
        if (settings_.bytesPerSecond > 0) {
            aimForRate(double(packet.bytes.size()));
        }
        packet.presentationTime = packet.decodeTime = frame.time;
        packet.duration = frame.duration;
        ready_.push_back(std::move(packet));
        return {};
    }

    Status finish() override { return {}; }

    Expected<std::optional<Packet>> receive() override {
        if (ready_.empty()) {
            return std::optional<Packet>();
        }
        std::optional<Packet> packet(std::move(ready_.front()));
        ready_.pop_front();
        return packet;
    }

    std::shared_ptr<const NativeParameters> parameters() const override {
        auto native = std::make_shared<NativeParameters>();
        AVCodecParameters& p = *native->parameters;
        p.codec_type = AVMEDIA_TYPE_VIDEO;
        p.codec_id = AV_CODEC_ID_MJPEG;
        p.width = settings_.width;
        p.height = settings_.height;
        p.format = input_.format.number();
        p.color_range = AVCOL_RANGE_JPEG;
        p.sample_aspect_ratio = {settings_.pixelAspect.numerator,
                                 settings_.pixelAspect.denominator};
        native->timeBase = {1, settings_.timeScale};
        return native;
    }

  private:
    /// False when libjpeg gave up. Nothing in here needs destruction, because errors jump out.
    bool compress(const VideoFrame& frame, bool learning) {
        written_ = buffer_;
        writtenSize_ = capacity_;
        if (setjmp(errors_.back) != 0) {
            jpeg_abort_compress(&info_);
            return false;
        }
        jpeg_mem_dest(&info_, &written_, &writtenSize_);
        info_.optimize_coding = learning ? TRUE : FALSE;
        jpeg_start_compress(&info_, TRUE);
        writePlanes(frame);
        jpeg_finish_compress(&info_);
        return true;
    }

    void aimForRate(double size) {
        const double share = double(settings_.bytesPerSecond) / settings_.frameRate.value();
        leftOver_ = std::clamp(leftOver_ + share - size, -share * kPicturesToSettle,
                               share * kPicturesToSettle);
        const double wanted = std::max(share + leftOver_ / kPicturesToSettle, share / 8);
        quality_ = std::clamp(quality_ - kStepsPerDoubling * std::log2(size / wanted), 1.0, 98.0);
        jpeg_set_quality(&info_, int(std::lround(quality_)), TRUE);
    }

    /// The library puts a larger block in the place of one that is too small.
    void keepLargerBuffer() {
        if (written_ != buffer_) {
            std::free(buffer_);
            buffer_ = written_;
            capacity_ = writtenSize_;
        }
    }

    void configure(int quality) {
        if (setjmp(errors_.back) != 0) {
            return;
        }
        const bool grey = input_.format.isGrey();
        info_.image_width = JDIMENSION(input_.width);
        info_.image_height = JDIMENSION(input_.height);
        info_.input_components = grey ? 1 : 3;
        info_.in_color_space = grey ? JCS_GRAYSCALE : JCS_YCbCr;
        jpeg_set_defaults(&info_);
        jpeg_set_quality(&info_, quality, TRUE);
        info_.raw_data_in = TRUE;
        info_.dct_method = JDCT_ISLOW;
        if (!grey) {
            info_.comp_info[0].h_samp_factor = 1 << input_.format.chromaShiftX();
            info_.comp_info[0].v_samp_factor = 1 << input_.format.chromaShiftY();
        }
    }

    /// Hands over whole rows of blocks; the last rows and columns of a picture are repeated to
    /// fill them.
    void writePlanes(const VideoFrame& frame) {
        const int components = info_.num_components;
        const int stripHeight = info_.max_v_samp_factor * DCTSIZE;
        std::array<std::array<JSAMPROW, 32>, 3> rows{};
        std::array<JSAMPARRAY, 3> planes{};
        for (int plane = 0; plane < components; ++plane) {
            planes[std::size_t(plane)] = rows[std::size_t(plane)].data();
        }
        for (int top = 0; top < input_.height; top += stripHeight) {
            for (int plane = 0; plane < components; ++plane) {
                const jpeg_component_info& c = info_.comp_info[plane];
                const bool chroma = plane > 0;
                const int height =
                    chroma ? -((-input_.height) >> input_.format.chromaShiftY()) : input_.height;
                const int width =
                    chroma ? -((-input_.width) >> input_.format.chromaShiftX()) : input_.width;
                const int first = top * c.v_samp_factor / info_.max_v_samp_factor;
                const int padded = int(c.width_in_blocks) * DCTSIZE;
                const int lines = c.v_samp_factor * DCTSIZE;
                auto& strip = strips_[std::size_t(plane)];
                const bool copies = padded > width;
                if (copies) {
                    strip.resize(std::size_t(padded) * std::size_t(lines));
                }
                for (int i = 0; i < lines; ++i) {
                    const int y = std::min(first + i, height - 1);
                    auto* row = const_cast<std::uint8_t*>(frame.row(plane, y));
                    if (copies) {
                        std::uint8_t* to = strip.data() + std::size_t(i) * std::size_t(padded);
                        std::memcpy(to, row, std::size_t(width));
                        std::memset(to + width, row[width - 1], std::size_t(padded - width));
                        row = to;
                    }
                    rows[std::size_t(plane)][std::size_t(i)] = row;
                }
            }
            jpeg_write_raw_data(&info_, planes.data(), JDIMENSION(stripHeight));
        }
    }

    JpegErrors errors_;
    jpeg_compress_struct info_{};
    unsigned char* buffer_ = nullptr;
    unsigned long capacity_ = 0;
    unsigned char* written_ = nullptr;
    unsigned long writtenSize_ = 0;
    std::array<std::vector<std::uint8_t>, 3> strips_;
    std::deque<Packet> ready_;
    int encoded_ = 0;
    double quality_;
    /// Bytes that the pictures so far left of their shares.
    double leftOver_ = 0;
};

}  // namespace

Expected<std::unique_ptr<VideoEncoder>> openJpegEncoder(const VideoEncoderSettings& settings,
                                                        const VideoCodecEntry& entry) {
    PictureTarget input;
    input.format = PixelFormat(choosePixelFormat(settings, entry));
    input.width = settings.width;
    input.height = settings.height;
    input.color = encodedColor(settings, input.format);
    // JFIF: BT.601 coefficients, all 256 levels.
    input.color.range = ColorRange::full;
    if (input.color.matrix != 2 || settings.sourceFormat.isRgb()) {
        input.color.matrix = 6;
    }
    const int quality = settings.spatialQuality >= kQualityLossless
                            ? 100
                            : int(std::lround(mappedQuality(entry, settings.spatialQuality)));
    return std::unique_ptr<VideoEncoder>(std::make_unique<JpegEncoder>(settings, input, quality));
}

}  // namespace TWQuickTime::codec
