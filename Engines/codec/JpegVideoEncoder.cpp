// Photo-JPEG by libjpeg-turbo. The first picture is coded twice to learn its best Huffman tables;
// with every symbol added that it happened not to use, they serve the following pictures in one
// pass.
//
// Quantisers are those of moving pictures (ISO/IEC 11172-2) for luma: the annex's own examples
// spare high frequencies so much that fine grain is lost long before the size is small. For chroma
// the annex's stay, as the eye sees little of fine colour.
//
// A data rate is met by moving the quality from picture to picture: each that comes out too large
// or too small says how far the next one has to go.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "Engines/codec/Private/EncoderFactories.h"
#include "Engines/codec/Private/JpegErrors.h"
#include "Engines/codec/Private/JpegHuffman.h"
#include "Engines/codec/Private/JpegStrips.h"
#include "Engines/codec/Private/PictureEncoder.h"

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

/// Of luma, by rows, before the quality scales them.
constexpr std::array<unsigned, DCTSIZE2> kLumaQuantizers = {8,  16, 19, 22, 26, 27, 29, 34,  //
                                                            16, 16, 22, 24, 27, 29, 34, 37,  //
                                                            19, 22, 26, 27, 29, 34, 34, 38,  //
                                                            22, 22, 26, 27, 29, 34, 37, 40,  //
                                                            22, 26, 27, 29, 32, 35, 40, 48,  //
                                                            26, 27, 29, 32, 35, 40, 48, 58,  //
                                                            26, 27, 29, 34, 38, 46, 56, 69,  //
                                                            27, 29, 35, 38, 46, 56, 69, 83};

void setQuality(jpeg_compress_struct& info, int quality) {
    jpeg_set_quality(&info, quality, TRUE);
    jpeg_add_quant_table(&info, 0, kLumaQuantizers.data(), jpeg_quality_scaling(quality), TRUE);
}

class JpegEncoder : public PictureEncoder {
  public:
    JpegEncoder(VideoEncoderSettings settings, PictureTarget input, ColorTags coded, int quality)
        : PictureEncoder(settings), coded_(coded), quality_(quality) {
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
    ColorTags codedColor() const override { return coded_; }

    Status take(const VideoFrame& frame) override {
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
        deliver(std::move(packet), frame.time, frame.duration);
        return {};
    }

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
        strips_.write(info_, frame, coded_.matrix);
        jpeg_finish_compress(&info_);
        return true;
    }

    void aimForRate(double size) {
        const double share = double(settings_.bytesPerSecond) / settings_.frameRate.value();
        leftOver_ = std::clamp(leftOver_ + share - size, -share * kPicturesToSettle,
                               share * kPicturesToSettle);
        const double wanted = std::max(share + leftOver_ / kPicturesToSettle, share / 8);
        quality_ = std::clamp(quality_ - kStepsPerDoubling * std::log2(size / wanted), 1.0, 98.0);
        setQuality(info_, int(std::lround(quality_)));
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
        setQuality(info_, quality);
        info_.raw_data_in = TRUE;
        info_.dct_method = JDCT_ISLOW;
        if (!grey) {
            info_.comp_info[0].h_samp_factor = 1 << input_.format.chromaShiftX();
            info_.comp_info[0].v_samp_factor = 1 << input_.format.chromaShiftY();
        }
    }

    JpegErrors errors_;
    jpeg_compress_struct info_{};
    unsigned char* buffer_ = nullptr;
    unsigned long capacity_ = 0;
    unsigned char* written_ = nullptr;
    unsigned long writtenSize_ = 0;
    JpegStrips strips_;
    ColorTags coded_;
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
    // JFIF: BT.601 coefficients, all 256 levels.
    ColorTags coded = encodedColor(settings, input.format);
    coded.range = ColorRange::full;
    if (coded.matrix != 2 || settings.sourceFormat.isRgb()) {
        coded.matrix = 6;
    }
    // Planes that have the right layout are given their levels strip by strip.
    if (input.format != settings.sourceFormat) {
        input.color = coded;
    }
    const int quality = settings.spatialQuality >= kQualityLossless
                            ? 100
                            : int(std::lround(mappedQuality(entry, settings.spatialQuality)));
    return std::unique_ptr<VideoEncoder>(
        std::make_unique<JpegEncoder>(settings, input, coded, quality));
}

}  // namespace TWQuickTime::codec
